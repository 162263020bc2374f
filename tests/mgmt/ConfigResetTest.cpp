// The reset of the whole configuration: every setting back to its default through the operation that
// changes it, with its filters, and a VLAN that cannot be released stopping it.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "mgmt/ConfigReset.h"
#include "relay_option/InfoOptionConfig.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfigResetTest : public SnoopingTest {
  protected:
    static constexpr VlanId kExempt[] = {10, 100, 200};

    // Ports 2 to 4 trusted, guarded and limited, VLAN 10 limited, options on, kExempt exempt, a binding.
    void configureRichly() {
        ASSERT_EQ(dhcp6snooping_port_mode(2, 1), 0);
        ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6_MAC), 0);
        ASSERT_EQ(dhcp6snooping_port_maxclients(4, 10), 0);
        ASSERT_EQ(dhcp6snooping_vlan_maxclients(kVlan, 5), 0);
        ASSERT_EQ(dhcp6snoopingFastRemoveCfg(0), 0);
        InfoOptionConfig config{};
        config.remoteIdEnable = config.interfaceIdEnable = 1;
        config.remoteIdFormat = FORMAT_STRING;
        config.interfaceIdFormat = FORMAT_USER_DEFINED;
        std::snprintf(reinterpret_cast<char *>(config.remoteIdValue), kOptionValueSize, "abc");
        std::snprintf(reinterpret_cast<char *>(config.interfaceIdValue), kOptionValueSize, "%%port");
        for (const uint32_t selector : {1U, 2U, 3U, 4U}) {
            ASSERT_EQ(dhcp6snoopingGlobalDhcp6InfoCfg(selector, &config), 0);
        }
        VlanBitmap vlans{};
        VlanBitmap failed{};
        for (const VlanId vlan : kExempt) {
            vlanBitmapAdd(vlans, vlan);
        }
        ASSERT_EQ(ip6_source_guard_vlanlist_config(0, &vlans, &failed), 0);
        Ipv6Address address{};
        address.octets[15] = 1;
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(address, kClient.data(), 3, kVlan), 0);
        acknowledge(kOtherClient, 3, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::2"), 100, 200)));
    }
};

TEST_F(ConfigResetTest, DefaultSwitchAsksForNothingAndAnswers0) {
    dhcp6snoopingStop();
    const size_t calls = sw.filterCalls().size();
    EXPECT_EQ(dhcp6snooping_reset_config(), 0);
    EXPECT_EQ(sw.filterCalls().size(), calls);
}

TEST_F(ConfigResetTest, RichConfigurationComesBackToEveryDefaultWithItsFiltersRemoved) {
    configureRichly();
    ASSERT_EQ(dhcp6snooping_port_mode(kServerPort, 0), 0);
    EXPECT_EQ(dhcp6snooping_reset_config(), 0);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
    uint32_t value = 0;
    uint32_t count = 0;
    for (const uint32_t port : {2U, 3U, 4U}) {
        EXPECT_EQ(dhcp6snooping_port_mode_get(port, &value) + static_cast<int32_t>(value), 0) << port;
        EXPECT_EQ(get_ip6_source_guard_port_mode(port, &value), 0);
        EXPECT_EQ(value, SOURCE_GUARD_NONE);
        EXPECT_EQ(dhcp6snooping_port_maxclients_get(port, &value, &count), 0);
        EXPECT_EQ(value, kMaxClients);
    }
    EXPECT_EQ(dhcp6snooping_vlan_maxclients_get(kVlan, &value, &count), 0);
    EXPECT_EQ(value, kMaxClients);
    InfoOptionConfig config{};
    dhcp6snoopingGlobalDhcp6InfoGet(&config);
    EXPECT_EQ(config.remoteIdEnable + config.interfaceIdEnable, 0U);
    EXPECT_EQ(config.remoteIdFormat + config.interfaceIdFormat, 2 * FORMAT_DEFAULT);
    EXPECT_EQ(config.interfaceIdTemplate, nullptr);
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 0);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 1U);
    EXPECT_EQ(dhcp6snoopingOnOff, 0U);
    EXPECT_EQ(clientFirst(), nullptr);
}

TEST_F(ConfigResetTest, VlanThatCannotBeReleasedIsPrintedAndStopsTheReset) {
    configureRichly();
    sw.failFilterCall("FRM_RemoveGlobalForwardIp6VidOnlyFilterResource", -4, 1, {.vlan = 100});
    EXPECT_EQ(dhcp6snooping_reset_config(), -1);
    EXPECT_THAT(sw.consoleLines(), ElementsAre("\r\n Failed to free ACL resouce for vlan 100 .\n"));
    // The bindings went first, then the VLANs but 100 with their filters; everything after the VLANs stays.
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 0);
    uint32_t mode = 0;
    get_ip6_source_guard_port_mode(3, &mode);
    EXPECT_EQ(mode, SOURCE_GUARD_IPV6_MAC);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 0U);
    EXPECT_EQ(dhcp6snoopingOnOff, 1U);
    for (const VlanId vlan : kExempt) {
        const int32_t kept = vlan == 100 ? 1 : 0;
        EXPECT_EQ(no_ip6_source_guard_vlan_get(vlan), kept) << vlan;
        EXPECT_EQ(std::ranges::count(sw.installedFilters(), switchsim::Filter::exemptVlan(vlan)), kept)
            << vlan;
    }
}

}  // namespace
