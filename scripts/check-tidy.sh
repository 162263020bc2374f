#!/usr/bin/env bash
# Runs clang-tidy over every C++ source of the project against the plain build's compile commands, which
# build the fuzz targets as replayers; any finding fails.
set -euo pipefail
cd "$(dirname "$0")/.."

# clang-tidy counts the warnings it suppressed in system headers on standard error; only findings matter.
git ls-files -co --exclude-standard -- '*.cpp' |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet 2> >(grep -v 'warnings\? generated\.$' >&2)
