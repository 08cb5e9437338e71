#!/usr/bin/env bash
# Builds lomarind and the benchmarks in Release, makes the benchmark
# repository and its index once (cached in build-bench/, remade when the
# script that makes them changes), then measures reading a period's log and
# times each answer against the git commands it stands on.
#
# Usage: bench/run.sh [--rounds N] [SCENARIO...]   (arguments go to floor.py)
# BUILD_DIR overrides build-bench.
set -euo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir=${BUILD_DIR:-$source_dir/build-bench}
repo=$build_dir/repo
index=$repo/.git/lomarind/index.db

# The benchmark's own git and python must not be steered by the caller's.
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE

echo "== build (Release) in $build_dir"
# The extension is built for the system interpreter, which runs the Python row.
python=/usr/bin/python3
cmake -S "$source_dir" -B "$build_dir" -DCMAKE_BUILD_TYPE=Release \
  -DLOMARIND_BUILD_BENCH=ON -DLOMARIND_BUILD_TESTS=OFF \
  -DLOMARIND_BUILD_PYTHON=ON -DPython3_EXECUTABLE=$python >/dev/null
cmake --build "$build_dir" -j2 --target lomarind log_read_bench _lomarind >/dev/null

stamp=$(cat "$source_dir/bench/make_repo.py" "$source_dir/bench/make_index.py" | sha256sum)
if [[ ! -f $build_dir/repo.stamp || $(cat "$build_dir/repo.stamp") != "$stamp" ]]; then
  echo "== repository: 20,000 commits over 5,000 files, index of 500,000 symbols"
  rm -rf "$repo" "$build_dir/repo.stamp"
  python3 "$source_dir/bench/make_repo.py" "$repo"
  python3 "$source_dir/bench/make_index.py" "$repo" "$index"
  echo "$stamp" >"$build_dir/repo.stamp"
fi

# The log the period answers read, saved as the reader gets it.
period_log=$build_dir/period.log
if [[ ! -s $period_log || $build_dir/repo.stamp -nt $period_log ]]; then
  git -c diff.renameLimit=1000 -c log.showRoot=true -C "$repo" log -z --raw --numstat -M --no-ext-diff --no-textconv --no-color \
    --src-prefix=a/ --dst-prefix=b/ --diff-algorithm=myers --no-show-signature \
    '--format=%x00%H %ct' --max-count=5000 HEAD -- >"$period_log"
fi

echo "== reading a period's log (one core)"
"$build_dir/bench/log_read_bench" --benchmark_min_time=1 "$period_log" 2>/dev/null

echo "== answers against their git commands"
python3 "$source_dir/bench/floor.py" "$build_dir/lomarind" "$repo" "$@"

echo "== hotspots through the Python module against the program"
(cd "$source_dir/bench" && "$python" python_row.py "$build_dir/lomarind" "$build_dir/python" "$repo" "$@")
