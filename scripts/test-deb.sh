#!/usr/bin/env bash
# Installs the package of build-deb/ with apt-get as an operator would, checks what it put in place (the
# unit enabled but not started, the socket's group, the default platform settings, the MIB module), runs the
# installed daemon on a test bridge in a network namespace of its own and asks it through the installed
# command line, then purges the package and checks that nothing of it is left. Root only; it says so and
# succeeds where it cannot run.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ] || ! ip netns add d6s-deb 2>/dev/null; then
  echo "test-deb: skipped, this needs root and network namespaces"
  exit 0
fi
work=$(mktemp -d)
cleanup() {
  [ -n "${daemon:-}" ] && kill "$daemon" 2>/dev/null || true
  ip netns del d6s-deb 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "test-deb: FAIL $*"; exit 1; }

DEBIAN_FRONTEND=noninteractive apt-get install -y -qq ./build-deb/dhcp6snooping_*.deb >/dev/null
for file in /usr/sbin/dhcp6snooping /usr/sbin/dhcp6snoopingctl /lib/systemd/system/dhcp6snooping.service \
  /usr/share/man/man8/dhcp6snooping.8.gz /usr/share/man/man8/dhcp6snoopingctl.8.gz \
  /usr/share/snmp/mibs/DHCP6-SNOOPING-MIB.txt /etc/dhcp6snooping/platform.conf; do
  [ -e "$file" ] || fail "the package installed no $file"
done
[ -L /etc/systemd/system/multi-user.target.wants/dhcp6snooping.service ] || fail "the unit is not enabled"
getent group dhcp6snooping >/dev/null || fail "no group dhcp6snooping"
# net-snmp's tools find the installed module by name, beside the SMIv2 base modules (erlang-snmp's copies).
oid=$(snmptranslate -M "+$(echo /usr/lib/erlang/lib/snmp-*/mibs)" -m DHCP6-SNOOPING-MIB -On \
  DHCP6-SNOOPING-MIB::ip6SourceGuardBindRowstatus)
[ "$oid" = .1.3.6.1.4.1.32473.1.2.4.9.7.1.6 ] || fail "snmptranslate does not find the installed MIB module: $oid"

# The installed daemon on a bridge of two ports, with the default settings but for the socket.
ip -n d6s-deb link add br0 type bridge
for port in swp1 swp2; do
  ip -n d6s-deb link add "$port" type veth peer name "$port-peer"
  ip -n d6s-deb link set "$port" master br0 up
done
ip -n d6s-deb link set br0 up
sed "s|^socket = .*|socket = $work/mgmt.sock|; s|^binding-database = .*|binding-database = $work/bindings|" \
  /etc/dhcp6snooping/platform.conf >"$work/platform.conf"
DHCP6SNOOPING_PLATFORM_CONF="$work/platform.conf" ip netns exec d6s-deb /usr/sbin/dhcp6snooping \
  2>"$work/daemon.log" &
daemon=$!
for _ in $(seq 50); do
  dhcp6snoopingctl --socket "$work/mgmt.sock" show ports >"$work/ports" 2>/dev/null && break
  sleep 0.2
done
grep -q swp2 "$work/ports" || fail "the installed daemon does not answer on the test bridge: $(cat "$work/daemon.log")"
[ "$(stat -c %G "$work/mgmt.sock")" = dhcp6snooping ] || fail "the socket does not belong to group dhcp6snooping"
kill "$daemon"
wait "$daemon" || true
daemon=

DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq dhcp6snooping >/dev/null
for left in /usr/sbin/dhcp6snooping /usr/sbin/dhcp6snoopingctl /etc/dhcp6snooping /var/lib/dhcp6snooping \
  /lib/systemd/system/dhcp6snooping.service /etc/systemd/system/multi-user.target.wants/dhcp6snooping.service \
  /usr/share/snmp/mibs/DHCP6-SNOOPING-MIB.txt; do
  [ ! -e "$left" ] && [ ! -L "$left" ] || fail "the purge left $left behind"
done
! getent group dhcp6snooping >/dev/null || fail "the purge left the group dhcp6snooping behind"
! dpkg-query -W dhcp6snooping >/dev/null 2>&1 || fail "dpkg still knows the package"
echo "test-deb: installed, ran on a test bridge and purged without a trace"
