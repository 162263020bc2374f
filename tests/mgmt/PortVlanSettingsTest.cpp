// The per-port and per-VLAN settings, the VLAN reset and the operator's walk over the acknowledged clients.

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "source_guard/PortMode.h"
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

enum Setter { Trust, PortLimit, VlanLimit };

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
                                   : dhcp6snooping_vlan_maxclients(s.where, s.value);
}

int64_t readBack(const Setting &s) {
    const int32_t answer = s.setter == Trust       ? dhcp6snooping_port_mode_get(s.where, &m)
                           : s.setter == PortLimit ? dhcp6snooping_port_maxclients_get(s.where, &m, &c)
                                                   : dhcp6snooping_vlan_maxclients_get(s.where, &m, &c);
    return answer == 0 ? int64_t{m} : -1;
}

class SettingsTest : public StartedDaemonTest {
  protected:
    // Every port of the tables exists, so that the getters read each one back.
    SettingsTest() : StartedDaemonTest(switchsim::SwitchConfig{.portCount = 224, .absentPorts = {}}) {}
};

class SetterTest : public SettingsTest, public ::testing::WithParamInterface<Setting> {};

TEST_P(SetterTest, AcceptedValueReadsBackAndARefusedRequestChangesNothing) {
    const auto settings = [] {
        return std::tuple(std::to_array(portTrustMode), std::to_array(portIpSourceGuardMode),
                          std::to_array(portMaxNum), std::to_array(vlanMaxNum));
    };
    const auto before = settings();
    EXPECT_EQ(apply(GetParam()), GetParam().answer);
    EXPECT_EQ(readBack(GetParam()), GetParam().readBack);
    if (GetParam().answer != 0) {
        EXPECT_EQ(settings(), before);
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
                      Setting{VlanLimit, 4095, 5, -1, -1}));

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

using ClientWalkTest = SnoopingTest;

TEST_F(ClientWalkTest, VisitsTheAcknowledgedClientsInMacOrderWithUpToTenAddressesAndTheLifetimesLeft) {
    const auto clientMac = [](uint32_t n) { return switchsim::MacAddress{2, 0, 0, 0, 1, uint8_t(n)}; };
    // The i-th address granted to client n, with its own valid lifetime.
    const auto address = [](uint32_t n, uint32_t i) {
        return "2001:db8::" + std::to_string(n) + ":" + std::to_string(i);
    };
    for (uint32_t k = 0; k < 30; ++k) {  // arriving out of MAC order
        clientSends(SOLICIT, clientMac(1 + k * 7 % 30), 2 + k % 7);
    }
    std::vector<std::string> expected;
    for (uint32_t n = 1; n <= 30; n += n % 3 == 1 ? 1 : 2) {  // every third client is never acknowledged
        switchsim::Bytes granted;
        std::string &line = expected.emplace_back(std::to_string(n));
        line.append(" port ").append(std::to_string(clientFind(clientMac(n).data())->portIndex));
        for (uint32_t i = 1; i <= (n == 7 ? 12 : 1 + n % 2); ++i) {
            granted = join({granted, iaAddress(ipv6(address(n, i).c_str()), 50, 100 + i)});
            if (i <= kClientSummaryLimit) {
                line.append(" ").append(address(n, i)).append("/128 ").append(std::to_string(95 + i));
            }
        }
        serverSends(REPLY, clientMac(n), kServerPort, iaNa(n, 0, 0, granted));
    }
    tick(5);

    std::vector<std::string> walked;
    uint8_t mac[6] = {};
    uint32_t port = 0;
    uint32_t count = 0;
    ClientAddressSummary summaries[16] = {};
    uint32_t lifetimes[16] = {};
    int32_t answer = 0;
    while (walked.size() <= expected.size() &&
           (answer = dhcp6snooping_get_nextclients_ext(mac, &m, &port, &count, summaries, lifetimes)) == 0) {
        ASSERT_LE(count, kClientSummaryLimit);
        ASSERT_EQ(std::memcmp(mac, clientMac(0).data(), 5), 0);
        ASSERT_EQ(m, kVlan);
        walked.push_back(std::to_string(mac[5]) + " port " + std::to_string(port));
        for (uint32_t i = 0; i < count; ++i) {
            char text[64] = {};
            vosInetNtop(VOS_AF_INET6, summaries[i].address, text, sizeof text);
            walked.back().append(" ").append(text).append("/").append(
                std::to_string(summaries[i].prefixLength));
            walked.back().append(" ").append(std::to_string(lifetimes[i]));
        }
    }
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(answer, -1);

    std::memcpy(mac, clientMac(15).data(), sizeof mac);  // from an unacknowledged client on
    ASSERT_EQ(dhcp6snooping_get_nextclients_ext(mac, &m, &port, &count, summaries, lifetimes), 0);
    EXPECT_EQ(mac[5], 16);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(nullptr, &m, &port, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(mac, nullptr, &port, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(mac, &m, nullptr, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(mac, &m, &port, nullptr, summaries, lifetimes), -1);
}

}  // namespace
