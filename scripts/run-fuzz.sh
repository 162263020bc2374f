#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under ASan+UBSan into build-fuzz/ and runs each for a bounded time
# (FUZZ_SECONDS, 60 by default) from a seed corpus made by the frame builder. Any crash, sanitizer report or
# leak fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-60}
dir=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDHCP6SNOOPING_FUZZ=ON \
  -DDHCP6SNOOPING_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)" --target fuzz_options make_fuzz_corpus

corpus="$dir/corpus/options"
rm -rf "$corpus"
mkdir -p "$corpus"
"$dir/fuzz/make_fuzz_corpus" "$corpus"
"$dir/fuzz/fuzz_options" -max_total_time="$seconds" -print_final_stats=1 "$corpus"
