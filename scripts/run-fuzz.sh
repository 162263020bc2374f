#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under ASan+UBSan into build-fuzz/ and runs each for a bounded time
# (FUZZ_SECONDS per target, 30 by default) from a seed corpus made by the frame builder. Any crash,
# sanitizer report or leak fails the run, and so does a target that makes libFuzzer stop looking for leaks.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-30}
dir=build-fuzz
targets=(options receive management source_guard template insertion config_round_trip mib)
CC=clang CXX=clang++ cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDHCP6SNOOPING_FUZZ=ON \
  -DDHCP6SNOOPING_BENCHMARKS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)" --target make_fuzz_corpus "${targets[@]/#/fuzz_}"

for target in "${targets[@]}"; do
  corpus="$dir/corpus/$target"
  rm -rf "$corpus"
  mkdir -p "$corpus"
  "$dir/fuzz/make_fuzz_corpus" "$target" "$corpus"
  echo "fuzzing $target for $seconds s"
  log="$dir/fuzz_$target.log"
  if ! "$dir/fuzz/fuzz_$target" -max_total_time="$seconds" -detect_leaks=1 -print_final_stats=1 "$corpus" \
    >"$log" 2>&1; then
    cat "$log"
    exit 1
  fi
  # libFuzzer gives up looking for leaks when a target keeps more memory after each input than before; a
  # target must give back all it took, so that a leak is found where it happens.
  if grep -q 'disabled leak detection' "$log"; then
    grep -B2 -A6 'disabled leak detection' "$log"
    exit 1
  fi
  grep '^stat::' "$log"
done
