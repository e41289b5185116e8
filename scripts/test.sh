#!/usr/bin/env bash
# Builds bayhal and runs every test (unit, scenario, multi-process, the C program).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DBAYHAL_WERROR=ON ${CMAKE_EXTRA:-} >/dev/null
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 300
