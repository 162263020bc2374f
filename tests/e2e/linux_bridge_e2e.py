#!/usr/bin/python3
"""End to end on a real Linux bridge: the daemon on bridge br0 in one network namespace, a Kea DHCPv6
server behind trusted port swp1, dhclient (addresses) behind swp2, dhcpcd (a delegated prefix) behind swp3
and a rogue server behind swp4, each in a namespace of its own. Every check prints "ok" or "FAIL"; the exit
status is 1 when any failed, and 77 when this machine cannot run the test (not root, no namespaces).

D6S_E2E_TRACE=on writes the daemon's trace into its log. With FLOOD_TOOL it also floods an untrusted port
with SOLICITs from random MACs (D6S_FLOOD_FRAMES of them, a million by default) while a real client
confirms its lease on another port, and reports the daemon's rate.

usage: linux_bridge_e2e.py DAEMON CTL [FLOOD_TOOL]"""

import json
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
PREFIX = "d6s-"
HOSTS = {"srv": "swp1", "c1": "swp2", "c2": "swp3", "rogue": "swp4"}
SERVER_ADDRESS = "2001:db8:1::1"
POOL_PREFIX = "2001:db8:1::"
PD_PREFIX = "2001:db8:100:"
ROGUE_PREFIX = "2001:db8:bad:"
SKIP = 77
VLAN = 1


class Scenario:
    def __init__(self, daemon, ctl, work, flood_tool=None):
        self.daemon_path, self.ctl_path, self.work = daemon, ctl, Path(work)
        self.flood_tool = flood_tool
        self.socket = self.work / "mgmt.sock"
        self.database = self.work / "bindings"
        self.metrics = self.work / "dhcp6snooping.prom"
        self.processes = {}
        self.failures = 0

    # --- plumbing -------------------------------------------------------------------------------------
    def run(self, *command, check=True, namespace=None, **options):
        if namespace is not None:
            command = ("ip", "netns", "exec", PREFIX + namespace) + command
        result = subprocess.run(command, capture_output=True, text=True, **options)
        if check and result.returncode != 0:
            raise RuntimeError(f"{' '.join(command)}: {result.returncode}\n{result.stdout}{result.stderr}")
        return result

    def start(self, name, *command, namespace, env=None):
        log = open(self.work / f"{name}.log", "w")
        self.processes[name] = subprocess.Popen(("ip", "netns", "exec", PREFIX + namespace) + command,
                                                stdout=log, stderr=subprocess.STDOUT, env=env)

    def stop(self, name, sig=signal.SIGTERM):
        process = self.processes.pop(name, None)
        if process is not None and process.poll() is None:
            process.send_signal(sig)
            try:
                return process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
        return process.returncode if process else None

    def ctl(self, *arguments, json_output=False, check=True, input=None):
        command = [self.ctl_path, "--socket", str(self.socket)] + (["--json"] if json_output else [])
        result = self.run(*command, *arguments, namespace="sw", check=check, input=input)
        return json.loads(result.stdout) if json_output else result

    def check(self, condition, what, detail=""):
        print(("ok   " if condition else "FAIL ") + what + ("" if condition else f"\n     {detail}"), flush=True)
        self.failures += 0 if condition else 1

    def wait_for(self, condition, seconds=20):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if condition():
                return True
            time.sleep(0.2)
        return condition()

    def addresses(self, host):
        shown = json.loads(self.run("ip", "-j", "-6", "addr", "show", "dev", "eth0", namespace=host).stdout)
        return {a["local"] for link in shown for a in link["addr_info"] if a["scope"] == "global"}

    def mac(self, host):
        return json.loads(self.run("ip", "-j", "link", "show", "dev", "eth0", namespace=host).stdout)[0]["address"]

    # --- the test bed ---------------------------------------------------------------------------------
    def build(self):
        self.teardown()
        for host in ["sw", *HOSTS]:
            self.run("ip", "netns", "add", PREFIX + host)
            self.run("ip", "link", "set", "lo", "up", namespace=host)
            # Link-local addresses usable at once, so that the server can bind to its own without waiting out
            # duplicate address detection.
            for scope in ("all", "default"):
                self.run("sysctl", "-qw", f"net.ipv6.conf.{scope}.accept_dad=0", namespace=host)
        # Without VLAN filtering (the kernels of some test machines lack it) the bridge is VLAN 1 on every port.
        self.run("ip", "link", "add", "br0", "type", "bridge", namespace="sw")
        for host, port in HOSTS.items():
            self.run("ip", "link", "add", port, "type", "veth", "peer", "name", "eth0", "netns", PREFIX + host,
                     namespace="sw")
            self.run("ip", "link", "set", port, "master", "br0", "up", namespace="sw")
            self.run("ip", "link", "set", "eth0", "up", namespace=host)
        self.run("ip", "link", "set", "br0", "up", namespace="sw")
        self.run("ip", "addr", "add", SERVER_ADDRESS + "/64", "dev", "eth0", "nodad", namespace="srv")

    def teardown(self):
        for name in list(self.processes):
            self.stop(name, signal.SIGKILL)
        for host in ["sw", *HOSTS]:
            # What went to the background on its own (dhclient keeps its lease that way) ends too.
            pids = subprocess.run(("ip", "netns", "pids", PREFIX + host), capture_output=True, text=True).stdout
            for pid in pids.split():
                subprocess.run(("kill", "-9", pid), capture_output=True)
            subprocess.run(("ip", "netns", "del", PREFIX + host), capture_output=True)

    def start_daemon(self):
        settings = self.work / "platform.conf"
        # The trace costs a log line a frame, which the flood would measure; D6S_E2E_TRACE=on shows it.
        trace = os.environ.get("D6S_E2E_TRACE", "off")
        settings.write_text(f"bridge = br0\nsocket = {self.socket}\ntrace = {trace}\n"
                            f"boot-config = {self.work / 'boot.conf'}\nbinding-database = {self.database}\n"
                            f"metrics-file = {self.metrics}\nmetrics-interval = 1\n")
        # In a sanitizer build freed memory waits in AddressSanitizer's quarantine, 256 MB of it by default,
        # before it is used again; a small one lets the memory check see the daemon's own use.
        asan = ":".join(filter(None, (os.environ.get("ASAN_OPTIONS"), "quarantine_size_mb=8")))
        self.start("daemon", self.daemon_path, namespace="sw",
                   env={**os.environ, "DHCP6SNOOPING_PLATFORM_CONF": str(settings), "ASAN_OPTIONS": asan})
        # A socket file that a killed daemon left behind answers nothing: ready is when the daemon answers.
        return self.wait_for(lambda: self.ctl("show", "global", check=False).returncode == 0, 10)

    def start_server(self):
        config = json.loads((HERE / "kea-dhcp6.json").read_text())
        config["Dhcp6"]["loggers"][0]["output_options"][0]["output"] = str(self.work / "kea.log")
        (self.work / "kea.json").write_text(json.dumps(config))
        env = {**os.environ, "KEA_LOCKFILE_DIR": str(self.work), "KEA_PIDFILE_DIR": str(self.work)}
        self.start("kea", "kea-dhcp6", "-c", str(self.work / "kea.json"), namespace="srv", env=env)

    def dhclient(self, *arguments):
        return self.run("timeout", "30", "dhclient", "-6", "-1", "-v", "-lf", str(self.work / "c1.leases"),
                        "-pf", str(self.work / "c1.pid"), *arguments, "eth0", namespace="c1", check=False)

    def dhcpcd(self):
        config = self.work / "dhcpcd.conf"
        config.write_text("ipv6only\nnoipv6rs\nnohook resolv.conf\nia_pd 1\n")
        return self.run("timeout", "30", "dhcpcd", "-f", str(config), "-1", "-B", "-6", "eth0",
                        namespace="c2", check=False)

    def clients(self):
        return {client["mac"]: client for client in self.ctl("show", "clients", json_output=True)}

    def bindings(self):
        """The client table without the seconds left: each client's VLAN, port and bindings."""
        return {mac: (c["vlan"], c["port_name"], sorted((a["address"], a["prefix_length"]) for a in c["addresses"]))
                for mac, c in self.clients().items()}

    # --- the scenario ---------------------------------------------------------------------------------
    def scenario(self):
        self.build()
        self.check(self.start_daemon(), "the daemon starts on bridge br0 and opens its management socket",
                   (self.work / "daemon.log").read_text())
        applied = self.ctl("apply", "-", input="dhcpv6-snooping\ninterface ethernet swp1\n dhcpv6-snooping trust\n exit\n",
                           check=False)
        self.check(applied.returncode == 0, "snooping is switched on, swp1 trusted", applied.stderr)
        self.start_server()
        self.start("rogue", str(HERE / "rogue_server.py"), "eth0", namespace="rogue")
        self.start("capture", "tcpdump", "-i", "eth0", "-U", "-w", str(self.work / "c1.pcap"),
                   "ether", "src", self.mac("rogue"), namespace="c1")
        time.sleep(2)

        got = self.dhclient()
        c1 = self.addresses("c1")
        self.check(any(a.startswith(POOL_PREFIX) for a in c1), "dhclient gets an address from Kea",
                   got.stdout[-2000:])
        self.check(not any(a.startswith(ROGUE_PREFIX) for a in c1), "dhclient gets nothing from the rogue", c1)
        got = self.dhcpcd()
        delegated = [l for l in got.stderr.splitlines() + got.stdout.splitlines() if "delegated prefix" in l]
        self.check(any(PD_PREFIX in l for l in delegated), "dhcpcd gets a prefix delegated by Kea",
                   got.stderr[-2000:])
        rogue_sent = (self.work / "rogue.log").read_text()
        self.check("fragments-without-udp-header-first" in rogue_sent,
                   "the rogue answered with every evasion", rogue_sent[-1000:])
        self.stop("capture")
        # A fragment after the first cannot be told from any other and passes; without its first fragment it is
        # never reassembled, so what must not arrive is DHCPv6, UDP, or a first fragment.
        leaked = self.run("tshark", "-r", str(self.work / "c1.pcap"), "-Y", "dhcpv6 || udp || ipv6.fraghdr.offset == 0",
                          check=False).stdout
        self.check(leaked.strip() == "", "no rogue answer reaches the client, evasions included", leaked)
        self.statistics_of_the_rogue()

        table = self.clients()
        c1_entry = table.get(self.mac("c1"), {})
        c2_entry = table.get(self.mac("c2"), {})
        c1_learned = {a["address"] for a in c1_entry.get("addresses", [])}
        self.check(c1_learned == {a for a in c1 if a.startswith(POOL_PREFIX)} and c1_entry.get("vlan") == VLAN
                   and c1_entry.get("port_name") == "swp2",
                   "the client table holds dhclient's address, on its VLAN and port", json.dumps(table))
        c2_learned = [a for a in c2_entry.get("addresses", []) if a["address"].startswith(PD_PREFIX)]
        self.check(len(c2_learned) == 1 and str(c2_learned[0].get("prefix_length")) == "56",
                   "the client table holds dhcpcd's delegated prefix", json.dumps(table))
        self.relay_options()
        self.source_guard(c1)
        self.restarts(c1)
        self.configuration_files()
        if self.flood_tool:
            self.flood()
        self.removals()
        self.bad_input()
        self.stop("daemon")
        rate = [l for l in (self.work / "daemon.log").read_text().splitlines() if "frames handled" in l]
        print("daemon: " + (rate[-1].split(": ", 1)[-1] if rate else "no rate reported"), flush=True)
        rules = self.run("nft", "list", "tables", namespace="sw").stdout
        self.check("dhcp6snooping" not in rules, "stopping the daemon leaves no rule of its own", rules)
        return self.failures

    def port_statistics(self, port):
        return self.ctl("show", "statistics", "port", port, json_output=True)

    def statistics_of_the_rogue(self):
        """The rogue's answers are counted as dropped on its port, for the command line and in the metrics."""
        swp4 = self.port_statistics("swp4")
        self.check(swp4["dropped"]["server_message_on_untrusted_port"] > 0 and swp4["passed"]["advertise"] == 0,
                   "show statistics counts the rogue's answers as dropped on swp4", json.dumps(swp4))
        total = self.ctl("show", "statistics", json_output=True)["total"]
        self.check(total["passed"]["reply"] > 0 and total["bindings"]["learned"] >= 2,
                   "show statistics counts Kea's replies and the bindings learned", json.dumps(total))
        rogue_line = 'dhcp6snooping_frames_dropped_total{port="swp4",reason="server_message_on_untrusted_port"}'
        first = self.metrics.stat().st_ino if self.metrics.exists() else None
        self.check(self.wait_for(lambda: self.metrics.exists() and self.metrics.stat().st_ino != first
                                 and rogue_line in self.metrics.read_text(), 5),
                   "the metrics file is replaced whole, not rewritten, and counts the rogue's answers",
                   self.metrics.read_text() if self.metrics.exists() else "no file")
        if Path("/usr/bin/promtool").exists():
            checked = self.run("promtool", "check", "metrics", input=self.metrics.read_text(), check=False)
            self.check(checked.returncode == 0, "promtool accepts the metrics file", checked.stdout + checked.stderr)

    def relay_options(self):
        """With options 18 and 37 on, a client's RENEW reaches the server carrying both, checksum good."""
        self.ctl("config", "dhcpv6-snooping information option 18", "dhcpv6-snooping information option 37")
        self.start("server-capture", "tcpdump", "-i", "eth0", "-U", "-w", str(self.work / "srv.pcap"),
                   "udp", "port", "547", namespace="srv")
        time.sleep(1)
        self.dhclient()  # confirms the lease it holds
        time.sleep(1)
        self.stop("server-capture")
        fields = self.run("tshark", "-r", str(self.work / "srv.pcap"), "-o", "udp.check_checksum:TRUE",
                          "-Y", "dhcpv6.msgtype != 2 && dhcpv6.msgtype != 7", "-T", "fields", "-e", "dhcpv6.msgtype",
                          "-e", "dhcpv6.interface_id", "-e", "dhcpv6.remoteid.enterprise", "-e", "udp.checksum.status",
                          check=False).stdout.split("\n")
        carried = [f.split("\t") for f in fields if f.strip()]
        self.check(bool(carried) and all(f[1] and f[2] and f[3] == "1" for f in carried),
                   "client messages reach the server with options 18 and 37 and a good checksum", carried)

    def source_guard(self, leased):
        """On a guarded port the leased address reaches the server and a forged one does not."""
        self.ctl("config", "interface ethernet swp2", "ipv6-source-guard ipv6", "exit")
        own = next(a for a in leased if a.startswith(POOL_PREFIX))
        # DHCPv6 leases a /128; the on-link prefix would come from a router's advertisement, which this bed has
        # none of.
        self.run("ip", "-6", "route", "replace", POOL_PREFIX + "/64", "dev", "eth0", namespace="c1")
        reached = self.run("ping", "-6", "-c", "2", "-W", "1", "-I", own, SERVER_ADDRESS, namespace="c1", check=False)
        self.check(reached.returncode == 0, "the leased address reaches the server through the guard", reached.stdout)
        forged = POOL_PREFIX + "abcd"
        self.run("ip", "addr", "add", forged + "/128", "dev", "eth0", "nodad", namespace="c1")
        blocked = self.run("ping", "-6", "-c", "2", "-W", "1", "-I", forged, SERVER_ADDRESS, namespace="c1", check=False)
        self.check(blocked.returncode != 0, "a forged source address on the guarded port is dropped", blocked.stdout)
        self.run("ip", "addr", "del", forged + "/128", "dev", "eth0", namespace="c1")
        guarded = self.port_statistics("swp2")
        self.check(guarded["source_guard_dropped"] >= 2, "show statistics counts the forged pings source guard dropped",
                   json.dumps(guarded))
        self.ctl("clear", "statistics")
        cleared = self.ctl("show", "statistics", json_output=True)
        counted = [value for port in cleared["ports"] + [cleared["total"]] for group in port.values()
                   if isinstance(group, dict) for value in group.values()]
        # The client's own link traffic (its multicast listener reports) may meet the guard again at once.
        self.check(not any(counted) and self.port_statistics("swp2")["source_guard_dropped"] < guarded["source_guard_dropped"],
                   "clear statistics sets every count back to 0, source guard's too", json.dumps(cleared))

    def pings_lost(self, source, during):
        """How many of the pings sent every 50 ms from `source` to the server, from a little before `during`
        runs until a second after, got no answer."""
        pinger = subprocess.Popen(("ip", "netns", "exec", PREFIX + "c1", "ping", "-6", "-n", "-i", "0.05", "-W", "1",
                                   "-I", source, SERVER_ADDRESS), stdout=subprocess.PIPE, text=True)
        time.sleep(0.5)
        during()
        time.sleep(1.5)
        pinger.send_signal(signal.SIGINT)
        summary = pinger.communicate(timeout=10)[0]
        line = next((l for l in summary.splitlines() if "packets transmitted" in l), "0 packets transmitted, 0 received")
        sent, received = (int(l.split()[0]) for l in line.split(", ")[:2])
        return sent - received, sent

    def restart(self, sig):
        self.stop("daemon", sig)
        self.check(self.start_daemon(), f"the daemon starts again after {signal.Signals(sig).name}",
                   (self.work / "daemon.log").read_text()[-2000:])

    def restarts(self, leased):
        """The configuration and the bindings survive a clean restart and a crash, and the leased client on the
        guarded port keeps reaching the server across both."""
        own = next(a for a in leased if a.startswith(POOL_PREFIX))
        saved = self.ctl("save", check=False)
        self.check(saved.returncode == 0 and (self.work / "boot.conf").exists(),
                   "the running configuration is saved as the boot configuration", saved.stderr)
        config, clients = self.ctl("show", "running-config").stdout, self.bindings()
        self.check(self.wait_for(lambda: self.mac("c1") in self.database.read_text() if self.database.exists() else False, 5),
                   "the binding database holds the leased client within seconds")
        for sig, allowed in ((signal.SIGTERM, 0), (signal.SIGKILL, 20)):
            lost, sent = self.pings_lost(own, lambda: self.restart(sig))
            print(f"restart: {lost} of {sent} pings lost across a restart after {signal.Signals(sig).name}", flush=True)
            self.check(lost <= allowed, f"the leased client keeps reaching the server across "
                       f"{signal.Signals(sig).name} and a restart ({lost} pings lost)")
            self.check(self.ctl("show", "running-config").stdout == config and self.bindings() == clients,
                       f"the configuration and the client table come back after {signal.Signals(sig).name}",
                       f"{self.bindings()}\n     before: {clients}")
        forged = POOL_PREFIX + "abce"
        self.run("ip", "addr", "add", forged + "/128", "dev", "eth0", "nodad", namespace="c1")
        blocked = self.run("ping", "-6", "-c", "2", "-W", "1", "-I", forged, SERVER_ADDRESS, namespace="c1", check=False)
        self.check(blocked.returncode != 0, "after the restarts a forged source address is still dropped", blocked.stdout)
        self.run("ip", "addr", "del", forged + "/128", "dev", "eth0", namespace="c1")

        second = self.run(self.daemon_path, namespace="sw", check=False,
                          env={**os.environ, "DHCP6SNOOPING_PLATFORM_CONF": str(self.work / "platform.conf")})
        guarded = self.run("nft", "list", "set", "bridge", "dhcp6snooping", "guarded_ports", namespace="sw").stdout
        self.check(second.returncode == 1 and "another dhcp6snooping is running" in second.stderr and "swp2" in guarded,
                   "a second instance is refused and leaves the first one's table alone", second.stderr + guarded)

        self.stop("daemon")
        records = self.database.read_text().splitlines()
        torn = [l for l in records if self.mac("c2") in l]
        kept = [l for l in records if l not in torn]
        self.database.write_text("\n".join(kept) + "\n" + (torn[0][: len(torn[0]) // 2] if torn else ""))
        self.check(self.start_daemon() and self.mac("c1") in self.clients() and self.mac("c2") not in self.clients()
                   and Path(str(self.database) + ".damaged").exists(),
                   "a torn binding database costs the torn record alone and is kept aside",
                   (self.work / "daemon.log").read_text()[-2000:])
        self.dhcpcd()  # the client of the torn record asks again
        self.check(self.mac("c2") in self.clients(), "the client of the torn record is learned again when it asks")

    def configuration_files(self):
        """Checking a file changes nothing; a replacement is whole or nothing and keeps the learned clients."""
        before, clients = self.ctl("show", "running-config").stdout, self.bindings()
        bad = self.work / "bad.conf"
        bad.write_text(before + "interface ethernet swp4\n dhcpv6-snooping max-clients 99999999\nexit\n")
        checked = self.ctl("apply", "--check", str(bad), check=False)
        self.check(checked.returncode == 1 and "line " in checked.stderr and
                   self.ctl("show", "running-config").stdout == before,
                   "apply --check of a bad file names the line and changes nothing", checked.stderr)
        replaced = self.ctl("replace", str(bad), check=False)
        self.check(replaced.returncode == 1 and self.ctl("show", "running-config").stdout == before,
                   "replace of a file with a refused line leaves the configuration as it was", replaced.stderr)
        good = self.work / "good.conf"
        good.write_text("dhcpv6-snooping\ninterface ethernet swp1\n dhcpv6-snooping trust\nexit\n"
                        "interface ethernet swp2\n ipv6-source-guard ipv6-mac\nexit\n")
        replaced = self.ctl("replace", str(good), check=False)
        after = self.ctl("show", "running-config").stdout
        self.check(replaced.returncode == 0 and "ipv6-source-guard ipv6-mac\n" in after and
                   "dhcpv6-snooping information" not in after and self.bindings() == clients,
                   "replace makes the configuration the file's and keeps the learned clients",
                   replaced.stderr + after)

    def daemon_rss_kb(self):
        status = Path(f"/proc/{self.processes['daemon'].pid}/status").read_text()
        return int(next(l.split()[1] for l in status.splitlines() if l.startswith("VmRSS:")))

    def daemon_cpu_seconds(self):
        fields = Path(f"/proc/{self.processes['daemon'].pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")  # utime + stime

    def replay(self, pcap, limit=None):
        command = ["tcpreplay", "-i", "eth0", "--topspeed"] + (["-L", str(limit)] if limit else []) + [str(pcap)]
        return self.run(*command, namespace="rogue", check=False)

    def flood(self):
        """SOLICITs from random MACs flood swp4 while dhclient confirms its lease on swp2."""
        count = int(os.environ.get("D6S_FLOOD_FRAMES", "1000000"))
        pcap = self.work / "flood.pcap"
        self.run(self.flood_tool, str(pcap), str(count))
        self.stop("rogue")
        self.ctl("config", "interface ethernet swp4", "dhcpv6-snooping max-clients 64", "exit")
        self.replay(pcap, limit=min(count, 100000))  # the ring and the client pool touched once
        before, cpu_before = self.daemon_rss_kb(), self.daemon_cpu_seconds()
        client = subprocess.Popen(("ip", "netns", "exec", PREFIX + "c1", "timeout", "60", "dhclient", "-6", "-1",
                                   "-lf", str(self.work / "c1.leases"), "-pf", str(self.work / "c1.pid"), "eth0"),
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        sent = self.replay(pcap)
        confirmed = client.wait()
        after, cpu = self.daemon_rss_kb(), self.daemon_cpu_seconds() - cpu_before
        rated = [l.strip() for l in sent.stdout.splitlines() if l.strip().startswith(("Actual", "Rated"))]
        print("flood: " + " / ".join(rated), flush=True)
        print(f"flood: the daemon used {cpu:.2f} s of CPU, system calls included: "
              f"{count / cpu if cpu else float('inf'):.0f} frames a second of its one core", flush=True)
        self.check(sent.returncode == 0, f"{count} SOLICITs from random MACs are replayed into swp4", sent.stderr)
        swp4 = next(p for p in self.ctl("show", "ports", json_output=True) if p["name"] == "swp4")
        self.check(swp4["clients"] == 64, "the port's client limit holds under the flood", swp4)
        # What the receive ring could not hold never reached the daemon; the rest met the port's limit.
        shown = self.ctl("show", "statistics", json_output=True)
        limited = self.port_statistics("swp4")["dropped"]["port_limit"]
        print(f"flood: {limited} SOLICITs dropped at the port limit, {shown['receive_ring_dropped']} by the ring",
              flush=True)
        self.check(limited > 0 and limited + shown["receive_ring_dropped"] >= count // 2,
                   "show statistics counts the flood's SOLICITs dropped at the port limit", json.dumps(shown["total"]))
        self.check(confirmed == 0 and self.mac("c1") in self.clients(),
                   "the real client on swp2 keeps its lease through the flood", confirmed)
        print(f"flood: the daemon's resident memory {before} kB before, {after} kB after", flush=True)
        self.check(after - before < 2048, "the daemon's memory stays flat under the flood",
                   f"{before} kB before, {after} kB after")

    def removals(self):
        """A RELEASE removes its client, and so does a port's link going down."""
        c1_mac, c2_mac = self.mac("c1"), self.mac("c2")
        self.dhclient("-r")
        self.check(self.wait_for(lambda: c1_mac not in self.clients(), 5), "a release removes the client")
        self.run("ip", "link", "set", "swp3", "down", namespace="sw")
        self.check(self.wait_for(lambda: c2_mac not in self.clients(), 5), "a link going down removes its clients")

    def bad_input(self):
        """Bad input to the command line is refused with a message and a non-zero exit, and changes nothing."""
        before = self.ctl("show", "running-config").stdout
        for words in (["frobnicate"], ["show", "everything"], ["config", "interface ethernet swp99"],
                      ["config", "vlan 4095"], ["clear", "clients", "mac", "00:11:22:33:44"],
                      ["config", "interface ethernet swp4", "dhcpv6-snooping max-clients 10", "exit", "vlan 4095"],
                      ["config", "ipv6-source-guard bind ip 2001:db8::zz"], ["clear", "clients", "vlan", "0"]):
            result = self.ctl(*words, check=False)
            self.check(result.returncode != 0 and result.stderr.strip() != "",
                       f"'{' '.join(words)}' is refused with a message", result.stdout + result.stderr)
        self.check(self.ctl("show", "running-config").stdout == before, "refused commands change nothing")
        self.raw_messages()
        self.ports_come_and_go()

    def ports_come_and_go(self):
        """A port added at run time takes the next number and the others keep theirs; a port removed leaves
        the list, and no view fails for it."""
        numbers = {p["name"]: p["port"] for p in json.loads(self.ctl("show", "-j", "ports").stdout)}
        self.run("ip", "link", "add", "swp9", "type", "veth", "peer", "name", "swp9peer", namespace="sw")
        self.run("ip", "link", "set", "swp9", "master", "br0", "up", namespace="sw")
        added = lambda: {p["name"]: p["port"] for p in json.loads(self.ctl("show", "ports", "--json=short").stdout)}
        self.check(self.wait_for(lambda: added().get("swp9") == max(numbers.values()) + 1, 5) and
                   all(added()[name] == number for name, number in numbers.items()),
                   "a port added at run time takes the next number and the others keep theirs", added())
        self.run("ip", "link", "del", "swp9", namespace="sw")
        self.check(self.wait_for(lambda: "swp9" not in added(), 5) and
                   all(self.ctl("show", view, check=False).returncode == 0 for view in ("ports", "vlans", "clients")),
                   "a port removed leaves the list and every view still answers", added())

    def exchange(self, message):
        """One raw message on the management socket, from the switch's namespace; the reply, or None."""
        probe = ("import socket, sys\n"
                 "s = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)\n"
                 f"s.connect({str(self.socket)!r}); s.settimeout(2)\n"
                 "s.send(bytes.fromhex(sys.argv[1]))\n"
                 "try:\n    print(s.recv(1 << 20).hex())\nexcept OSError:\n    print('none')\n")
        answer = self.run("/usr/bin/python3", "-c", probe, message.hex(), namespace="sw").stdout.strip()
        return None if answer == "none" else bytes.fromhex(answer)

    def raw_messages(self):
        """Every message is answered or closed, never left hanging; a reply carries nothing its request did not
        cause; a peer of another protocol version and an argument of the wrong size are refused."""
        def header(kind, call, length, version=1, count=0):
            return (kind.to_bytes(2, "little") + version.to_bytes(2, "little") + call.to_bytes(4, "little") +
                    count.to_bytes(4, "little") + bytes(2) + length.to_bytes(2, "little") + bytes(8))

        def result(reply):
            return None if reply is None or len(reply) < 24 else int.from_bytes(reply[16:20], "little", signed=True)

        answered = [kind for kind in range(0, 16)
                    if kind not in (3, 4, 5, 6, 7, 8, 9) and result(self.exchange(header(kind, 6270, 0))) is not None]
        self.check(answered == [kind for kind in range(0, 16) if kind not in (3, 4, 5, 6, 7, 8, 9)],
                   "a message of any type is answered", answered)
        self.check(result(self.exchange(header(99, 0, 0))) == -1, "a message of an unknown type is refused")
        old = self.exchange(header(2, 6270, 0, version=0))
        self.check(result(old) == -1003 and old[2:4] == (1).to_bytes(2, "little"),
                   "a peer of another protocol version is told so, with this daemon's version", old)
        cut = [length for length in range(1, 24) if (result(self.exchange(header(2, 6270, 0)[:length])) or 0) >= 0]
        self.check(cut == [], "a message shorter than its header is refused, not served", cut)
        before = self.ctl("show", "running-config").stdout
        short = header(2, 6263, 4 + 4 + 4 + 1, count=2) + (4).to_bytes(4, "little") + (1).to_bytes(4, "little") + \
            (1).to_bytes(4, "little") + bytes(1)
        self.check(result(self.exchange(short)) == -1002 and self.ctl("show", "running-config").stdout == before,
                   "a one-byte argument to max-clients is refused and changes nothing")
        self.ctl("show", "clients")  # the receive buffer fills with replies to another caller
        reply = self.exchange(header(2, 6270, 7000))  # no argument, a large length declared
        self.check(reply is not None and not any(reply[24:]),
                   "a reply sized by a declared length carries nothing of earlier replies",
                   reply[24:120].hex() if reply else None)


def main():
    if len(sys.argv) not in (3, 4):
        print(__doc__, file=sys.stderr)
        return 2
    if os.geteuid() != 0 or subprocess.run(("ip", "netns", "add", PREFIX + "probe"), capture_output=True).returncode:
        print("skipped: the end-to-end test needs root and network namespaces")
        return SKIP
    subprocess.run(("ip", "netns", "del", PREFIX + "probe"), capture_output=True)
    with tempfile.TemporaryDirectory(prefix="d6s-e2e-") as work:
        flood_tool = os.path.abspath(sys.argv[3]) if len(sys.argv) == 4 else None
        scenario = Scenario(os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), work, flood_tool)
        try:
            failures = scenario.scenario()
        finally:
            scenario.teardown()
            for log in ("daemon.log", "kea.log", "rogue.log"):
                path = Path(work) / log
                if path.exists() and scenario.failures:
                    print(f"--- {log} ---\n{path.read_text()[-4000:]}")
    print(f"{failures} check(s) failed" if failures else "all checks passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
