#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, when any of them is missing.
set -euo pipefail

# libpcap-dev lets switchsim write the frames it saw to pcap files; tshark decodes them in the tests, a
# decoder nobody here wrote. smitools (libsmi's smilint and smidump) checks the MIB module
# (scripts/check-mib.sh); it needs the standard modules SNMPv2-SMI, -TC and -CONF as text, which
# Debian's libsmi packages leave out and erlang-snmp ships. The host platform reads its bridge through
# libmnl and makes its filters as nftables rules through libnftables (nft lists them); it tells systemd
# that it is ready through libsystemd, and checks the records of its binding database with zlib's CRC-32. The end-to-end test
# on a Linux bridge runs real peers nobody here wrote: Kea's DHCPv6 server, ISC dhclient and dhcpcd as
# clients, a rogue server built with python3-scapy, captures by tcpdump read by tshark, a flood replayed by tcpreplay, ping through source guard.
# The JSON of the command line's views is checked against its schema with python3-jsonschema, and the
# metrics file with promtool (from Debian's prometheus package). The host platform serves the MIB module
# to snmpd as an AgentX subagent with net-snmp's agent library (libsnmp-dev); its end-to-end test runs
# snmpd and net-snmp's tools (snmp). The Debian package is built with debhelper and checked with lintian.
packages=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev clang-format clang-tidy clang
  libclang-rt-14-dev pkg-config libpcap-dev tshark smitools erlang-snmp libmnl-dev libnftables-dev nftables libsystemd-dev zlib1g-dev
  nlohmann-json3-dev python3-jsonschema iproute2 kea-dhcp6-server isc-dhcp-client dhcpcd-base tcpdump tcpreplay iputils-ping python3-scapy
  prometheus debhelper lintian libsnmp-dev snmpd snmp)
missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

if ((${#missing[@]} > 0)); then
  as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
  fi
  echo "installing: ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  # sudo drops the caller's environment, so the frontend is set on the far side of it. Non-interactive, the
  # question tshark's installer asks (may non-root users capture packets?) takes its default answer, no.
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"
fi
