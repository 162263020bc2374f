#pragma once
// Netlink route messages turned into facts about the bridge, and those facts applied to the bridge model.
// Pure functions over message bytes, so that they can be tested with messages built in memory.

#include <linux/netlink.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BridgeModel.h"

namespace hostplatform {

// An interface as RTM_NEWLINK / RTM_DELLINK describe it.
struct LinkFacts {
    bool removed = false;
    uint32_t ifindex = 0;
    std::string name;
    uint32_t master = 0;  // the bridge (or bond) it is enslaved to; 0 for none
    bool up = false;      // administratively up with carrier
    std::optional<Mac> mac;
    std::optional<bool> vlanFiltering;  // of a bridge, when it says
};

// The VLANs of a bridge port, from an AF_BRIDGE RTM_NEWLINK carrying IFLA_AF_SPEC.
struct VlanFacts {
    uint32_t ifindex = 0;
    uint16_t pvid = 0;
    std::bitset<kVlanSlots> vlans;
    std::bitset<kVlanSlots> untaggedOut;
};

// A forwarding-database entry, from an AF_BRIDGE RTM_NEWNEIGH / RTM_DELNEIGH.
struct FdbFacts {
    bool removed = false;
    uint32_t ifindex = 0;
    Mac mac{};
    uint16_t vlan = 0;
};

// An IPv4 address of an interface, from RTM_NEWADDR / RTM_DELADDR.
struct AddressFacts {
    bool removed = false;
    uint32_t ifindex = 0;
    uint32_t ipv4 = 0;
};

std::optional<LinkFacts> readLink(const nlmsghdr *message);
std::optional<VlanFacts> readVlans(const nlmsghdr *message);
std::optional<FdbFacts> readFdb(const nlmsghdr *message);
std::optional<AddressFacts> readAddress(const nlmsghdr *message);

// A port whose link went up (status 1) or down (status 0).
struct LinkChange {
    uint32_t port = 0;
    uint32_t status = 0;
};

// Applies an interface's facts: the bridge itself, a new member (appended as the next port), a member that
// left, or a link that changed. Answers the link change the daemon must hear of, if any.
std::optional<LinkChange> applyLink(BridgeModel &model, const LinkFacts &link);
void applyVlans(BridgeModel &model, const VlanFacts &vlans);
void applyFdb(BridgeModel &model, const FdbFacts &entry);
void applyAddress(BridgeModel &model, const AddressFacts &address);

// The bridge's members found by the first dump, numbered in the order of their names (so "swp2" before
// "swp10"): the port numbers stay the same from one start to the next whatever the interface indexes.
void numberPorts(BridgeModel &model, std::vector<LinkFacts> members);

}  // namespace hostplatform
