#include "NetlinkTranslation.h"

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

namespace hostplatform {
namespace {

constexpr uint16_t kVlanIdMask = 0x0FFF;
constexpr uint16_t kHighestVlan = 4094;

// Payload of `message` as T, or nothing when the message is too short to hold one.
template <typename T>
const T *header(const nlmsghdr *message) {
    if (message->nlmsg_len < mnl_nlmsg_size(sizeof(T))) {
        return nullptr;
    }
    return static_cast<const T *>(mnl_nlmsg_get_payload(message));
}

// Every attribute of the message behind its fixed header T, by type, the last one of a type winning. An
// attribute whose type is out of range is left out; libmnl stops at one whose length does not fit.
template <size_t N>
int keepAttribute(const nlattr *attribute, void *data) {
    auto &found = *static_cast<std::array<const nlattr *, N> *>(data);
    if (const uint16_t type = mnl_attr_get_type(attribute); type < N) {
        found[type] = attribute;
    }
    return MNL_CB_OK;
}

template <typename T, size_t N>
std::array<const nlattr *, N> attributes(const nlmsghdr *message) {
    std::array<const nlattr *, N> found{};
    mnl_attr_parse(message, sizeof(T), keepAttribute<N>, &found);
    return found;
}

// The VLAN entries nested in IFLA_AF_SPEC, in their order.
int keepVlanEntry(const nlattr *attribute, void *data) {
    if (mnl_attr_get_type(attribute) == IFLA_BRIDGE_VLAN_INFO &&
        mnl_attr_get_payload_len(attribute) >= sizeof(bridge_vlan_info)) {
        bridge_vlan_info vlan{};
        std::memcpy(&vlan, mnl_attr_get_payload(attribute), sizeof vlan);
        static_cast<std::vector<bridge_vlan_info> *>(data)->push_back(vlan);
    }
    return MNL_CB_OK;
}

std::optional<uint32_t> u32Of(const nlattr *attribute) {
    if (attribute == nullptr || mnl_attr_get_payload_len(attribute) < sizeof(uint32_t)) {
        return std::nullopt;
    }
    return mnl_attr_get_u32(attribute);
}

std::optional<Mac> macOf(const nlattr *attribute) {
    if (attribute == nullptr || mnl_attr_get_payload_len(attribute) != sizeof(Mac)) {
        return std::nullopt;
    }
    Mac mac{};
    std::memcpy(mac.data(), mnl_attr_get_payload(attribute), mac.size());
    return mac;
}

// "swp10" after "swp2": runs of digits compare by their value, everything else character by character.
bool namedBefore(std::string_view left, std::string_view right) {
    const auto takeNumber = [](std::string_view &text) {
        const size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
        std::string_view digits = text.substr(0, end);
        text.remove_prefix(end);
        digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
        return digits;
    };
    while (!left.empty() && !right.empty()) {
        if (std::isdigit(static_cast<unsigned char>(left.front())) != 0 &&
            std::isdigit(static_cast<unsigned char>(right.front())) != 0) {
            const std::string_view a = takeNumber(left);
            const std::string_view b = takeNumber(right);
            if (a.size() != b.size()) {
                return a.size() < b.size();
            }
            if (a != b) {
                return a < b;
            }
        } else if (left.front() != right.front()) {
            return left.front() < right.front();
        } else {
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
    }
    return left.size() < right.size();
}

// IFLA_BR_VLAN_FILTERING of a bridge's IFLA_LINKINFO; nothing for any other kind of link.
std::optional<bool> bridgeVlanFiltering(const nlattr *linkInfo) {
    std::array<const nlattr *, IFLA_INFO_MAX + 1> info{};
    mnl_attr_parse_nested(linkInfo, keepAttribute<IFLA_INFO_MAX + 1>, &info);
    const nlattr *kind = info[IFLA_INFO_KIND];
    if (kind == nullptr || mnl_attr_validate(kind, MNL_TYPE_NUL_STRING) < 0 ||
        std::string_view(mnl_attr_get_str(kind)) != "bridge") {
        return std::nullopt;
    }
    std::array<const nlattr *, IFLA_BR_MAX + 1> data{};
    if (info[IFLA_INFO_DATA] != nullptr) {
        mnl_attr_parse_nested(info[IFLA_INFO_DATA], keepAttribute<IFLA_BR_MAX + 1>, &data);
    }
    const nlattr *filtering = data[IFLA_BR_VLAN_FILTERING];
    return filtering != nullptr && mnl_attr_get_payload_len(filtering) >= 1 &&
           mnl_attr_get_u8(filtering) != 0;
}

// A new port of a bridge without VLAN filtering is in the default VLAN.
BridgePort newPort(const BridgeModel &model, uint32_t ifindex, const std::string &name, bool up) {
    BridgePort port{ifindex, name, up, 0, {}, {}};
    if (!model.vlanFiltering) {
        port.pvid = kDefaultVlan;
        port.vlans.set(kDefaultVlan);
        port.untaggedOut.set(kDefaultVlan);
    }
    return port;
}

BridgePort *portByInterface(BridgeModel &model, uint32_t ifindex) {
    const auto found = std::find_if(model.ports.begin(), model.ports.end(),
                                    [ifindex](const BridgePort &port) { return port.ifindex == ifindex; });
    return found != model.ports.end() ? &*found : nullptr;
}

}  // namespace

uint64_t fdbKey(const Mac &mac, uint16_t vlan) {
    uint64_t key = vlan;
    for (const uint8_t byte : mac) {
        key = key << 8U | byte;
    }
    return key;
}

std::optional<uint32_t> portOfInterface(const BridgeModel &model, uint32_t ifindex) {
    if (ifindex == 0) {
        return std::nullopt;
    }
    for (size_t i = 0; i < model.ports.size(); ++i) {
        if (model.ports[i].ifindex == ifindex) {
            return static_cast<uint32_t>(i + 1);
        }
    }
    return std::nullopt;
}

std::optional<LinkFacts> readLink(const nlmsghdr *message) {
    if (message->nlmsg_type != RTM_NEWLINK && message->nlmsg_type != RTM_DELLINK) {
        return std::nullopt;
    }
    const auto *info = header<ifinfomsg>(message);
    if (info == nullptr || info->ifi_family == AF_BRIDGE || info->ifi_index <= 0) {
        return std::nullopt;
    }
    const auto found = attributes<ifinfomsg, IFLA_MAX + 1>(message);
    LinkFacts link;
    link.removed = message->nlmsg_type == RTM_DELLINK;
    link.ifindex = static_cast<uint32_t>(info->ifi_index);
    if (const nlattr *name = found[IFLA_IFNAME];
        name != nullptr && mnl_attr_validate(name, MNL_TYPE_NUL_STRING) >= 0) {
        link.name = mnl_attr_get_str(name);
    }
    link.master = u32Of(found[IFLA_MASTER]).value_or(0);
    link.up = (info->ifi_flags & IFF_UP) != 0 && (info->ifi_flags & IFF_LOWER_UP) != 0;
    link.mac = macOf(found[IFLA_ADDRESS]);
    if (const nlattr *linkInfo = found[IFLA_LINKINFO]) {
        link.vlanFiltering = bridgeVlanFiltering(linkInfo);
    }
    return link;
}

std::optional<VlanFacts> readVlans(const nlmsghdr *message) {
    if (message->nlmsg_type != RTM_NEWLINK) {
        return std::nullopt;
    }
    const auto *info = header<ifinfomsg>(message);
    if (info == nullptr || info->ifi_family != AF_BRIDGE || info->ifi_index <= 0) {
        return std::nullopt;
    }
    const nlattr *spec = attributes<ifinfomsg, IFLA_MAX + 1>(message)[IFLA_AF_SPEC];
    if (spec == nullptr) {
        return std::nullopt;  // a notice of the port's state, not of its VLANs
    }
    VlanFacts facts;
    facts.ifindex = static_cast<uint32_t>(info->ifi_index);
    std::vector<bridge_vlan_info> entries;
    mnl_attr_parse_nested(spec, keepVlanEntry, &entries);
    uint16_t rangeStart = 0;
    for (const bridge_vlan_info &vlan : entries) {
        const uint16_t vid = vlan.vid & kVlanIdMask;
        if ((vlan.flags & BRIDGE_VLAN_INFO_RANGE_BEGIN) != 0) {
            rangeStart = vid;
            continue;
        }
        const uint16_t first =
            (vlan.flags & BRIDGE_VLAN_INFO_RANGE_END) != 0 && rangeStart != 0 ? rangeStart : vid;
        rangeStart = 0;
        for (uint16_t id = std::max<uint16_t>(first, 1); id <= std::min(vid, kHighestVlan); ++id) {
            facts.vlans.set(id);
            facts.untaggedOut.set(id, (vlan.flags & BRIDGE_VLAN_INFO_UNTAGGED) != 0);
        }
        if ((vlan.flags & BRIDGE_VLAN_INFO_PVID) != 0 && vid <= kHighestVlan) {
            facts.pvid = vid;
        }
    }
    return facts;
}

std::optional<FdbFacts> readFdb(const nlmsghdr *message) {
    if (message->nlmsg_type != RTM_NEWNEIGH && message->nlmsg_type != RTM_DELNEIGH) {
        return std::nullopt;
    }
    const auto *neighbour = header<ndmsg>(message);
    if (neighbour == nullptr || neighbour->ndm_family != AF_BRIDGE || neighbour->ndm_ifindex <= 0 ||
        (neighbour->ndm_flags & NTF_SELF) != 0) {
        return std::nullopt;  // NTF_SELF: the interface's own address list, not what the bridge learned
    }
    const auto found = attributes<ndmsg, NDA_MAX + 1>(message);
    const auto mac = macOf(found[NDA_LLADDR]);
    if (!mac) {
        return std::nullopt;
    }
    FdbFacts facts;
    facts.removed = message->nlmsg_type == RTM_DELNEIGH;
    facts.ifindex = static_cast<uint32_t>(neighbour->ndm_ifindex);
    facts.mac = *mac;
    if (const nlattr *vlan = found[NDA_VLAN];
        vlan != nullptr && mnl_attr_get_payload_len(vlan) >= sizeof(uint16_t)) {
        facts.vlan = mnl_attr_get_u16(vlan) & kVlanIdMask;
    }
    return facts;
}

std::optional<AddressFacts> readAddress(const nlmsghdr *message) {
    if (message->nlmsg_type != RTM_NEWADDR && message->nlmsg_type != RTM_DELADDR) {
        return std::nullopt;
    }
    const auto *address = header<ifaddrmsg>(message);
    if (address == nullptr || address->ifa_family != AF_INET) {
        return std::nullopt;
    }
    const auto found = attributes<ifaddrmsg, IFA_MAX + 1>(message);
    const nlattr *local = found[IFA_LOCAL] != nullptr ? found[IFA_LOCAL] : found[IFA_ADDRESS];
    if (local == nullptr || mnl_attr_get_payload_len(local) != sizeof(uint32_t)) {
        return std::nullopt;
    }
    AddressFacts facts;
    facts.removed = message->nlmsg_type == RTM_DELADDR;
    facts.ifindex = address->ifa_index;
    facts.ipv4 = ntohl(mnl_attr_get_u32(local));
    return facts;
}

std::optional<LinkChange> applyLink(BridgeModel &model, const LinkFacts &link) {
    if (link.ifindex == model.ifindex) {
        if (link.mac) {
            model.mac = *link.mac;
        }
        return std::nullopt;  // turning VLAN filtering on or off takes a restart of the daemon
    }
    const bool member = !link.removed && link.master == model.ifindex;
    BridgePort *port = portByInterface(model, link.ifindex);
    if (port == nullptr && member) {
        // A member that left and came back under its name takes its old number again.
        const auto returning = std::find_if(model.ports.begin(), model.ports.end(), [&](const BridgePort &p) {
            return p.ifindex == 0 && p.name == link.name;
        });
        if (returning != model.ports.end()) {
            port = &*returning;
        } else if (model.ports.size() < kMaxPorts) {
            port = &model.ports.emplace_back();
        } else {
            return std::nullopt;
        }
        *port = newPort(model, link.ifindex, link.name, false);
    }
    if (port == nullptr) {
        return std::nullopt;
    }
    const bool wasUp = port->linkUp;
    const auto number = static_cast<uint32_t>(port - model.ports.data() + 1);
    if (member) {
        port->name = link.name.empty() ? port->name : link.name;
        port->linkUp = link.up;
    } else {
        *port = BridgePort{0, port->name, false, 0, {}, {}};  // keeps its number and name for its return
    }
    if (port->linkUp == wasUp) {
        return std::nullopt;
    }
    return LinkChange{number, port->linkUp ? 1U : 0U};
}

void applyVlans(BridgeModel &model, const VlanFacts &vlans) {
    if (BridgePort *port = model.vlanFiltering ? portByInterface(model, vlans.ifindex) : nullptr) {
        port->pvid = vlans.pvid;
        port->vlans = vlans.vlans;
        port->untaggedOut = vlans.untaggedOut;
    }
}

void applyFdb(BridgeModel &model, const FdbFacts &entry) {
    const uint64_t key = fdbKey(entry.mac, entry.vlan);
    if (entry.removed) {
        const auto found = model.fdb.find(key);
        if (found != model.fdb.end() && found->second == entry.ifindex) {
            model.fdb.erase(found);
        }
    } else {
        model.fdb[key] = entry.ifindex;
    }
}

void applyAddress(BridgeModel &model, const AddressFacts &address) {
    if (address.ifindex != model.ifindex) {
        return;
    }
    if (!address.removed) {
        model.ipv4 = address.ipv4;
    } else if (model.ipv4 == address.ipv4) {
        model.ipv4 = 0;
    }
}

void numberPorts(BridgeModel &model, std::vector<LinkFacts> members) {
    std::sort(members.begin(), members.end(),
              [](const LinkFacts &a, const LinkFacts &b) { return namedBefore(a.name, b.name); });
    model.ports.clear();
    for (const LinkFacts &link : members) {
        if (model.ports.size() == kMaxPorts) {
            break;
        }
        model.ports.push_back(newPort(model, link.ifindex, link.name, link.up));
    }
}

}  // namespace hostplatform
