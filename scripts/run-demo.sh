#!/usr/bin/env bash
# Installs what is needed, builds, and runs the daemon on the simulated switch with its scenario.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build.sh plain
build/apps/dhcp6snooping-sim/dhcp6snooping-sim
