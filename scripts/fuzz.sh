#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for SECONDS (default 60).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DBAYHAL_FUZZ=ON >/dev/null
cmake --build "$build" -j"$(nproc)"
shopt -s nullglob
for f in "$build"/fuzz/fuzz_*; do
  [ -x "$f" ] || continue
  name=$(basename "$f")
  corpus=fuzz/corpus/${name#fuzz_}
  mkdir -p "$build/corpus/$name"
  echo "-- $name for ${seconds}s"
  "$f" -max_total_time="$seconds" -print_final_stats=0 "$build/corpus/$name" \
    $( [ -d "$corpus" ] && echo "$corpus" ) 2>&1 | tail -n 3
done
