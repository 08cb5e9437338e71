#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ with clang and runs each for a
# bounded time (FUZZ_SECONDS, 15 by default) from its seed corpus in
# fuzz/<target>/. New inputs go to a scratch folder, never into the
# repository; a finding is kept under build-fuzz/ and fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-15}"
build=build-fuzz
CC=clang CXX=clang++ cmake -S fuzz -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
for seeds in fuzz/*/; do
  target="$(basename "$seeds")"
  mkdir -p "$scratch/$target"
  echo "fuzzing $target for $seconds s"
  "$build/${target}_fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -artifact_prefix="$build/$target-" -print_final_stats=0 "$scratch/$target" "$seeds" \
    2>"$scratch/$target.log" || { tail -n 40 "$scratch/$target.log"; exit 1; }
done
echo "fuzzing found nothing"
