// The reset of the whole configuration: every setting back to its default through the operation that
// changes it, with its filters, and a VLAN that cannot be released stopping it.

#include <gmock/gmock.h>

#include <algorithm>

#include "mgmt/ConfigReset.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using namespace ::testing;

class ConfigResetTest : public SnoopingTest {
  protected:
    // The rich configuration with option 18 on too, VLAN 20 on the switch and a client learned on guarded
    // port 2.
    void configure() {
        sw.addVlan(20, {4});
        configureRichly();
        ASSERT_EQ(fuzz::enableRelayOption(true, true), 0);
        acknowledge(kOtherClient, 2, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::2"), 100, 200)));
    }
};

TEST_F(ConfigResetTest, RichConfigurationComesBackToEveryDefaultWithItsFiltersRemovedAndThenAsksForNothing) {
    configure();
    EXPECT_EQ(dhcp6snooping_reset_config(), 0);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
    // Nothing is written at the defaults: every port, VLAN, option switch, exempt VLAN and binding is back.
    EXPECT_EQ(fuzz::runningConfig(), "");
    InfoOptionConfig config{};
    dhcp6snoopingGlobalDhcp6InfoGet(&config);
    EXPECT_EQ(config.remoteIdFormat + config.interfaceIdFormat, 2 * FORMAT_DEFAULT);
    EXPECT_EQ(config.remoteIdTemplate, nullptr);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 1U);
    EXPECT_EQ(clientFirst(), nullptr);
    // At the defaults a reset asks the filter service for nothing and answers 0.
    const size_t calls = sw.filterCalls().size();
    EXPECT_EQ(dhcp6snooping_reset_config(), 0);
    EXPECT_EQ(sw.filterCalls().size(), calls);
}

TEST_F(ConfigResetTest, VlanThatCannotBeReleasedIsPrintedAndStopsTheReset) {
    configure();
    sw.failFilterCall("FRM_RemoveGlobalForwardIp6VidOnlyFilterResource", -4, 1, {.vlan = 41});
    EXPECT_EQ(dhcp6snooping_reset_config(), -1);
    EXPECT_THAT(sw.consoleLines(), ElementsAre("\r\n Failed to free ACL resouce for vlan 41 .\n"));
    // The bindings went first, then the VLANs but 41 with their filters; everything after the VLANs stays.
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 0);
    uint32_t mode = 0;
    get_ip6_source_guard_port_mode(2, &mode);
    EXPECT_EQ(mode, SOURCE_GUARD_IPV6_MAC);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 0U);
    EXPECT_EQ(dhcp6snoopingOnOff, 1U);
    for (const VlanId vlan : {30, 40, 41, 42, 43, 4094}) {
        const int32_t kept = vlan == 41 ? 1 : 0;
        EXPECT_EQ(no_ip6_source_guard_vlan_get(vlan), kept) << vlan;
        EXPECT_EQ(std::ranges::count(sw.installedFilters(), switchsim::Filter::exemptVlan(vlan)), kept)
            << vlan;
    }
}

}  // namespace
