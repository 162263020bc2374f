// Configuration text entered in the daemon's own process on a Linux host: a check runs on a copy of the
// daemon and reports every line that would be refused, with its number and reason, while nothing changes
// here; a whole entry changes nothing unless every line is taken.

#include <gmock/gmock.h>

#include <string>

#include "ConfigService.h"
#include "HostState.h"
#include "MgmtReplies.h"
#include "core/GlobalState.h"
#include "mgmt/RemoteCallTable.h"
#include "mgmt_protocol/ListRecords.h"
#include "platform/PlatformVariables.h"
#include "running_config/RunningConfig.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string runningConfig() {
    std::string text(1 << 16, '\0');
    auto remaining = static_cast<uint32_t>(text.size() - 1);
    dhcp6snoopingBuildRunningConfig(text.data(), &remaining);
    return text.substr(0, text.find('\0'));
}

std::vector<std::string> described(const std::vector<mgmt::ConfigLineError> &errors) {
    std::vector<std::string> texts;
    texts.reserve(errors.size());
    for (const auto &error : errors) {
        texts.push_back(hostplatform::describe(error));
    }
    return texts;
}

TEST(ConfigService, ACheckChangesNothingHereAndAWholeEntryIsAllOrNothing) {
    auto &bridge = hostplatform::host().bridge;
    bridge.ports.resize(2);
    bridge.ports[0].ifindex = 7;
    bridge.ports[0].name = "swp1";
    bridge.ports[1].ifindex = 8;
    bridge.ports[1].name = "swp2";
    gul_max_port_num = 2;
    ASSERT_EQ(dhcp6snooping_init(), 0);
    ASSERT_EQ(dhcp6snoopingRmWrapFunction(), 0);
    const std::string defaults = runningConfig();
    const std::string refused =
        "interface ethernet swp1\n"
        " dhcpv6-snooping trust\n"
        "exit\n"
        "interface ethernet swp2\n"
        " dhcpv6-snooping max-clients 99999999\n"
        "exit\n"
        "interface ethernet swp9\n";
    const auto expected =
        ElementsAre("line 5: dhcpv6-snooping max-clients 99999999: max-clients: 99999999 is above 2048",
                    "line 7: interface ethernet swp9: no such port: swp9");
    EXPECT_THAT(described(hostplatform::checkConfigText(refused)), expected);
    EXPECT_EQ(runningConfig(), defaults) << "the check changed the daemon";
    EXPECT_THAT(described(hostplatform::enterConfigTextWhole(refused)), expected);
    EXPECT_EQ(runningConfig(), defaults) << "a refused text was entered in part";

    const std::string taken = "interface ethernet swp1\n dhcpv6-snooping trust\nexit\n";
    EXPECT_THAT(hostplatform::checkConfigText(taken), IsEmpty());
    EXPECT_THAT(runningConfig(), Not(HasSubstr("dhcpv6-snooping trust")));
    EXPECT_THAT(hostplatform::enterConfigTextWhole(taken), IsEmpty());
    EXPECT_THAT(runningConfig(), HasSubstr("interface ethernet swp1\r\ndhcpv6-snooping trust\r\nexit"));
}

// The ports and VLANs come back whole in one reply each, as the running configuration has them: a port
// that left the bridge is not listed, nor a limited VLAN the bridge lacks, while a VLAN with clients is.
TEST(ConfigService, PortAndVlanListsAgreeWithTheRunningConfiguration) {
    auto &bridge = hostplatform::host().bridge;
    bridge.ports.resize(3);
    for (uint32_t i = 0; i < 3; ++i) {
        bridge.ports[i].ifindex = 7 + i;
        bridge.ports[i].name = "swp" + std::to_string(i + 1);
        bridge.ports[i].vlans.set(10);
    }
    gul_max_port_num = 3;
    ASSERT_EQ(dhcp6snooping_init(), 0);
    ASSERT_EQ(dhcp6snoopingRmWrapFunction(), 0);
    ASSERT_THAT(hostplatform::enterConfigText("interface ethernet swp1\ndhcpv6-snooping trust\nexit\n"
                                              "interface ethernet swp3\ndhcpv6-snooping max-clients 9\nexit\n"
                                              "vlan 10\ndhcpv6-snooping max-clients 5\nexit\n"
                                              "vlan 30\ndhcpv6-snooping max-clients 6\nexit\n"),
                IsEmpty());
    bridge.ports[1].ifindex = 0;  // swp2 has left
    vlanClientCount[40] = 2;

    const auto list = [&](uint16_t type) {
        const auto reply =
            hostplatform::platformReply(mgmt::encodePlatformRequest(type), hostplatform::host());
        EXPECT_TRUE(reply.has_value());
        return reply.value_or(mgmt::Bytes(mgmt::kHeaderSize));
    };
    const auto data = [](const mgmt::Bytes &reply) { return std::span(reply).subspan(mgmt::kHeaderSize); };
    const auto ports = mgmt::decodePortList(data(list(mgmt::kPortListMessage)));
    ASSERT_TRUE(ports.has_value());
    EXPECT_THAT(*ports, ElementsAre(mgmt::PortSettings{1, "swp1", true, 4, 2048, 0},
                                    mgmt::PortSettings{3, "swp3", false, 4, 9, 0}));
    const auto vlans = mgmt::decodeVlanList(data(list(mgmt::kVlanListMessage)));
    ASSERT_TRUE(vlans.has_value());
    EXPECT_THAT(*vlans, ElementsAre(mgmt::VlanSettings{10, 5, 0}, mgmt::VlanSettings{40, 2048, 2}));
    EXPECT_THAT(runningConfig(), Not(HasSubstr("vlan 30")));
}

// On a Linux host the interface line names the port after a blank, as the running configuration writes
// it; a name glued to "ethernet" is refused with the reason, and any number of blanks is taken.
TEST(ConfigService, AnInterfaceLineWantsABlankBeforeThePortName) {
    auto &bridge = hostplatform::host().bridge;
    bridge.ports.resize(1);
    bridge.ports[0].ifindex = 7;
    bridge.ports[0].name = "swp1";
    gul_max_port_num = 1;
    ASSERT_EQ(dhcp6snooping_init(), 0);
    ASSERT_EQ(dhcp6snoopingRmWrapFunction(), 0);
    EXPECT_THAT(
        described(hostplatform::enterConfigText("interface ethernetswp1\n")),
        ElementsAre("line 1: interface ethernetswp1: a blank must stand between ethernet and the port name"));
    EXPECT_THAT(hostplatform::enterConfigText("interface   ethernet    swp1\ndhcpv6-snooping trust\nexit\n"
                                              "ipv6-source-guard bind ip 2001:db8::5 mac 02:00:00:00:00:05 "
                                              "interface ethernet swp1\n"),
                IsEmpty());
    EXPECT_THAT(runningConfig(), HasSubstr("interface ethernet swp1\r\ndhcpv6-snooping trust"));
}

}  // namespace
