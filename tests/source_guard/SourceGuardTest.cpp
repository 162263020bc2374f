// IPv6 source guard: the modes a port takes, the answers, and the filter-service calls the changes make; the
// VLANs exempted from it, each with its VLAN-only filter, and a VLAN whose filter the service refuses,
// reported and keeping its state. That the filters in place always follow the state is proved by random
// sequences of everything that moves them (see fuzz/SourceGuardSequence.h, which the fuzz target plays from
// arbitrary bytes): after every step the switch must hold exactly the filters the state implies. Static
// bindings: the conflict rules, the filters a binding takes over from learned addresses and gives back,
// paging through the list, a full list beside a full client table, and the row store.

#include <gmock/gmock.h>

#include <bit>
#include <cstring>
#include <initializer_list>

#include "SourceGuardSequence.h"
#include "mgmt/ConfigReset.h"
#include "source_guard/StaticBindRows.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim;
using namespace switchsim::dhcp6;
using namespace ::testing;

uint32_t modeOf(uint32_t port) {
    uint32_t mode = 0;
    return get_ip6_source_guard_port_mode(port, &mode) == 0 ? mode : 0;
}

class PortModeTest : public SnoopingTest {
  protected:
    // A static binding; a null MAC text: no MAC.
    static void bind(const char *address, const char *macText, uint32_t port, uint32_t vlan) {
        const auto bound = macText != nullptr ? mac(macText) : MacAddress{};
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(ip(address), bound.data(), port, vlan), 0);
    }
};

TEST_F(PortModeTest,
       EveryPortBindingsAreFilteredWhileAnyPortIsGuardedAPortsOwnWhileItIsAndEachChangeAsksAgain) {
    bind("2001:db8:a::1", nullptr, 0, 0);
    bind("2001:db8:a::2", "02:00:00:00:0a:02", 0, 0);
    bind("2001:db8:a::3", "02:00:00:00:0a:03", 3, kVlan);
    bind("2001:db8:a::4", nullptr, 3, 0);
    bind("2001:db8:a::5", "02:00:00:00:0a:05", 5, kVlan);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 10, 20)));
    const Filter every1 = Filter::forward(ipv6("2001:db8:a::1"));
    const Filter every2 = Filter::forward(ipv6("2001:db8:a::2"), mac("02:00:00:00:0a:02"));
    const Filter own3 = Filter::forward(ipv6("2001:db8:a::3"), mac("02:00:00:00:0a:03"), 3, kVlan);
    const Filter own3NoVlan = Filter::forward(ipv6("2001:db8:a::4"), MacAddress{}, 3);
    const Filter own5 = Filter::forward(ipv6("2001:db8:a::5"), mac("02:00:00:00:0a:05"), 5, kVlan);
    const Filter learned3 = Filter::forward(ipv6("2001:db8::a"), kClient, 3, kVlan);
    // Sets the mode of the port and expects the change to take that many filter-service calls.
    const auto change = [this](uint32_t port, uint32_t mode, size_t callCount) {
        const size_t before = sw.filterCalls().size();
        EXPECT_EQ(set_ip6_source_guard_port_mode(port, mode), 0);
        EXPECT_EQ(modeOf(port), mode);
        EXPECT_EQ(sw.filterCalls().size() - before, callCount) << port << " to mode " << mode;
    };
    change(3, SOURCE_GUARD_IPV6, 6);
    EXPECT_THAT(addressFilters(true),
                UnorderedElementsAre(every1, every2, own3, own3NoVlan, learned3, Filter::denyAll(3)));
    // A change between guarded modes asks for the deny-all and every forward filter again.
    change(3, SOURCE_GUARD_IPV6_MAC_VLAN, 6);
    EXPECT_THAT(addressFilters(true),
                UnorderedElementsAre(every1, every2, own3, own3NoVlan, learned3, Filter::denyAll(3)));
    change(5, SOURCE_GUARD_IPV6_MAC, 2);
    EXPECT_THAT(addressFilters(true), UnorderedElementsAre(every1, every2, own3, own3NoVlan, learned3, own5,
                                                           Filter::denyAll(3), Filter::denyAll(5)));
    change(3, SOURCE_GUARD_NONE, 4);
    EXPECT_THAT(addressFilters(true), UnorderedElementsAre(every1, every2, own5, Filter::denyAll(5)));
    change(5, SOURCE_GUARD_NONE, 4);
    EXPECT_THAT(addressFilters(true), IsEmpty());
    for (const auto &call : sw.filterCalls()) {
        EXPECT_EQ(call.result, 0) << call.text();
    }
}

TEST_F(PortModeTest, FailedDenyAllKeepsTheNewModeWithoutForwardFilters) {
    bind("2001:db8:a::1", nullptr, 0, 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 10, 20)));
    sw.failFilterCall("FRM_OperatePortDenyAllIp6FilterResource", -5);

    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), -5);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_IPV6);
    EXPECT_THAT(addressFilters(true), IsEmpty());
    EXPECT_THAT(traces(), Contains(" turn on ip6v6_source_guard failed because "
                                   "ip6_source_guard_intstall_deny_all_ip_traffic_frm failed.\r\n"));
    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE), 0);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_NONE);
    EXPECT_THAT(addressFilters(true), IsEmpty());
}

// A filter leaves with what it was installed for, whatever the port rules say at that moment: a binding
// whose filter a guarded port beyond the switch's own 24 installed (the port predicates only look at the
// switch's ports), and a learned address released through a port that is not guarded (a trusted uplink, or
// another access port).
TEST_F(PortModeTest, FiltersLeaveWithTheirOwnersWhereverThePortRulesLook) {
    constexpr uint32_t kBeyondTheSwitch = 30;
    for (const uint32_t bindingPort : {0U, kBeyondTheSwitch}) {
        bind("2001:db8:a::1", nullptr, bindingPort, 0);
        ASSERT_EQ(set_ip6_source_guard_port_mode(kBeyondTheSwitch, SOURCE_GUARD_IPV6), 0);
        EXPECT_THAT(addressFilters(), SizeIs(1)) << "binding of port " << bindingPort;
        EXPECT_EQ(ip6v6_source_guard_bind_node_delete(ip("2001:db8:a::1")), 0);
        EXPECT_THAT(addressFilters(), IsEmpty()) << "binding of port " << bindingPort;
        ASSERT_EQ(set_ip6_source_guard_port_mode(kBeyondTheSwitch, SOURCE_GUARD_NONE), 0);
    }
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    for (const uint32_t releasedOn : {kServerPort, 4U}) {
        acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 10, 20)));
        EXPECT_THAT(addressFilters(), SizeIs(1));
        clientSends(RELEASE, kClient, releasedOn, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 0, 0)));
        EXPECT_EQ(clientFind(kClient.data()), nullptr);
        EXPECT_THAT(addressFilters(), IsEmpty()) << "released on port " << releasedOn;
    }
}

TEST(SourceGuardSequenceTest, FiltersFollowTheStateThroughRandomSequences) {
    EXPECT_EQ(fuzz::playRandomInputs(300, 240, fuzz::playSourceGuardSequence), std::nullopt);
}

constexpr uint32_t kAdd = 0;

bool holdsExactly(const VlanBitmap &bitmap, std::initializer_list<VlanId> ids) {
    const VlanBitmap expected = fuzz::vlanBitmapOf(ids);
    return std::memcmp(&bitmap, &expected, sizeof bitmap) == 0;
}

class ExemptVlansTest : public StartedDaemonTest {
  protected:
    int32_t configure(uint32_t operation, std::initializer_list<VlanId> ids) {
        const VlanBitmap requested = fuzz::vlanBitmapOf(ids);
        failed = {};
        return ip6_source_guard_vlanlist_config(operation, &requested, &failed);
    }

    VlanBitmap failed{};
};

TEST_F(ExemptVlansTest, EachVlanIsRequestedOnceOnlyInsideOneTo4094AndAFlagSetWithoutAFilterIsTakenAtItsWord) {
    EXPECT_EQ(operate_no_ip6_source_guard_vlan(40, 1), 0);
    EXPECT_EQ(operate_no_ip6_source_guard_vlan(4096, 1) + no_ip6_source_guard_vlan_get(4096), -2);
    EXPECT_EQ(configure(kAdd, {0, 10, 40, 4094, 4095}), 0);
    EXPECT_EQ(sw.filterCalls().size(), 2U);  // none for VLAN 40
    EXPECT_THAT(sw.installedFilters(), ElementsAre(Filter::exemptVlan(10), Filter::exemptVlan(4094)));
    EXPECT_EQ(configure(kAdd, {10}), 0);
    EXPECT_EQ(configure(kExemptVlansRemove, {20}), 0);
    EXPECT_EQ(sw.filterCalls().size(), 2U);

    VlanBitmap listed{};
    no_ip6_source_guard_vlanlist_get(&listed);
    EXPECT_TRUE(holdsExactly(listed, {10, 40, 4094}));
    EXPECT_EQ(no_ip6_source_guard_vlan_get(10) * 10 + no_ip6_source_guard_vlan_get(11), 10);
    // Taking VLAN 40 out asks for a filter that was never installed.
    EXPECT_EQ(configure(kExemptVlansRemove, {40}), -1);
    EXPECT_EQ(sw.filterCalls().size(), 3U);
    EXPECT_EQ(configure(kExemptVlansRemove, {10, 4094}), 0);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
}

TEST_F(ExemptVlansTest, RefusedVlanIsReportedAndKeepsItsStateWhileTheOthersGoOn) {
    sw.failFilterCall("FRM_InstallGlobalForwardIp6VidOnlyFilterResource", -3);
    EXPECT_EQ(configure(kAdd, {30, 31}), -1);
    EXPECT_TRUE(holdsExactly(failed, {30}));
    EXPECT_EQ(no_ip6_source_guard_vlan_get(30), 0);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(31), 1);

    sw.failFilterCall("FRM_RemoveGlobalForwardIp6VidOnlyFilterResource", -3);
    EXPECT_EQ(configure(kExemptVlansRemove, {31}), -1);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(31), 1);
}

// A flag cleared without asking the service leaves its filter to the daemon, which the reset releases.
TEST_F(ExemptVlansTest, FilterWhoseFlagWasClearedUnaskedIsReleasedByTheReset) {
    EXPECT_EQ(configure(kAdd, {50}), 0);
    EXPECT_EQ(operate_no_ip6_source_guard_vlan(50, 0), 0);
    EXPECT_EQ(configure(kExemptVlansRemove, {50}), 0);
    EXPECT_THAT(sw.installedFilters(), ElementsAre(Filter::exemptVlan(50)));
    EXPECT_EQ(ip6_source_guard_vlan_filter_held(50), 1U);
    EXPECT_EQ(dhcp6snooping_reset_config(), 0);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
    EXPECT_EQ(ip6_source_guard_vlan_filter_held(50), 0U);
}

// The n-th address of 2001:db8:b::/64.
Ipv6Address numbered(uint32_t n) {
    Ipv6Address address{{0x20, 0x01, 0x0d, 0xb8, 0, 0x0b}};
    address.octets[14] = static_cast<uint8_t>(n >> 8);
    address.octets[15] = static_cast<uint8_t>(n);
    return address;
}

using StaticBindingsTest = SnoopingTest;

TEST_F(StaticBindingsTest, SameAddressOrSameMacConflictsAndTheSameBindingAnswersTwo) {
    const auto a = ip("2001:db8::a");
    ASSERT_EQ(ip6v6_source_guard_bind_node_add(a, kClient.data(), 3, kVlan), 0);
    const struct {
        Ipv6Address ip;
        const uint8_t *mac;
        uint32_t port;
        int32_t result;
    } cases[] = {
        {a, kClient.data(), 3, 2},                   // identical, VLAN not compared
        {a, kClient.data(), 4, -1},                  // same address and MAC, other port
        {ip("2001:db8::b"), kClient.data(), 3, -1},  // same MAC
        {a, nullptr, 3, -1},                         // same address
        {ip("2001:db8::b"), nullptr, 3, 0},          // no MAC: any number may have none
        {ip("2001:db8::e"), nullptr, 3, 0},
        {ip("2001:db8::f"), kOtherClient.data(), 0, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(ip6v6_source_guard_bind_node_add(c.ip, c.mac, c.port, 7), c.result);
        EXPECT_EQ(ip6v6_source_guard_bind_node_check(c.ip, c.mac, c.port), c.result == -1 ? -1 : 0);
    }
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 4);
    StaticBindRecord record{};
    ASSERT_EQ(ip6v6_source_guard_bind_node_get_by_ip(a, &record), 0);
    EXPECT_EQ(record.port, 3U);
    EXPECT_EQ(record.vlan, kVlan);
    EXPECT_EQ(std::memcmp(record.mac, kClient.data(), 6), 0);
    EXPECT_EQ(ip6v6_source_guard_bind_node_get_by_ip(ip("2001:db8::9"), &record), -1);
    EXPECT_EQ(ip6v6_source_guard_bind_node_delete(ip("2001:db8::9")), -1);
    EXPECT_EQ(ip6v6_source_guard_bind_node_delete_all(), 4);
    EXPECT_EQ(ip6v6_source_guard_bind_node_delete_all(), 0);
}

TEST_F(StaticBindingsTest, BindingTakesOverLearnedFiltersAndGivesThemBackUnlessStillCovered) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6_MAC_VLAN), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 100, 200)));
    acknowledge(kOtherClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::b"), 100, 200)));
    const Filter learnedA = Filter::forward(ipv6("2001:db8::a"), kClient, 3, kVlan);
    const Filter learnedB = Filter::forward(ipv6("2001:db8::b"), kOtherClient, 3, kVlan);

    ip6v6_source_guard_bind_node_add(ip("2001:db8::a"), nullptr, 5, 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::c"), kClient.data(), 5, 0);
    EXPECT_THAT(addressFilters(), ElementsAre(learnedB));

    // The MAC binding still covers A: nothing comes back; then it goes too, and A's filter returns.
    ip6v6_source_guard_bind_node_delete(ip("2001:db8::a"));
    EXPECT_THAT(addressFilters(), ElementsAre(learnedB));
    ip6v6_source_guard_bind_node_delete(ip("2001:db8::c"));
    EXPECT_THAT(addressFilters(), ElementsAre(learnedA, learnedB));

    // A client that is not acknowledged gets nothing back.
    ip6v6_source_guard_bind_node_add(ip("2001:db8::b"), nullptr, 0, 0);
    clientFind(kOtherClient.data())->acked = 0;
    ip6v6_source_guard_bind_node_delete(ip("2001:db8::b"));
    EXPECT_THAT(addressFilters(), ElementsAre(learnedA));
}

TEST_F(StaticBindingsTest, PagesHold64BindingsNewestFirst) {
    for (const uint32_t total : {64U, 70U}) {
        ip6v6_source_guard_bind_node_delete_all();
        for (uint32_t n = 1; n <= total; ++n) {
            ASSERT_EQ(ip6v6_source_guard_bind_node_add(numbered(n), nullptr, 0, 0), 0);
        }
        std::vector<StaticBindRecord> records(kStaticBindPage);
        uint16_t next = 99;
        uint16_t count = 0;
        ASSERT_EQ(ip6v6_source_guard_bind_node_get(1, &next, &count, records.data()), 0);
        EXPECT_EQ(count, 64);
        EXPECT_EQ(next, total == 64 ? 0 : 65) << total;
        EXPECT_EQ(records[0].ip[15], total);  // the newest first
        if (total == 70) {
            ASSERT_EQ(ip6v6_source_guard_bind_node_get(next, &next, &count, records.data()), 0);
            EXPECT_EQ(count, 6);
            EXPECT_EQ(next, 0);
            EXPECT_EQ(records[5].ip[15], 1);
        }
    }
}

TEST_F(StaticBindingsTest, FiveHundredTwelveBindingsBeside2048LearnedClients) {
    sw.keepSentFrames(false);
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        const MacAddress client = {2, 0, 0, 1, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
        acknowledge(client, 3, iaNa(1, 0, 0, iaAddress(std::bit_cast<Ipv6Bytes>(numbered(n)), 100, 200)));
    }
    ASSERT_EQ(addressFilters().size(), kMaxClients);
    for (uint32_t n = 0; n < 512; ++n) {
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(numbered(n), nullptr, 0, 0), 0);
    }
    // The bound addresses have their every-port filter instead of the learned one.
    EXPECT_EQ(addressFilters().size(), kMaxClients);
    EXPECT_THAT(addressFilters(), Contains(Filter::forward(ipv6("2001:db8:b::1ff"))));
    EXPECT_EQ(ip6v6_source_guard_bind_node_delete_all(), 512);
    EXPECT_THAT(addressFilters(),
                Contains(Filter::forward(ipv6("2001:db8:b::1ff"), mac("02:00:00:01:01:ff"), 3, kVlan)));
    EXPECT_EQ(addressFilters().size(), kMaxClients);
    for (const auto &call : sw.filterCalls()) {
        ASSERT_EQ(call.result, 0) << call.text();
    }
}

TEST_F(StaticBindingsTest, OutOfMemoryIsTracedAndTheWithdrawnFiltersStayWithdrawn) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 100, 200)));
    sw.failAllocations();
    EXPECT_EQ(ip6v6_source_guard_bind_node_add(ip("2001:db8::a"), nullptr, 0, 0), -1);
    EXPECT_THAT(traces(),
                Contains("\r\nip6v6_source_guard_bind_node_add failed:malloc failed:no enough memory!"));
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 0);
    EXPECT_THAT(addressFilters(), IsEmpty());
}

TEST_F(StaticBindingsTest, RowStoreTakesTheFirstFreeRowFromTheSlotAsked) {
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_add(5, ip("2001:db8::5"), kClient.data(), 3, kVlan), 0);
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_add(5, ip("2001:db8::6"), nullptr, 0, 0), 0);
    EXPECT_EQ(staticBindRowTable[5].inUse + staticBindRowTable[6].inUse, 2U);
    EXPECT_EQ(staticBindRowTable[5].port, 3U);
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_add(kStaticBindRows, ip("2001:db8::7"), nullptr, 0, 0), -1);
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_delete(ip("2001:db8::5")), 0);
    EXPECT_EQ(staticBindRowTable[5].inUse, 0U);
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_delete(ip("2001:db8::5")), -1);
    for (uint32_t row = 0; row < kStaticBindRows; ++row) {
        ip6v6_source_guard_bind_for_snmp_add(0, numbered(row), nullptr, 0, 0);
    }
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_add(0, ip("2001:db8::8"), nullptr, 0, 0), -1);
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_delete_all(), 0);
    EXPECT_EQ(staticBindRowTable[6].inUse, 0U);
}

}  // namespace
