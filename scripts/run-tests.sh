#!/usr/bin/env bash
# Installs what is needed, then checks the formatting, builds the project plainly and with the
# sanitizers, runs every test in both builds, runs the fuzz targets for a bounded time, runs clang-tidy,
# and builds the Debian package, installs it, runs it and purges it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/check-format.sh
for flavour in plain sanitize; do
  scripts/build.sh "$flavour"
done
ctest --test-dir build --output-on-failure -j "$(nproc)"
ctest --test-dir build-sanitize --output-on-failure -j "$(nproc)"
scripts/run-fuzz.sh
scripts/check-tidy.sh
scripts/build-deb.sh
scripts/test-deb.sh
