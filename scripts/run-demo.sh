#!/usr/bin/env bash
# Installs what is needed, builds, and shows the daemon at work: on a real Linux bridge with real DHCPv6
# peers and then under snmpd in network namespaces where this machine allows it (root, namespaces), and
# always on the simulated switch with its scenario.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build.sh plain
if [ "$(id -u)" -eq 0 ] && ip netns add d6s-probe 2>/dev/null; then
  ip netns del d6s-probe
  echo "== the daemon on a Linux bridge: Kea, dhclient, dhcpcd and a rogue server in network namespaces =="
  /usr/bin/python3 tests/e2e/linux_bridge_e2e.py build/apps/dhcp6snooping/dhcp6snooping \
    build/apps/dhcp6snoopingctl/dhcp6snoopingctl build/tests/make_solicit_flood
  echo "== its MIB module through snmpd: the daemon as AgentX subagent, read and set with net-snmp's tools =="
  /usr/bin/python3 tests/e2e/snmp_agentx_e2e.py build/apps/dhcp6snooping/dhcp6snooping \
    build/apps/dhcp6snoopingctl/dhcp6snoopingctl build/tests/switchsim_mib_walk build/tests/make_binding_database
else
  echo "== no root or no network namespaces here: the Linux bridge scenarios are left out =="
fi
echo "== the daemon on the simulated switch =="
build/apps/dhcp6snooping-sim/dhcp6snooping-sim
