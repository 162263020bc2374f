#!/usr/bin/env bash
# Runs clang-tidy over every C++ source of the project against the plain build's compile commands (the
# fuzz targets against the fuzz build's, when it exists); any finding fails.
set -euo pipefail
cd "$(dirname "$0")/.."

# clang-tidy counts the warnings it suppressed in system headers on standard error; only findings matter.
git ls-files -co --exclude-standard -- '*.cpp' ':!fuzz/' |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet 2> >(grep -v 'warnings\? generated\.$' >&2)
if [ -f build-fuzz/compile_commands.json ]; then
  git ls-files -co --exclude-standard -- 'fuzz/*.cpp' |
    xargs -r clang-tidy -p build-fuzz --quiet 2> >(grep -v 'warnings\? generated\.$' >&2)
fi
