#!/usr/bin/env bash
# Configures and builds one flavour of the project: "plain" (the optimised Release build) into
# build/, or "sanitize" (AddressSanitizer and UndefinedBehaviorSanitizer) into build-sanitize/.
set -euo pipefail
cd "$(dirname "$0")/.."

flavour=${1:-plain}
case "$flavour" in
  plain) dir=build; options=(-DCMAKE_BUILD_TYPE=Release) ;;
  sanitize) dir=build-sanitize; options=(-DCMAKE_BUILD_TYPE=Debug -DDHCP6SNOOPING_SANITIZE=ON -DDHCP6SNOOPING_BENCHMARKS=OFF) ;;
  *) echo "usage: $0 [plain|sanitize]" >&2; exit 2 ;;
esac

cmake -S . -B "$dir" -G Ninja "${options[@]}" >/dev/null
cmake --build "$dir" -j "$(nproc)"
