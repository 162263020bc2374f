// The host platform's reading of netlink: messages built in memory as the kernel sends them, turned into
// the bridge model that the platform calls answer from.

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>

#include <optional>
#include <string>
#include <vector>

#include "NetlinkTranslation.h"
#include "gtest/gtest.h"

namespace hostplatform {
namespace {

constexpr uint32_t kBridge = 3;
constexpr Mac kMacA{0x02, 0, 0, 0, 0, 0x0a};

// Room for one netlink message, built with libmnl as the kernel would send it.
class Message {
  public:
    template <typename T>
    T *start(uint16_t type) {
        header()->nlmsg_type = type;
        return static_cast<T *>(mnl_nlmsg_put_extra_header(header(), sizeof(T)));
    }
    // The message always starts the buffer, so a copy of a Message is a copy of its message.
    Message() { mnl_nlmsg_put_header(buffer_.data()); }
    nlmsghdr *header() { return reinterpret_cast<nlmsghdr *>(buffer_.data()); }
    [[nodiscard]] const nlmsghdr *get() const { return reinterpret_cast<const nlmsghdr *>(buffer_.data()); }

  private:
    std::vector<char> buffer_ = std::vector<char>(MNL_SOCKET_BUFFER_SIZE);
};

Message link(uint16_t type, uint32_t ifindex, const char *name, uint32_t master, bool up) {
    Message message;
    auto *info = message.start<ifinfomsg>(type);
    info->ifi_index = static_cast<int>(ifindex);
    info->ifi_flags = up ? IFF_UP | IFF_LOWER_UP : IFF_UP;
    mnl_attr_put_strz(message.header(), IFLA_IFNAME, name);
    if (master != 0) {
        mnl_attr_put_u32(message.header(), IFLA_MASTER, master);
    }
    mnl_attr_put(message.header(), IFLA_ADDRESS, kMacA.size(), kMacA.data());
    return message;
}

std::optional<LinkChange> apply(BridgeModel &model, const Message &message) {
    const auto facts = readLink(message.get());
    EXPECT_TRUE(facts.has_value());
    return applyLink(model, *facts);
}

BridgeModel bridgeWithPorts(bool vlanFiltering = true) {
    BridgeModel model;
    model.ifindex = kBridge;
    model.vlanFiltering = vlanFiltering;
    numberPorts(model, {{false, 20, "swp10", kBridge, true, {}, {}},
                        {false, 12, "swp2", kBridge, true, {}, {}},
                        {false, 11, "swp1", kBridge, true, {}, {}}});
    return model;
}

TEST(NetlinkTranslation, PortsAreNumberedByNameAndLinkChangesReachThePort) {
    BridgeModel model = bridgeWithPorts();
    ASSERT_EQ(model.ports.size(), 3U);
    EXPECT_EQ(model.ports[0].name, "swp1");
    EXPECT_EQ(model.ports[1].name, "swp2");
    EXPECT_EQ(model.ports[2].name, "swp10");

    struct Step {
        const char *what;
        Message message;
        std::optional<uint32_t> port;  // of the change reported, if one is
        uint32_t status;
    };
    const std::vector<Step> steps = {
        {"carrier lost", link(RTM_NEWLINK, 12, "swp2", kBridge, false), 2, 0},
        {"the same again", link(RTM_NEWLINK, 12, "swp2", kBridge, false), std::nullopt, 0},
        {"carrier back", link(RTM_NEWLINK, 12, "swp2", kBridge, true), 2, 1},
        {"a new member", link(RTM_NEWLINK, 30, "swp3", kBridge, true), 4, 1},
        {"a member leaves", link(RTM_NEWLINK, 11, "swp1", 0, true), 1, 0},
        {"it comes back renumbered", link(RTM_NEWLINK, 31, "swp1", kBridge, true), 1, 1},
        {"a member is deleted", link(RTM_DELLINK, 20, "swp10", kBridge, true), 3, 0},
        {"not a member", link(RTM_NEWLINK, 40, "eth0", 0, true), std::nullopt, 0},
        {"a new member with its link down", link(RTM_NEWLINK, 32, "swp4", kBridge, false), std::nullopt, 0},
    };
    for (const Step &step : steps) {
        const auto change = apply(model, step.message);
        EXPECT_EQ(change.has_value(), step.port.has_value()) << step.what;
        if (change && step.port) {
            EXPECT_EQ(change->port, *step.port) << step.what;
            EXPECT_EQ(change->status, step.status) << step.what;
        }
    }
    EXPECT_EQ(portOfInterface(model, 31), 1U);
    EXPECT_EQ(portOfInterface(model, 11), std::nullopt);
    EXPECT_EQ(portOfInterface(model, 20), std::nullopt) << "a deleted port keeps its number but no interface";
    EXPECT_EQ(portOfInterface(model, 32), 5U) << "a port that joins down is numbered all the same";
    EXPECT_EQ(model.ports.size(), 5U);
}

TEST(NetlinkTranslation, MessagesOfOtherKindsOrCutShortAreNotRead) {
    Message bridgeFamily = link(RTM_NEWLINK, 12, "swp2", kBridge, true);
    static_cast<ifinfomsg *>(mnl_nlmsg_get_payload(bridgeFamily.header()))->ifi_family = AF_BRIDGE;
    EXPECT_FALSE(readLink(bridgeFamily.get()));
    EXPECT_FALSE(readVlans(bridgeFamily.get())) << "a port notice without VLANs says nothing of them";
    Message cut = link(RTM_NEWLINK, 12, "swp2", kBridge, true);
    cut.header()->nlmsg_len = mnl_nlmsg_size(sizeof(ifinfomsg) - 1);
    EXPECT_FALSE(readLink(cut.get()));
    EXPECT_FALSE(readFdb(cut.get()));
    EXPECT_FALSE(readAddress(cut.get()));
}

TEST(NetlinkTranslation, VlansOfAPortWithRangesPvidAndUntaggedEgress) {
    Message message;
    auto *info = message.start<ifinfomsg>(RTM_NEWLINK);
    info->ifi_family = AF_BRIDGE;
    info->ifi_index = 12;
    nlattr *spec = mnl_attr_nest_start(message.header(), IFLA_AF_SPEC);
    const std::vector<bridge_vlan_info> entries = {
        {BRIDGE_VLAN_INFO_PVID | BRIDGE_VLAN_INFO_UNTAGGED, 1},
        {BRIDGE_VLAN_INFO_RANGE_BEGIN, 10},
        {BRIDGE_VLAN_INFO_RANGE_END, 12},
        {0, 4095},
    };
    for (const bridge_vlan_info &entry : entries) {
        mnl_attr_put(message.header(), IFLA_BRIDGE_VLAN_INFO, sizeof entry, &entry);
    }
    mnl_attr_nest_end(message.header(), spec);

    BridgeModel model = bridgeWithPorts();
    const auto vlans = readVlans(message.get());
    ASSERT_TRUE(vlans);
    applyVlans(model, *vlans);
    const BridgePort &port = model.ports[1];
    EXPECT_EQ(port.pvid, 1);
    EXPECT_EQ(port.vlans.count(), 4U);
    EXPECT_TRUE(port.vlans.test(1) && port.vlans.test(10) && port.vlans.test(11) && port.vlans.test(12));
    EXPECT_EQ(port.untaggedOut.count(), 1U);
    EXPECT_TRUE(port.untaggedOut.test(1));

    BridgeModel unfiltered = bridgeWithPorts(false);
    applyVlans(unfiltered, *vlans);
    EXPECT_EQ(unfiltered.ports[1].pvid, kDefaultVlan)
        << "without VLAN filtering every port is in VLAN 1 alone";
    EXPECT_EQ(unfiltered.ports[1].vlans.count(), 1U);
    EXPECT_TRUE(unfiltered.ports[1].untaggedOut.test(kDefaultVlan));
}

Message neighbour(uint16_t type, uint32_t ifindex, uint16_t vlan, uint8_t flags) {
    Message message;
    auto *entry = message.start<ndmsg>(type);
    entry->ndm_family = AF_BRIDGE;
    entry->ndm_ifindex = static_cast<int>(ifindex);
    entry->ndm_flags = flags;
    mnl_attr_put(message.header(), NDA_LLADDR, kMacA.size(), kMacA.data());
    mnl_attr_put_u16(message.header(), NDA_VLAN, vlan);
    return message;
}

TEST(NetlinkTranslation, ForwardingDatabaseFollowsLearningAndAgeing) {
    BridgeModel model = bridgeWithPorts();
    const auto at = [&](uint16_t vlan) -> std::optional<uint32_t> {
        const auto found = model.fdb.find(fdbKey(kMacA, vlan));
        return found != model.fdb.end() ? std::optional(found->second) : std::nullopt;
    };
    struct Step {
        const char *what;
        Message message;
        std::optional<uint32_t> ifindexAfter;  // where kMacA in VLAN 100 is then
    };
    const std::vector<Step> steps = {
        {"learned", neighbour(RTM_NEWNEIGH, 12, 100, NTF_MASTER), 12},
        {"the port's own list", neighbour(RTM_NEWNEIGH, 20, 100, NTF_SELF), 12},
        {"moved", neighbour(RTM_NEWNEIGH, 11, 100, NTF_MASTER), 11},
        {"an old port's ageing", neighbour(RTM_DELNEIGH, 12, 100, NTF_MASTER), 11},
        {"aged", neighbour(RTM_DELNEIGH, 11, 100, NTF_MASTER), std::nullopt},
    };
    for (const Step &step : steps) {
        if (const auto entry = readFdb(step.message.get())) {
            applyFdb(model, *entry);
        }
        EXPECT_EQ(at(100), step.ifindexAfter) << step.what;
    }
}

TEST(NetlinkTranslation, TheBridgesIpv4AddressIsTheSwitchsAddress) {
    BridgeModel model = bridgeWithPorts();
    const auto address = [](uint16_t type, uint32_t ifindex, uint32_t networkOrder) {
        Message message;
        auto *header = message.start<ifaddrmsg>(type);
        header->ifa_family = AF_INET;
        header->ifa_index = ifindex;
        mnl_attr_put_u32(message.header(), IFA_LOCAL, networkOrder);
        return message;
    };
    const uint32_t address1 = htonl(0xC0000201);  // 192.0.2.1
    const std::vector<std::pair<Message, uint32_t>> steps = {
        {address(RTM_NEWADDR, 12, htonl(0x0A000001)), 0},  // another interface's
        {address(RTM_NEWADDR, kBridge, address1), 0xC0000201},
        {address(RTM_DELADDR, kBridge, htonl(0x0A000001)), 0xC0000201},  // not the bridge's address
        {address(RTM_DELADDR, kBridge, address1), 0},
    };
    for (const auto &[message, expected] : steps) {
        applyAddress(model, readAddress(message.get()).value());
        EXPECT_EQ(model.ipv4, expected);
    }
}

}  // namespace
}  // namespace hostplatform
