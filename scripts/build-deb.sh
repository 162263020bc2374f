#!/usr/bin/env bash
# Builds the Debian package (dpkg-buildpackage, binary only, unsigned) into build-deb/ and has lintian check
# it: any error fails. The build runs in obj-*/ inside the tree and leaves debian/ as it found it.
set -euo pipefail
cd "$(dirname "$0")/.."

dpkg-buildpackage -us -uc -b
mkdir -p build-deb
mv ../dhcp6snooping_*.deb ../dhcp6snooping_*.changes ../dhcp6snooping_*.buildinfo build-deb/
debian/rules clean >/dev/null
lintian --fail-on error build-deb/dhcp6snooping_*.deb
