#!/usr/bin/env bash
# Installs the dependencies, builds lomarind, indexes this repository,
# shows its hotspots of the last year and writes them as a page to open.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=build-release
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DLOMARIND_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target lomarind
"$build/lomarind" index
"$build/lomarind" hotspots --since '1 year'
echo "The report, to open in a browser: $("$build/lomarind" report --since '1 year' --output "$build/lomarind-report.html")"
