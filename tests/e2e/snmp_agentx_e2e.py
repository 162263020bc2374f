#!/usr/bin/python3
"""The MIB module served to net-snmp's snmpd through AgentX: snmpd (AgentX master) and the daemon (its
subagent) on bridge br0 in a network namespace. snmpwalk and snmpbulkwalk of the module equal the simulated
switch's walk for the same configuration; snmpset changes the daemon exactly as the same setting through the
command line does; refused sets get their SNMP error and change nothing; snmpd restarted under the daemon gets
the subtree back; and a bulk walk of a full client table (2048 clients of 10 bindings) is timed beside the
same walk of snmpd's own objects. Every check prints "ok" or "FAIL"; the exit status is 1 when any failed,
and 77 when this machine cannot run the test (not root, no namespaces, no snmpd).

usage: snmp_agentx_e2e.py DAEMON CTL SWITCHSIM_MIB_WALK MAKE_BINDING_DATABASE"""

import glob
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
MIB_DIR = HERE.parent.parent / "mib"
NAMESPACE = "d6x-sw"
PORTS = ["swp1", "swp2", "swp3", "swp4"]
ROOT = ".1.3.6.1.4.1.32473.1.2.4.9"
AGENT = "udp:127.0.0.1:1161"
SKIP = 77
# The settings the walks are compared on: every kind of object away from its default.
CONFIG = """dhcpv6-snooping
interface ethernet swp1
 dhcpv6-snooping trust
exit
interface ethernet swp2
 ipv6-source-guard ipv6-mac
 dhcpv6-snooping max-clients 100
exit
vlan 1
 dhcpv6-snooping max-clients 500
exit
dhcpv6-snooping information option 37
no ipv6-source-guard bind vlan 30,40-43
ipv6-source-guard bind ip 2001:db8::5
ipv6-source-guard bind ip 2001:db8::6 mac 02:00:00:00:00:06 interface ethernet swp3 vlan 1
"""
CLIENTS, BINDINGS = 2048, 10


class Scenario:
    def __init__(self, daemon, ctl, switchsim_walk, make_database, work):
        self.daemon, self.ctl_path, self.switchsim_walk, self.make_database = daemon, ctl, switchsim_walk, make_database
        self.work = Path(work)
        self.socket, self.agentx = self.work / "mgmt.sock", self.work / "agentx.sock"
        self.database = self.work / "bindings"
        self.processes = {}
        self.failures = 0
        # net-snmp's tools find the module beside the SMIv2 base modules that erlang-snmp ships.
        self.mibs = ":".join(glob.glob("/usr/lib/erlang/lib/snmp-*/mibs") + [str(MIB_DIR)])

    # --- plumbing -------------------------------------------------------------------------------------
    def run(self, *command, check=True, input=None):
        result = subprocess.run(("ip", "netns", "exec", NAMESPACE) + command, capture_output=True, text=True,
                                input=input)
        if check and result.returncode != 0:
            raise RuntimeError(f"{' '.join(command)}: {result.returncode}\n{result.stdout}{result.stderr}")
        return result

    def start(self, name, *command, env=None):
        log = open(self.work / f"{name}.log", "a")
        self.processes[name] = subprocess.Popen(("ip", "netns", "exec", NAMESPACE) + command, stdout=log,
                                                stderr=subprocess.STDOUT, env=env)

    def stop(self, name):
        process = self.processes.pop(name, None)
        if process is not None and process.poll() is None:
            process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
        return process.wait() if process is not None else None

    def check(self, condition, what, detail=""):
        print(("ok   " if condition else "FAIL ") + what + ("" if condition else f"\n     {detail}"), flush=True)
        self.failures += 0 if condition else 1

    def wait_for(self, condition, seconds):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if condition():
                return True
            time.sleep(0.1)
        return condition()

    def ctl(self, *arguments, input=None):
        return self.run(self.ctl_path, "--socket", str(self.socket), *arguments, check=False, input=input)

    def snmp(self, tool, *arguments, community="public"):
        return self.run(tool, "-v2c", "-c", community, "-t", "5", "-r", "0", "-m", "", *arguments, check=False)

    def translate(self, name):
        """The numeric OID of an object of the module, named as an operator names it."""
        return self.run("snmptranslate", "-M", "+" + self.mibs, "-m", "DHCP6-SNOOPING-MIB", "-On",
                        "DHCP6-SNOOPING-MIB::" + name, check=False).stdout.strip()

    def walk(self, tool):
        """The module's objects as snmpwalk or snmpbulkwalk reads them, each as "OID = value" in the simulated
        switch's form: OIDs without the leading dot, integers in decimal, printable octets quoted, others in hex."""
        shown = self.snmp(tool, "-On", "-Oe", "-Ox", AGENT, ROOT).stdout
        lines = []
        for line in shown.splitlines():
            name, _, value = line.partition(" = ")
            kind, _, content = value.partition(": ")
            if kind == "INTEGER":
                content = str(int(content) & 0xFFFFFFFF)
            elif kind == "Hex-STRING":
                octets = bytes.fromhex(content.replace(" ", ""))
                printable = all(0x20 <= b < 0x7f for b in octets)
                content = '"' + octets.decode() + '"' if printable else ":".join(f"{b:02x}" for b in octets)
            elif kind == "STRING" or value == '""':
                content = '""'
            lines.append(f"{name.lstrip('.')} = {content}")
        return lines

    def subtree_served(self):
        return "INTEGER" in self.snmp("snmpget", "-t", "1", AGENT, ROOT + ".1.0").stdout

    # --- the test bed ---------------------------------------------------------------------------------
    def build(self):
        self.teardown()
        subprocess.run(("ip", "netns", "add", NAMESPACE), check=True)
        self.run("ip", "link", "set", "lo", "up")
        self.run("ip", "link", "add", "br0", "type", "bridge")
        for port in PORTS:
            self.run("ip", "link", "add", port, "type", "veth", "peer", "name", "p" + port)
            self.run("ip", "link", "set", port, "master", "br0", "up")
            self.run("ip", "link", "set", "p" + port, "up")
        self.run("ip", "link", "set", "br0", "up")

    def teardown(self):
        for name in list(self.processes):
            self.stop(name)
        subprocess.run(("ip", "netns", "del", NAMESPACE), capture_output=True)

    def start_snmpd(self):
        config = self.work / "snmpd.conf"
        config.write_text(f"master agentx\nagentXSocket {self.agentx}\nagentaddress {AGENT}\n"
                          "rocommunity public 127.0.0.1\nrwcommunity private 127.0.0.1\ndontLogTCPWrappersConnects yes\n")
        self.start("snmpd", "snmpd", "-f", "-C", "-m", "", "-c", str(config), "-LF", "0-4", str(self.work / "snmpd.log"),
                   "-p", str(self.work / "snmpd.pid"))
        return self.wait_for(lambda: self.agentx.exists(), 10)

    def start_daemon(self):
        settings = self.work / "platform.conf"
        settings.write_text(f"bridge = br0\nsocket = {self.socket}\nagentx-socket = {self.agentx}\n"
                            f"boot-config = {self.work / 'boot.conf'}\nbinding-database = {self.database}\n")
        self.start("daemon", self.daemon, env={**os.environ, "DHCP6SNOOPING_PLATFORM_CONF": str(settings)})
        return self.wait_for(lambda: self.ctl("show", "global").returncode == 0, 10)

    # --- the scenario ---------------------------------------------------------------------------------
    def scenario(self):
        self.build()
        # The daemon first, as a boot may start it: it keeps trying until snmpd is there.
        self.check(self.start_daemon(), "the daemon starts before snmpd", (self.work / "daemon.log").read_text())
        self.check(self.start_snmpd(), "snmpd starts as AgentX master", (self.work / "snmpd.log").read_text())
        self.check(self.wait_for(self.subtree_served, 10), "the daemon registers its module with snmpd through AgentX",
                   (self.work / "daemon.log").read_text())
        self.names_resolve()
        applied = self.ctl("replace", "-", input=CONFIG)
        self.check(applied.returncode == 0, "the configuration is entered", applied.stderr)
        self.walks_match()
        self.sets_match()
        self.refused_sets()
        self.snmpd_restarts()
        self.bulk_walk_benchmark()
        stopped = self.stop("daemon")
        log = (self.work / "daemon.log").read_text()
        self.check(stopped == 0 and "Sanitizer" not in log, "the daemon stops cleanly, the subagent with it",
                   f"exit status {stopped}: {log[-3000:]}")
        return self.failures

    def names_resolve(self):
        """snmptranslate finds every object of the module by name, under the module's root."""
        names = re.findall(r"^(\w+) OBJECT-TYPE", (MIB_DIR / "DHCP6-SNOOPING-MIB.txt").read_text(), re.M)
        unresolved = [n for n in names if not self.translate(n).startswith(ROOT + ".")]
        self.check(len(names) > 28 and unresolved == [], f"snmptranslate resolves all {len(names)} objects by name",
                   unresolved)

    def walks_match(self):
        config = self.work / "running.conf"
        config.write_text(self.ctl("show", "running-config").stdout)
        simulated = subprocess.run((self.switchsim_walk, ",".join(PORTS), str(config)), capture_output=True,
                                   text=True)
        expected = simulated.stdout.splitlines()
        for tool in ("snmpwalk", "snmpbulkwalk"):
            walked = self.walk(tool)
            self.check(len(expected) > 20 and walked == expected,
                       f"{tool} of the module equals the simulated switch's walk ({len(walked)} objects)",
                       "\n     ".join(f"{a!r:60} {b!r}" for a, b in zip(walked, expected) if a != b)[:3000] +
                       simulated.stderr + f" ({len(walked)} against {len(expected)})")

    def state(self):
        """The daemon's configuration and filters: the running configuration, and nftables' table without
        handles and counts."""
        def plain(node):
            if isinstance(node, dict):
                return {k: plain(v) for k, v in node.items() if k not in ("handle", "packets", "bytes")}
            if isinstance(node, list):
                return sorted((plain(v) for v in node), key=json.dumps)
            return node
        table = self.run("nft", "-j", "list", "table", "bridge", "dhcp6snooping", check=False).stdout
        return self.ctl("show", "running-config").stdout, plain(json.loads(table or "{}"))

    def snmpset(self, *assignments):
        """snmpset of (object, instance, type, value) assignments, by numeric OID."""
        arguments = []
        for name, instance, kind, value in assignments:
            arguments += [f"{self.translate(name)}.{instance}", kind, str(value)]
        return self.snmp("snmpset", AGENT, *arguments, community="private")

    def sets_match(self):
        """Each set through SNMP leaves the daemon as the same setting through the command line does."""
        base = self.work / "base.conf"
        base.write_text(CONFIG)
        row = [("ip6BindIndex", 7, "i", 7), ("ip6BindIpAddr", 7, "s", "2001:db8::77"),
               ("ip6BindMacAddr", 7, "s", "02:00:00:00:00:77"), ("ip6BindPortId", 7, "i", 4),
               ("ip6BindVlanId", 7, "i", 1), ("ip6SourceGuardBindRowstatus", 7, "i", 4)]
        cases = [
            ("trust", [("portTrustMode", 3, "i", 1)], ["interface ethernet swp3", "dhcpv6-snooping trust", "exit"]),
            ("no trust", [("portTrustMode", 1, "i", 2)], ["interface ethernet swp1", "no dhcpv6-snooping trust", "exit"]),
            ("guard mode", [("portIpSourceGuardMode", 4, "i", 1)],
             ["interface ethernet swp4", "ipv6-source-guard ipv6", "exit"]),
            ("port limit", [("portMaxNum", 3, "i", 7)],
             ["interface ethernet swp3", "dhcpv6-snooping max-clients 7", "exit"]),
            ("VLAN limit", [("vlanMaxNum", 1, "i", 9)], ["vlan 1", "dhcpv6-snooping max-clients 9", "exit"]),
            ("snooping off", [("dhcp6snoopingOnOff", 0, "i", 2)], ["no dhcpv6-snooping"]),
            ("option 18", [("dhcp6snoopingInfoOption18Enable", 0, "i", 1)], ["dhcpv6-snooping information option 18"]),
            ("binding row createAndGo", row,
             ["ipv6-source-guard bind ip 2001:db8::77 mac 02:00:00:00:00:77 interface ethernet swp4 vlan 1"]),
        ]
        for what, assignments, commands in cases:
            self.ctl("replace", str(base))
            before = self.state()
            result = self.snmpset(*assignments)
            through_snmp = self.state()
            self.ctl("replace", str(base))
            configured = self.ctl("config", *commands)
            through_ctl = self.state()
            self.check(result.returncode == 0 and configured.returncode == 0 and through_snmp == through_ctl
                       and through_snmp != before,
                       f"snmpset of {what} changes the daemon as dhcp6snoopingctl does",
                       result.stdout + result.stderr + configured.stderr +
                       f"\n     snmp: {through_snmp[0]}\n     ctl:  {through_ctl[0]}")
        self.ctl("replace", str(base))
        before = self.state()
        self.snmpset(*row)
        destroyed = self.snmpset(("ip6SourceGuardBindRowstatus", 7, "i", 6))
        self.check(destroyed.returncode == 0 and self.state() == before,
                   "snmpset of destroy on the row takes the binding away again", destroyed.stderr)

    def refused_sets(self):
        """Wrong types, lengths and values get their SNMP error, and a refused request changes nothing."""
        cases = [
            ([("portTrustMode", 2, "s", "trusted")], "wrongType"),
            ([("dhcp6snoopingOnOff", 0, "i", 3)], "wrongValue"),
            ([("portTrustMode", 2, "i", 3)], "wrongValue"),
            ([("portMaxNum", 2, "i", 2049)], "wrongValue"),
            ([("dhcp6snoopingInfoRemoteStr", 0, "s", "r" * 65)], "wrongLength"),
            ([("ip6BindIpAddr", 8, "s", "2001:db8:0:0:0:0:0:1234" + "0" * 17)], "wrongLength"),
            ([("ip6BindMacAddr", 8, "s", "02:00:00:00:00")], "wrongValue"),
            ([("ip6BindMacAddr", 8, "s", "01:00:00:00:00:01")], "wrongValue"),
            ([("portIndex", 1, "i", 1)], "notWritable"),
            ([("portTrustMode", 99, "i", 1)], "noCreation"),
            ([("dhcp6snoopingOnOff", 1, "i", 1)], "noCreation"),
            ([("ip6SourceGuardBindRowstatus", 200, "i", 6)], "resourceUnavailable"),
            ([("portTrustMode", 2, "i", 1), ("portMaxNum", 2, "i", 5000)], "wrongValue"),
        ]
        before = self.state()
        for assignments, error in cases:
            result = self.snmpset(*assignments)
            what = ", ".join(f"{n}.{i} = {v}"[:40] for n, i, _, v in assignments)
            self.check(result.returncode != 0 and f"Reason: {error}" in result.stdout + result.stderr
                       and self.state() == before, f"snmpset {what} is refused with {error} and changes nothing",
                       result.stdout + result.stderr)

    def snmpd_restarts(self):
        self.stop("snmpd")
        self.check(self.start_snmpd(), "snmpd starts again")
        started = time.monotonic()
        back = self.wait_for(self.subtree_served, 10)
        print(f"restart: the subtree is served again {time.monotonic() - started:.1f} s after snmpd restarted",
              flush=True)
        self.check(back, "snmpd restarted under the daemon gets the module's subtree back within seconds",
                   (self.work / "daemon.log").read_text()[-2000:])

    def timed_walk(self, oid):
        """Seconds, the daemon's CPU seconds, and the objects read, of a bulk walk of 50 objects a request."""
        cpu, started = self.daemon_cpu(), time.monotonic()
        shown = self.snmp("snmpbulkwalk", "-Cr50", "-On", "-Oq", AGENT, oid)
        return time.monotonic() - started, self.daemon_cpu() - cpu, len(shown.stdout.splitlines())

    def daemon_cpu(self):
        fields = Path(f"/proc/{self.processes['daemon'].pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def bulk_walk_benchmark(self):
        """A bulk walk of 2048 clients of 10 bindings, timed beside snmpd's own objects as the floor."""
        self.stop("daemon")
        (self.work / "boot.conf").write_text("dhcpv6-snooping\n")
        subprocess.run((self.make_database, str(self.database), str(CLIENTS), str(BINDINGS), ",".join(PORTS)),
                       check=True)
        self.check(self.start_daemon() and self.wait_for(self.subtree_served, 10),
                   "the daemon starts with a full client table from its binding database")
        rows = len(self.snmp("snmpwalk", "-On", "-Oq", AGENT, ROOT + ".6.1.1").stdout.splitlines())
        seconds, cpu, objects = self.timed_walk(ROOT)
        floor_seconds, _, floor_objects = self.timed_walk(".1.3.6.1.2.1")
        print(f"bulkwalk: {objects} objects of {rows} clients in {seconds:.3f} s ({objects / seconds:.0f} a second, "
              f"{cpu:.2f} s of the daemon's CPU); floor, snmpd's own {floor_objects} objects in {floor_seconds:.3f} s "
              f"({floor_objects / floor_seconds if floor_seconds else 0:.0f} a second)", flush=True)
        self.check(rows == CLIENTS and objects >= CLIENTS * 7,
                   f"the bulk walk reads every column of the {CLIENTS} clients", f"{rows} rows, {objects} objects")


def main():
    if len(sys.argv) != 5:
        print(__doc__, file=sys.stderr)
        return 2
    if os.geteuid() != 0 or subprocess.run(("ip", "netns", "add", "d6x-probe"), capture_output=True).returncode:
        print("skipped: the SNMP end-to-end test needs root and network namespaces")
        return SKIP
    subprocess.run(("ip", "netns", "del", "d6x-probe"), capture_output=True)
    if not Path("/usr/sbin/snmpd").exists():
        print("skipped: snmpd is not installed (scripts/install-deps.sh installs it)")
        return SKIP
    with tempfile.TemporaryDirectory(prefix="d6s-snmp-") as work:
        scenario = Scenario(*(os.path.abspath(a) for a in sys.argv[1:5]), work)
        try:
            failures = scenario.scenario()
        finally:
            scenario.teardown()
            for log in ("daemon.log", "snmpd.log"):
                path = Path(work) / log
                if path.exists() and scenario.failures:
                    print(f"--- {log} ---\n{path.read_text()[-4000:]}")
    print(f"{failures} check(s) failed" if failures else "all checks passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
