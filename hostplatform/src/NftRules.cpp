#include "NftRules.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <sstream>

namespace hostplatform::nft {
namespace {

constexpr std::string_view kTable = "bridge dhcp6snooping";

// The sets, one per kind of request, and the rules, which never change. Everything hangs off prerouting, the
// first hook a frame entering a bridge port meets: source guard, like a switch's ingress filter, then covers
// both forwarded frames and those for the host's own interface on the bridge. The daemon is not in the way
// of any of it: its packet sockets see frames before the bridge does, and the frames it sends through them
// leave without passing the bridge's hooks.
//
// A frame's VLAN is its 802.1Q tag or, untagged, the ingress port's PVID. Tagged frames are looked up by
// their tag; for untagged ones the platform, which knows each port's PVID, puts the port itself into a set
// of its own (exempt_untagged_ports, permit_port_mac_ip_untagged), so that no rule needs the bridge's meta
// expressions, which not every kernel has. A request without a MAC covers every source MAC: its element
// goes, without the MAC, into a set of its own beside the one keyed by MAC ("any_mac"). Every set is a
// plain hash of exact keys: an interval set of concatenated keys would take the kernel tens of seconds to
// delete a few thousand elements in one transaction, which is what switching a busy port out of source
// guard asks for.
constexpr std::string_view kSets = R"(	set guarded_ports { typeof meta iifname; }
	map guard_drop_counters { type ifname : counter; }
	set exempt_vlans { typeof vlan id; }
	set neighbour_discovery { typeof icmpv6 type; }
	set permit_ip { typeof ip6 saddr; }
	set permit_mac_ip { typeof ether saddr . ip6 saddr; }
	set permit_any_mac_ip { typeof ip6 saddr; }
	set permit_port_mac_ip { typeof meta iifname . ether saddr . ip6 saddr; }
	set permit_port_any_mac_ip { typeof meta iifname . ip6 saddr; }
	set permit_port_mac_ip_vlan { typeof meta iifname . ether saddr . ip6 saddr . vlan id; }
	set permit_port_any_mac_ip_vlan { typeof meta iifname . ip6 saddr . vlan id; }
	set exempt_untagged_ports { typeof meta iifname; }
	set permit_port_mac_ip_untagged { typeof meta iifname . ether saddr . ip6 saddr; }
	set permit_port_any_mac_ip_untagged { typeof meta iifname . ip6 saddr; }
	set dhcp6_interception { typeof meta protocol; }
)";

// Only IPv6 is looked at, and only that of our bridge where the kernel can tell (see openTable). DHCPv6
// interception comes first, so that no permit lets DHCPv6 through while the daemon forwards it. The protocol
// is tested as "meta protocol", which is the inner one of a tagged frame, and each rule that needs an IPv6
// header names it the same way: left to itself, nftables would test the Ethernet type, which a tagged frame
// fails. The interception set holds "ip6" while on.
constexpr std::string_view kPreroutingHead = R"(	chain prerouting {
		type filter hook prerouting priority filter; policy accept;
)";
constexpr std::string_view kPreroutingTail = R"(		meta protocol != ip6 return
		meta protocol @dhcp6_interception jump dhcp6_shield
		meta iifname != @guarded_ports return
		vlan id @exempt_vlans accept
		ether type ip6 meta iifname @exempt_untagged_ports accept
		meta l4proto ipv6-icmp icmpv6 type @neighbour_discovery accept
		ip6 saddr @permit_ip accept
		ether saddr . ip6 saddr @permit_mac_ip accept
		ip6 saddr @permit_any_mac_ip accept
		meta iifname . ether saddr . ip6 saddr @permit_port_mac_ip accept
		meta iifname . ip6 saddr @permit_port_any_mac_ip accept
		ether type 8021q meta iifname . ether saddr . ip6 saddr . vlan id @permit_port_mac_ip_vlan accept
		ether type 8021q meta iifname . ip6 saddr . vlan id @permit_port_any_mac_ip_vlan accept
		ether type ip6 meta iifname . ether saddr . ip6 saddr @permit_port_mac_ip_untagged accept
		ether type ip6 meta iifname . ip6 saddr @permit_port_any_mac_ip_untagged accept
		counter name meta iifname map @guard_drop_counters
		drop
	}
)";

// DHCPv6 in every wrapping a receiver would still accept. "meta l4proto" is the header that ends the
// extension-header chain, so the first rule finds UDP behind hop-by-hop, destination-options and routing
// headers, and in a first fragment that holds the UDP header. What is left is a first fragment that cuts the
// chain short, either inside the extension headers (nftables then knows no l4proto) or before the UDP
// ports: it is dropped, since a first fragment must carry the whole chain and one that does not could hide
// DHCPv6. Later fragments pass: nothing in them can be told apart, and without their first fragment they
// are never reassembled. The walk also ends at an authentication header; DHCPv6 behind one is left alone,
// since only a receiver that shares a security association with the sender would ever accept it.
constexpr std::string_view kDhcp6Shield = R"(	chain dhcp6_shield {
		meta l4proto udp th dport { 546, 547 } drop
		meta protocol ip6 exthdr frag missing return
		meta protocol ip6 frag frag-off != 0 return
		meta l4proto != udp return
		th dport != { 546, 547 } return
		drop
	}
}
)";

constexpr std::string_view kNeighbourDiscoveryTypes =
    "nd-router-solicit, nd-router-advert, nd-neighbor-solicit, nd-neighbor-advert, nd-redirect";

std::string quoted(std::string_view name) {
    std::string text(1, '"');
    text += name;
    text += '"';
    return text;
}

std::string addressText(Ip6Address address) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, address.data(), text, sizeof text);
    return text;
}

std::string macText(MacAddress mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text;
}

// The parts one after the other.
std::string concat(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const auto part : parts) {
        text += part;
    }
    return text;
}

std::string element(Change change, std::string_view set, std::string_view text) {
    return concat(
        {change == Change::Add ? "add" : "delete", " element ", kTable, " ", set, " { ", text, " }\n"});
}

// The element of a set keyed by source MAC among other fields ("PREFIX_mac_SUFFIX"), or, for a zero MAC,
// which stands for every MAC, of its twin keyed without it ("PREFIX_any_mac_SUFFIX").
std::string macKeyed(Change change, std::string_view prefix, std::string_view suffix, MacAddress mac,
                     std::initializer_list<std::string> before, std::initializer_list<std::string> after) {
    const bool anyMac = std::ranges::all_of(mac, [](uint8_t byte) { return byte == 0; });
    std::string fields;
    for (const auto &field : before) {
        fields += field + " . ";
    }
    if (!anyMac) {
        fields += macText(mac) + " . ";
    }
    for (const auto &field : after) {
        fields += field + " . ";
    }
    fields.resize(fields.size() - 3);
    return element(change, concat({prefix, anyMac ? "any_mac" : "mac", suffix}), fields);
}

}  // namespace

bool fitsCommand(std::string_view interfaceName) {
    return !interfaceName.empty() && interfaceName.find_first_of("\"\\") == std::string_view::npos;
}

std::string openTable(std::optional<std::string_view> bridge) {
    // Adding first makes the deletion succeed whether or not an earlier run left the table behind.
    const std::string onlyOurBridge =
        bridge ? concat({"\t\tmeta ibrname != ", quoted(*bridge), " return\n"}) : "";
    return concat({"add table ", kTable, "\ndelete table ", kTable, "\ntable ", kTable, " {\n", kSets,
                   kPreroutingHead, onlyOurBridge, kPreroutingTail, kDhcp6Shield});
}

std::string closeTable() {
    return concat({"delete table ", kTable, "\n"});
}

std::string guardDropCounter(std::string_view port) {
    std::string name(kGuardDropCounterPrefix);
    for (const char c : port) {
        constexpr std::string_view kHex = "0123456789abcdef";
        name += kHex[static_cast<uint8_t>(c) >> 4U];
        name += kHex[static_cast<uint8_t>(c) & 0xFU];
    }
    return name;
}

std::string denyAllIp6(Change change, std::string_view port) {
    // The port's drop counter outlives the deny-all filter, so that its count survives the port leaving
    // source guard and coming back; adding a counter that is there already leaves it as it is.
    const std::string counter = guardDropCounter(port);
    const std::string creation =
        change == Change::Add ? concat({"add counter ", kTable, " ", counter, "\n"}) : std::string();
    return creation + element(change, "guarded_ports", quoted(port)) +
           element(change, "guard_drop_counters", concat({quoted(port), " : ", quoted(counter)}));
}

std::string listCounters() {
    return concat({"list counters table ", kTable, "\n"});
}

std::string resetCounters() {
    return concat({"reset counters table ", kTable, "\n"});
}

std::map<std::string, uint64_t> packetsByCounter(std::string_view listing) {
    // "counter NAME {" opens a counter, "packets N bytes M" holds its count.
    std::map<std::string, uint64_t> packets;
    std::string current;
    std::istringstream lines{std::string(listing)};
    for (std::string word; lines >> word;) {
        if (word == "counter" && lines >> word) {
            current = word;
        } else if (word == "packets" && !current.empty() && lines >> word) {
            packets[current] = std::strtoull(word.c_str(), nullptr, 10);
            current.clear();
        }
    }
    return packets;
}

std::string permitAddress(Change change, Ip6Address address) {
    return element(change, "permit_ip", addressText(address));
}

std::string permitMacAddress(Change change, MacAddress mac, Ip6Address address) {
    return macKeyed(change, "permit_", "_ip", mac, {}, {addressText(address)});
}

std::string permitPortMacAddress(Change change, std::string_view port, MacAddress mac, Ip6Address address) {
    return macKeyed(change, "permit_port_", "_ip", mac, {quoted(port)}, {addressText(address)});
}

std::string permitPortMacAddressVlan(Change change, std::string_view port, MacAddress mac, Ip6Address address,
                                     uint32_t vlan, bool portsUntaggedVlan) {
    std::string text = macKeyed(change, "permit_port_", "_ip_vlan", mac, {quoted(port)},
                                {addressText(address), std::to_string(vlan)});
    if (portsUntaggedVlan) {
        text += macKeyed(change, "permit_port_", "_ip_untagged", mac, {quoted(port)}, {addressText(address)});
    }
    return text;
}

std::string exemptVlan(Change change, uint16_t vlan, std::span<const std::string_view> untaggedPorts) {
    std::string text = element(change, "exempt_vlans", std::to_string(vlan));
    for (const std::string_view port : untaggedPorts) {
        text += element(change, "exempt_untagged_ports", quoted(port));
    }
    return text;
}

std::string neighbourDiscovery(Change change) {
    return element(change, "neighbour_discovery", kNeighbourDiscoveryTypes);
}

std::optional<ElementLine> elementLine(std::string_view line) {
    for (const auto &[verb, change] : {std::pair{std::string_view("add "), Change::Add},
                                       std::pair{std::string_view("delete "), Change::Delete}}) {
        if (line.starts_with(verb) && line.substr(verb.size()).starts_with("element ")) {
            return ElementLine{change, line.substr(verb.size())};
        }
    }
    return std::nullopt;
}

std::string dhcp6Interception(Change change) {
    return element(change, "dhcp6_interception", "ip6");
}

}  // namespace hostplatform::nft
