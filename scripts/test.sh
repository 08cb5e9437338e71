#!/usr/bin/env bash
# Installs the dependencies, builds lomarind with AddressSanitizer and
# UndefinedBehaviorSanitizer and warnings as errors, runs every test, builds
# it again with clang (warnings as errors, no sanitizers: the build alone
# proves it compiles cleanly there), then runs each fuzz target for a
# bounded time (scripts/fuzz.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=build-test
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DLOMARIND_SANITIZE=ON -DLOMARIND_WERROR=ON \
  -DLOMARIND_BUILD_PYTHON=ON -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
CXX=clang++ cmake -S . -B build-clang -DCMAKE_BUILD_TYPE=Debug -DLOMARIND_WERROR=ON >/dev/null
cmake --build build-clang -j"$(nproc)"
bash scripts/fuzz.sh
