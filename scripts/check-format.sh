#!/usr/bin/env bash
# Fails when a C++ file of the project is not formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -co --exclude-standard -- '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
