// The per-port and per-VLAN settings and the VLAN reset; the operators' walk over the acknowledged clients is
// tested beside the MIB client table, on the same clients (tests/mib/MibTest.cpp).

#include <gmock/gmock.h>

#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::ipv6;

uint32_t m = 0, c = 0;  // where a request writes whatever it answers

// "limit/count" of a VLAN.
std::string vlanState(uint32_t vlan) {
    EXPECT_EQ(dhcp6snooping_vlan_maxclients_get(vlan, &m, &c), 0);
    return std::to_string(m) + "/" + std::to_string(c);
}

enum Setter { Trust, PortLimit, VlanLimit, Guard };

// A setter asked to give the port or VLAN `where` the value, its answer, and what its getter reads for
// `where` afterwards (-1: the getter refuses too).
struct Setting {
    Setter setter;
    uint32_t where, value;
    int32_t answer;
    int64_t readBack;
};

int32_t apply(const Setting &s) {
    return s.setter == Trust       ? dhcp6snooping_port_mode(s.where, s.value)
           : s.setter == PortLimit ? dhcp6snooping_port_maxclients(s.where, s.value)
           : s.setter == VlanLimit ? dhcp6snooping_vlan_maxclients(s.where, s.value)
                                   : set_ip6_source_guard_port_mode(s.where, s.value);
}

int64_t readBack(const Setting &s) {
    const int32_t answer = s.setter == Trust       ? dhcp6snooping_port_mode_get(s.where, &m)
                           : s.setter == PortLimit ? dhcp6snooping_port_maxclients_get(s.where, &m, &c)
                           : s.setter == VlanLimit ? dhcp6snooping_vlan_maxclients_get(s.where, &m, &c)
                                                   : get_ip6_source_guard_port_mode(s.where, &m);
    return answer == 0 ? int64_t{m} : -1;
}

class SettingsTest : public StartedDaemonTest {
  protected:
    // Every port of the tables exists, so that the getters read each one back.
    SettingsTest() : StartedDaemonTest(switchsim::SwitchConfig{.portCount = 224, .absentPorts = {}}) {}
};

class SetterTest : public SettingsTest, public ::testing::WithParamInterface<Setting> {};

TEST_P(SetterTest, AcceptedValueReadsBackAndARefusedOrIdleRequestChangesNothingNorAsksTheFilterService) {
    const bool idle = readBack(GetParam()) == GetParam().value;
    const fuzz::DaemonState before = fuzz::daemonState(sw);
    EXPECT_EQ(apply(GetParam()), GetParam().answer);
    EXPECT_EQ(readBack(GetParam()), GetParam().readBack);
    if (GetParam().answer != 0 || idle) {
        EXPECT_EQ(fuzz::daemonState(sw), before);
        EXPECT_THAT(sw.filterCalls(), ::testing::IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Requests, SetterTest,
    ::testing::Values(Setting{Trust, 3, 1, 0, 1}, Setting{Trust, 224, 1, 0, 1}, Setting{Trust, 0, 1, -1, -1},
                      Setting{Trust, 225, 1, -1, -1}, Setting{Trust, 3, 2, -1, 0},
                      Setting{PortLimit, 3, 0, 0, 0}, Setting{PortLimit, 224, 2048, 0, 2048},
                      Setting{PortLimit, 3, 2049, -1, 2048}, Setting{PortLimit, 0, 5, -1, -1},
                      Setting{PortLimit, 225, 5, -1, -1}, Setting{VlanLimit, 4094, 0, 0, 0},
                      Setting{VlanLimit, 1, 2049, -1, 2048}, Setting{VlanLimit, 0, 5, -1, -1},
                      Setting{VlanLimit, 4095, 5, -1, -1}, Setting{Guard, 0, 1, -1, -1},
                      Setting{Guard, 225, 1, -1, -1}, Setting{Guard, 3, 0, -1, SOURCE_GUARD_NONE},
                      Setting{Guard, 3, 5, -1, SOURCE_GUARD_NONE},
                      Setting{Guard, 3, SOURCE_GUARD_NONE, 0, SOURCE_GUARD_NONE},
                      Setting{Guard, 224, SOURCE_GUARD_IPV6_MAC, 0, SOURCE_GUARD_IPV6_MAC}));

TEST_F(SettingsTest, TrustAndSourceGuardExcludeEachOther) {
    for (const uint32_t mode : {SOURCE_GUARD_IPV6, SOURCE_GUARD_IPV6_MAC, SOURCE_GUARD_IPV6_MAC_VLAN}) {
        ASSERT_EQ(set_ip6_source_guard_port_mode(3, mode), 0);
        EXPECT_EQ(dhcp6snooping_port_mode(3, 1), -1) << "mode " << mode;
        EXPECT_EQ(readBack(Setting{Trust, 3, 0, 0, 0}), 0);
        ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE), 0);
        ASSERT_EQ(dhcp6snooping_port_mode(3, 1), 0);
        const size_t calls = sw.filterCalls().size();
        EXPECT_EQ(set_ip6_source_guard_port_mode(3, mode), -1) << "mode " << mode;
        EXPECT_EQ(get_ip6_source_guard_port_mode(3, &m) == 0 ? m : 0, SOURCE_GUARD_NONE);
        EXPECT_EQ(sw.filterCalls().size(), calls);
        ASSERT_EQ(dhcp6snooping_port_mode(3, 0), 0);  // and the next round guards it again
    }
}

TEST_F(SettingsTest, FastRemoveValueIsStoredAsGivenAndReportedBesideTheOnOffFlag) {
    EXPECT_EQ(dhcp6snoopingGlobalInfoGet(nullptr), -1);
    for (const uint32_t value : {0U, 1U, 2U, 0xFFFFFFFFU}) {
        EXPECT_EQ(dhcp6snoopingFastRemoveCfg(value), 0);
        value % 2 != 0 ? dhcp6snoopingStart() : dhcp6snoopingStop();
        GlobalInfo info{99, 99};
        ASSERT_EQ(dhcp6snoopingGlobalInfoGet(&info), 0);
        EXPECT_EQ(info.onOff, value % 2);
        EXPECT_EQ(info.portDownAction, value);
    }
}

TEST(SmallSwitchTest, PortAboveThePortCountCanBeSetButNotReadBack) {
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = 8, .absentPorts = {}});
    ASSERT_EQ(dhcp6snoopingStartup("/sbin/dhcp6snooping"), 0);
    EXPECT_EQ(dhcp6snooping_port_mode(20, 1) + dhcp6snooping_port_maxclients(20, 5), 0);
    EXPECT_EQ(dhcp6snooping_port_mode_get(20, &m) + dhcp6snooping_port_maxclients_get(20, &m, &c), -2);
    EXPECT_EQ(portTrustMode[portSlot(20)] + portMaxNum[portSlot(20)], 6U);
    EXPECT_EQ(dhcp6snooping_port_maxclients(8, 5), 0);
    EXPECT_EQ(readBack(Setting{PortLimit, 8, 0, 0, 0}), 5);
}

using VlanResetTest = SnoopingTest;

TEST_F(VlanResetTest, ZeroesTheCountAndRestoresTheLimitOfTheVlansNamedButKeepsTheirClients) {
    ASSERT_EQ(dhcp6snooping_vlan_maxclients(kVlan, 5), 0);
    ASSERT_EQ(dhcp6snooping_vlan_maxclients(20, 7), 0);
    clientSends(SOLICIT, kClient, 3);
    acknowledge(kOtherClient, 4, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    for (const VlanId vlan : {0U, 20U, 4095U}) {
        clientSends(SOLICIT, switchsim::MacAddress{2, 0, 0, 0, 1, uint8_t(vlan / 20)}, 5, {}, vlan);
    }
    // The reset names VLANs 0, 10 and 4095; the bits of 0 and 4095 name nothing.
    VlanBitmap vlans{};
    for (const VlanId vlan : {0U, kVlan, 4095U}) {
        vlanBitmapAdd(vlans, vlan);
    }
    ASSERT_EQ(vlanState(kVlan), "5/2");

    EXPECT_EQ(dhcp6snooping_vlan_reset(nullptr), 0);
    EXPECT_EQ(dhcp6snooping_vlan_reset(&vlans), 0);
    EXPECT_EQ(vlanState(kVlan), "2048/0");
    EXPECT_EQ(vlanState(20), "7/1");
    EXPECT_EQ(vlanClientCount[0] + vlanClientCount[4095], 2);
    EXPECT_NE(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(bindingsOf(kOtherClient).size(), 1U);

    // The clients counted before the reset leave without taking the count below 0.
    sw.queueLinkChange(3, 0);
    serve();
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(vlanState(kVlan), "2048/0");
    dhcp6snoopingStop();
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_EQ(vlanState(kVlan) + " " + vlanState(20), "2048/0 7/0");
}

}  // namespace
