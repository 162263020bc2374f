#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under ASan+UBSan into build-fuzz/ and runs them, one of two ways:
#
#   scripts/run-fuzz.sh
#       CI's bounded run, the same result for the same commit: each target first replays every regression
#       input (fuzz/regressions/<target>/), then makes a fixed number of runs from a fixed seed, starting
#       from the seeds the frame builder writes and the corpus the last campaign kept (fuzz/corpus/<target>/).
#       Any crash, sanitizer report or leak fails the run, and so does a target that makes libFuzzer stop
#       looking for leaks. FUZZ_RUNS_SCALE (1 by default) multiplies the number of runs.
#
#   scripts/run-fuzz.sh campaign SECONDS WORKERS [TARGET...]
#       A campaign, exploring: each target (every one by default) for SECONDS with WORKERS processes from the
#       kept corpus and the seeds. Inputs that fail go to build-fuzz/findings/<target>/; the corpus grown is
#       minimised back into fuzz/corpus/<target>/, to be committed so that CI starts where the campaign
#       ended. One line per target goes to build-fuzz/campaign.txt: runs, coverage, features, corpus size
#       and findings.
set -euo pipefail
cd "$(dirname "$0")/.."

dir=build-fuzz
# The targets with the runs CI makes of each: about half a minute apiece on one core of the CI machine.
declare -A ciRuns=(
  [options]=1500000 [template]=4500000 [insertion]=40000 [receive]=9000
  [management]=20000 [source_guard]=14000 [config_round_trip]=20000 [mib]=14000
)
targets=(options template insertion receive management source_guard config_round_trip mib)
seed=20261125

build() {
  CC=clang CXX=clang++ cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDHCP6SNOOPING_FUZZ=ON \
    -DDHCP6SNOOPING_BENCHMARKS=OFF >/dev/null
  cmake --build "$dir" -j "$(nproc)" --target make_fuzz_corpus "${targets[@]/#/fuzz_}"
}

# The seeds of a target, written afresh into build-fuzz/seeds/<target>/.
seeds() {
  local target=$1
  rm -rf "$dir/seeds/$target"
  mkdir -p "$dir/seeds/$target"
  "$dir/fuzz/make_fuzz_corpus" "$target" "$dir/seeds/$target"
}

# The kept corpus of a target, when it has one.
keptCorpus() {
  [ -d "fuzz/corpus/$1" ] && echo "fuzz/corpus/$1"
  return 0
}

# A run whose log says that libFuzzer gave up looking for leaks has failed: a target must give back all it
# took after each input, so that a leak is found where it happens.
leakDetectionKept() {
  if grep -q 'disabled leak detection' "$1"; then
    grep -B2 -A6 'disabled leak detection' "$1"
    return 1
  fi
}

# Address-space randomisation off: libFuzzer feeds the values that the code compares, pointers among them,
# back into its mutations, so with addresses that change from run to run the same seed would not give the
# same runs.
fixedAddresses=(setarch "$(uname -m)" -R)
"${fixedAddresses[@]}" true 2>/dev/null || {
  echo "run-fuzz: cannot turn address randomisation off here; runs may differ from one time to the next" >&2
  fixedAddresses=()
}

ci() {
  local target log scale=${FUZZ_RUNS_SCALE:-1}
  for target in "${targets[@]}"; do
    log="$dir/fuzz_$target.log"
    # Files, not their folder: given a folder, libFuzzer would fuzz from it instead of replaying it.
    regressions=()
    if [ -d "fuzz/regressions/$target" ]; then
      mapfile -t regressions < <(find "fuzz/regressions/$target" -type f | sort)
    fi
    if [ ${#regressions[@]} -gt 0 ]; then
      echo "replaying the regression inputs of $target"
      if ! "$dir/fuzz/fuzz_$target" -detect_leaks=1 "${regressions[@]}" >"$log" 2>&1 ||
        ! leakDetectionKept "$log"; then
        cat "$log"
        return 1
      fi
    fi
    seeds "$target"
    rm -rf "$dir/grown/$target"
    mkdir -p "$dir/grown/$target"
    mapfile -t corpus < <(keptCorpus "$target")
    echo "fuzzing $target: ${ciRuns[$target]} runs x $scale from seed $seed"
    # New inputs go to the first folder, a scratch one: the kept corpus is only read.
    if ! "${fixedAddresses[@]}" "$dir/fuzz/fuzz_$target" -seed="$seed" -runs=$((ciRuns[$target] * scale)) -detect_leaks=1 \
      -print_final_stats=1 "$dir/grown/$target" "$dir/seeds/$target" "${corpus[@]}" >"$log" 2>&1 ||
      ! leakDetectionKept "$log"; then
      cat "$log"
      return 1
    fi
    grep '^stat::\(number_of_executed_units\|new_units_added\|peak_rss_mb\)' "$log"
  done
}

campaign() {
  local seconds=$1 workers=$2 target log findings last
  shift 2
  local chosen=("$@")
  [ ${#chosen[@]} -gt 0 ] || chosen=("${targets[@]}")
  for target in "${chosen[@]}"; do
    [ -n "${ciRuns[$target]:-}" ] || { echo "no fuzz target $target" >&2; return 2; }
    seeds "$target"
    findings="$dir/findings/$target"
    mkdir -p "$findings" "fuzz/corpus/$target"
    rm -rf "$dir/grown/$target"
    mkdir -p "$dir/grown/$target"
    log="$dir/campaign_$target.log"
    echo "campaign: $target for $seconds s with $workers workers"
    "$dir/fuzz/fuzz_$target" -fork="$workers" -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 \
      -max_total_time="$seconds" -detect_leaks=1 -artifact_prefix="$findings/" \
      "$dir/grown/$target" "fuzz/corpus/$target" "$dir/seeds/$target" >"$log" 2>&1 || true
    # The corpus kept is the smallest set of inputs that reaches all the campaign reached.
    rm -rf "$dir/merged/$target"
    mkdir -p "$dir/merged/$target"
    "$dir/fuzz/fuzz_$target" -merge=1 -detect_leaks=0 "$dir/merged/$target" "fuzz/corpus/$target" \
      "$dir/grown/$target" "$dir/seeds/$target" >>"$log" 2>&1
    rm -rf "fuzz/corpus/$target"
    mv "$dir/merged/$target" "fuzz/corpus/$target"
    last=$(grep -E '^#[0-9]+: cov:' "$log" | tail -n 1)
    printf '%s %s s x %s workers: %s; kept %s inputs; findings %s\n' "$target" "$seconds" "$workers" \
      "${last:-no statistics}" "$(find "fuzz/corpus/$target" -type f | wc -l)" \
      "$(find "$findings" -type f | wc -l)" | tee -a "$dir/campaign.txt"
  done
}

build
case "${1:-ci}" in
  ci) ci ;;
  campaign)
    [ $# -ge 3 ] || { echo "usage: $0 campaign SECONDS WORKERS [TARGET...]" >&2; exit 2; }
    shift
    campaign "$@"
    ;;
  *) echo "usage: $0 [campaign SECONDS WORKERS [TARGET...]]" >&2; exit 2 ;;
esac
