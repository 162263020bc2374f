// The daemon's section of the running configuration: nothing at its defaults, the exact lines of each
// setting in their order, and the space accounting that refuses a piece the counter cannot hold.

#include <gmock/gmock.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>

#include "relay_option/InfoOptionConfig.h"
#include "running_config/RunningConfig.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "support/SnoopingTest.h"

namespace {

class RunningConfigTest : public DaemonTest {
  protected:
    void SetUp() override {
        sw.addVlan(10, {1, 2, 3});
        startDaemon();
    }
    // The section written into a buffer that already holds `before`, with `space` bytes counted free.
    std::string section(uint32_t space = 8192, uint32_t *result = nullptr, const std::string &before = "") {
        std::string buffer(before);
        buffer.resize(before.size() + space + 1, '\0');
        uint32_t remaining = space;
        const uint32_t answer = dhcp6snoopingBuildRunningConfig(buffer.data(), &remaining);
        if (result != nullptr) {
            *result = answer;
        }
        std::string text(buffer, 0, buffer.find('\0'));
        EXPECT_EQ(remaining, space - (text.size() - before.size()));
        return text;
    }
};

TEST_F(RunningConfigTest, DefaultsWriteNothingNotEvenTheHeader) {
    uint32_t result = 99;
    EXPECT_EQ(section(8192, &result, "!previous\r\n"), "!previous\r\n");
    EXPECT_EQ(result, 0U);
    sw.failModuleName();
    EXPECT_EQ(dhcp6snoopingBuildRunningConfig(nullptr, nullptr), 0xFFFFFFFFU);
    section(8192, &result);
    EXPECT_EQ(result, 0xFFFFFFFFU);
}

TEST_F(RunningConfigTest, EverySectionInItsOrder) {
    dhcp6snoopingStart();
    dhcp6snoopingFastRemoveCfg(0);
    dhcp6snooping_port_mode(1, 1);
    set_ip6_source_guard_port_mode(2, SOURCE_GUARD_IPV6_MAC);
    dhcp6snooping_port_maxclients(2, 100);
    dhcp6snooping_vlan_maxclients(10, 5);
    dhcp6snooping_vlan_maxclients(20, 100);  // no such VLAN on the switch: no block
    InfoOptionConfig config{};
    config.interfaceIdFormat = FORMAT_STRING;
    std::snprintf(reinterpret_cast<char *>(config.interfaceIdValue), kOptionValueSize, "abc");
    config.remoteIdEnable = 1;
    config.remoteIdFormat = FORMAT_USER_DEFINED;
    std::snprintf(reinterpret_cast<char *>(config.remoteIdValue), kOptionValueSize, "%%cvlan-%%port");
    for (const uint32_t selector : {1U, 3U, 4U}) {
        dhcp6snoopingGlobalDhcp6InfoCfg(selector, &config);
    }
    for (const VlanId vlan : {30U, 31U, 32U, 40U}) {
        operate_no_ip6_source_guard_vlan(vlan, 1);
    }
    Ipv6Address address{};
    address.octets[0] = 0x20;
    for (const auto &[last, withMac, port, vlan] :
         {std::tuple{1, false, 3U, 10U}, std::tuple{2, true, 0U, 10U}, std::tuple{3, true, 3U, 0U},
          std::tuple{4, true, 3U, 10U}}) {
        address.octets[15] = static_cast<uint8_t>(last);
        uint8_t bindingMac[6] = {2, 0, 0, 0, 0, static_cast<uint8_t>(last)};
        ip6v6_source_guard_bind_node_add(address, withMac ? bindingMac : nullptr, port, vlan);
    }
    EXPECT_EQ(
        section(),
        "![DHCPV6-SNOOPING]\r\n"
        "dhcpv6-snooping\r\n"
        "no dhcpv6-snooping port-down-action fast-remove\r\n"
        "interface ethernet1/0/1\r\ndhcpv6-snooping trust\r\nexit\r\n"
        "interface ethernet1/0/2\r\nipv6-source-guard ipv6-mac\r\ndhcpv6-snooping max-clients 100\r\nexit\r\n"
        "vlan 10\r\ndhcpv6-snooping max-clients 5\r\nexit\r\n"
        "dhcpv6-snooping information interface-id string \"abc\"\r\n"
        "dhcpv6-snooping information option 37\r\n"
        "dhcpv6-snooping information remote-id user-defined \"%cvlan-%port\"\r\n"
        "no ipv6-source-guard bind vlan 30-32,40\r\n"
        "ipv6-source-guard bind ip 2000::4 mac 02:00:00:00:00:04 interface ethernet 1/0/3 vlan 10\r\n"
        "ipv6-source-guard bind ip 2000::3 mac 02:00:00:00:00:03 interface ethernet 1/0/3\r\n"
        "ipv6-source-guard bind ip 2000::2 mac 02:00:00:00:00:02\r\n"
        "ipv6-source-guard bind ip 2000::1\r\n");
}

TEST_F(RunningConfigTest, CounterEqualToThePieceRefusesItOneMoreAcceptsIt) {
    dhcp6snoopingStart();
    const std::string header = "![DHCPV6-SNOOPING]\r\n";
    const std::string line = "dhcpv6-snooping\r\n";
    uint32_t result = 0;
    EXPECT_EQ(section(static_cast<uint32_t>(header.size()), &result), "");
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size()), &result), header);
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size() + 1), &result), header + line);
    EXPECT_EQ(result, 0U);
}

}  // namespace
