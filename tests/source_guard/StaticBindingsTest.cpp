// Static bindings: the conflict rules, the filters a binding brings and takes over from learned addresses,
// paging through the list, and the row store.

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "source_guard/PortMode.h"
#include "source_guard/StaticBindRows.h"
#include "source_guard/StaticBindings.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Ipv6Address ip(const char *text) {
    Ipv6Address address;
    std::memcpy(address.octets, switchsim::ipv6(text).data(), sizeof address.octets);
    return address;
}

// The n-th address of 2001:db8:b::/64.
Ipv6Address numbered(uint32_t n) {
    Ipv6Address address = ip("2001:db8:b::");
    address.octets[14] = static_cast<uint8_t>(n >> 8);
    address.octets[15] = static_cast<uint8_t>(n);
    return address;
}

class StaticBindingsTest : public SnoopingTest {
  protected:
    const uint8_t *mac(const switchsim::MacAddress &address) { return address.data(); }
    [[nodiscard]] size_t removals() const {
        size_t count = 0;
        for (const auto &call : sw.filterCalls()) {
            count += call.function.find("Remove") != std::string::npos ? 1 : 0;
        }
        return count;
    }
};

TEST_F(StaticBindingsTest, SameAddressOrSameMacConflictsAndTheSameBindingAnswersTwo) {
    const auto a = ip("2001:db8::a");
    ASSERT_EQ(ip6v6_source_guard_bind_node_add(a, mac(kClient), 3, kVlan), 0);
    const struct {
        Ipv6Address ip;
        const uint8_t *mac;
        uint32_t port;
        int32_t result;
    } cases[] = {
        {a, mac(kClient), 3, 2},                   // identical, VLAN not compared
        {a, mac(kClient), 4, -1},                  // same address and MAC, other port
        {ip("2001:db8::b"), mac(kClient), 3, -1},  // same MAC
        {a, nullptr, 3, -1},                       // same address
        {ip("2001:db8::b"), nullptr, 3, 0},        // no MAC: any number may have none
        {ip("2001:db8::e"), nullptr, 3, 0},
        {ip("2001:db8::f"), mac(kOtherClient), 0, 0},
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

TEST_F(StaticBindingsTest, BindingFilterFollowsItsPortOrAnyPortBeingGuarded) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::1"), mac(kClient), 3, kVlan);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::2"), mac(kOtherClient), 3, 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::3"), nullptr, 4, 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::4"), nullptr, 0, 0);
    EXPECT_THAT(addressFilters(), ElementsAre("forward ip6 2001:db8::1 mac 02:00:00:00:00:01 port 3 vlan 10",
                                              "forward ip6 2001:db8::2 mac 02:00:00:00:00:02 port 3",
                                              "forward ip6 2001:db8::4"));
    ip6v6_source_guard_bind_node_delete(ip("2001:db8::1"));
    ip6v6_source_guard_bind_node_delete(ip("2001:db8::4"));
    EXPECT_THAT(addressFilters(), ElementsAre("forward ip6 2001:db8::2 mac 02:00:00:00:00:02 port 3"));
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE), 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::4"), nullptr, 0, 0);
    EXPECT_THAT(addressFilters(), IsEmpty());
}

TEST_F(StaticBindingsTest, BindingTakesOverLearnedFiltersAndGivesThemBackUnlessStillCovered) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6_MAC_VLAN), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::a"), 100, 200)));
    acknowledge(kOtherClient, 3, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::b"), 100, 200)));
    const std::string learnedA = "forward ip6 2001:db8::a mac 02:00:00:00:00:01 port 3 vlan 10";
    const std::string learnedB = "forward ip6 2001:db8::b mac 02:00:00:00:00:02 port 3 vlan 10";

    ip6v6_source_guard_bind_node_add(ip("2001:db8::a"), nullptr, 5, 0);
    ip6v6_source_guard_bind_node_add(ip("2001:db8::c"), mac(kClient), 5, 0);
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
        const switchsim::MacAddress client = {
            2, 0, 0, 1, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
        switchsim::Ipv6Bytes address{};
        std::memcpy(address.data(), numbered(n).octets, address.size());
        acknowledge(client, 3, iaNa(1, 0, 0, iaAddress(address, 100, 200)));
    }
    ASSERT_EQ(addressFilters().size(), kMaxClients);
    for (uint32_t n = 0; n < 512; ++n) {
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(numbered(n), nullptr, 0, 0), 0);
    }
    // The bound addresses have their every-port filter instead of the learned one.
    EXPECT_EQ(addressFilters().size(), kMaxClients);
    EXPECT_THAT(addressFilters(), Contains("forward ip6 2001:db8:b::1ff"));
    EXPECT_EQ(ip6v6_source_guard_bind_node_delete_all(), 512);
    EXPECT_THAT(addressFilters(),
                Contains("forward ip6 2001:db8:b::1ff mac 02:00:00:01:01:ff port 3 vlan 10"));
    EXPECT_EQ(addressFilters().size(), kMaxClients);
    for (const auto &call : sw.filterCalls()) {
        ASSERT_EQ(call.result, 0) << call.text();
    }
}

TEST_F(StaticBindingsTest, OutOfMemoryIsTracedAndTheWithdrawnFiltersStayWithdrawn) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::a"), 100, 200)));
    sw.failAllocations();
    EXPECT_EQ(ip6v6_source_guard_bind_node_add(ip("2001:db8::a"), nullptr, 0, 0), -1);
    EXPECT_THAT(traces(),
                Contains("\r\nip6v6_source_guard_bind_node_add failed:malloc failed:no enough memory!"));
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 0);
    EXPECT_THAT(addressFilters(), IsEmpty());
}

TEST_F(StaticBindingsTest, RowStoreTakesTheFirstFreeRowFromTheSlotAsked) {
    EXPECT_EQ(ip6v6_source_guard_bind_for_snmp_add(5, ip("2001:db8::5"), mac(kClient), 3, kVlan), 0);
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
