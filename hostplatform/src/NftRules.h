#pragma once
// The nftables command text of the host platform's filter service: the daemon's table in the bridge family,
// and for each filter request the one command that puts its element into a set of that table or takes it
// out. The rules never change after the table is made; only the sets do. Text only: NftFilterService runs it.

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace hostplatform::nft {

using Ip6Address = std::span<const uint8_t, 16>;
using MacAddress = std::span<const uint8_t, 6>;

// Whether a request puts its element in place ("add", which is idempotent) or takes it away ("delete",
// which nftables refuses for an element that is not there).
enum class Change { Add, Delete };

// True for an interface name that can stand quoted in a command: not empty, and no quote or backslash that
// would end the quoted text early. Every name handed to the functions below must pass.
bool fitsCommand(std::string_view interfaceName);

// Removes a table left behind by an earlier run and makes it anew, in one transaction: for the frames of
// `bridge` alone, or, where the kernel cannot tell bridges apart (it lacks the bridge meta expressions), for
// those of every bridge in the network namespace.
std::string openTable(std::optional<std::string_view> bridge);
std::string closeTable();

// All IPv6 entering on the port is dropped, except what the permits, exempt VLANs and neighbour discovery
// let through. What is dropped so is counted by the port's counter, which stays when the filter goes.
std::string denyAllIp6(Change change, std::string_view port);

// The counters of source guard's drops, one a port, named after the port's name in hexadecimal digits
// (any interface name then makes a name nftables takes).
inline constexpr std::string_view kGuardDropCounterPrefix = "guard_drop_";
std::string guardDropCounter(std::string_view port);
// The commands that list every counter of the table and set them back to 0, and the packets of each
// counter in what the listing printed, by counter name.
std::string listCounters();
std::string resetCounters();
std::map<std::string, uint64_t> packetsByCounter(std::string_view listing);

// The forward filters. A zero MAC stands for no MAC: the element covers every source MAC.
std::string permitAddress(Change change, Ip6Address address);
std::string permitMacAddress(Change change, MacAddress mac, Ip6Address address);
std::string permitPortMacAddress(Change change, std::string_view port, MacAddress mac, Ip6Address address);
// `portsUntaggedVlan`: the VLAN is the port's PVID, so the port's untagged frames are covered too.
std::string permitPortMacAddressVlan(Change change, std::string_view port, MacAddress mac, Ip6Address address,
                                     uint32_t vlan, bool portsUntaggedVlan);

// IPv6 of the VLAN passes whatever the deny-all filters say: tagged with it, or untagged on the ports whose
// PVID it is.
std::string exemptVlan(Change change, uint16_t vlan, std::span<const std::string_view> untaggedPorts);

// Router and neighbour solicitations and advertisements and redirects pass the deny-all filters.
std::string neighbourDiscovery(Change change);

// One line of the element commands above: whether it adds or deletes, and the element it names (the line
// without its verb, the same text for both), by which the filter service keeps its record of the table.
// Nothing for a line that is no element command.
struct ElementLine {
    Change change;
    std::string_view element;
};
std::optional<ElementLine> elementLine(std::string_view line);

// While on, the bridge forwards no DHCPv6 between its ports, however it is wrapped (see openTable).
std::string dhcp6Interception(Change change);

}  // namespace hostplatform::nft
