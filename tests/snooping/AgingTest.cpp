// Bindings and clients running out of time, ports going down, and removal in bulk.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "snooping/BulkRemoval.h"
#include "source_guard/PortMode.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::ipv6;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using AgingTest = SnoopingTest;

// A selector of `kind`; `number` is the VLAN or the port it names, `bytes` the address or the MAC.
DeleteSelector selectorOf(uint32_t kind, uint32_t number = 0, const uint8_t *bytes = nullptr) {
    DeleteSelector selector{};
    selector.kind = kind;
    selector.vlanId = selector.portIndex = number;
    if (kind == DELETE_BY_ADDRESS) {
        std::memcpy(selector.address, bytes, sizeof selector.address);
    } else if (kind == DELETE_BY_MAC) {
        std::memcpy(selector.mac, bytes, sizeof selector.mac);
    }
    return selector;
}

TEST_F(AgingTest, BindingGoesWithItsFilterOneSecondBeforeItsLifetimeEndsAndTheClientWithItsLast) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(
        kClient, 3,
        iaNa(1, 0, 0, join({iaAddress(ipv6("2001:db8::1"), 5, 5), iaAddress(ipv6("2001:db8::2"), 9, 9)})));
    tick(3);
    EXPECT_EQ(addressFilters().size(), 2U);
    tick(1);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::2/128 9/5"));
    EXPECT_THAT(addressFilters(),
                ElementsAre("forward ip6 2001:db8::2 mac 02:00:00:00:00:01 port 3 vlan 10"));
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete user:mac 02:00:00:00:00:01, ipv6 "
                                   "address/prefix : 2001:db8::1"));
    tick(4);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(addressFilters(), IsEmpty());
    EXPECT_EQ(portClientCount[portSlot(3)], 0);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete ack user:mac 02:00:00:00:00:01."));
    EXPECT_THAT(traces(),
                Not(Contains("\r\n dhcpv6 snooping timer delete unack user:mac 02:00:00:00:00:01.")));
}

TEST_F(AgingTest, UnacknowledgedClientLivesAbout180SecondsAfterItsLastMessage) {
    clientSends(SOLICIT, kClient, 3);
    tick(100);
    clientSends(SOLICIT, kClient, 3);
    tick(178);
    ASSERT_NE(clientFind(kClient.data()), nullptr);
    tick(1);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(vlanClientCount[kVlan], 0);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete unack user:mac 02:00:00:00:00:01."));
}

TEST_F(AgingTest, RemovalByAddressTakesOnlyTheFirstHoldersBindingAndUnknownKindsAreRefused) {
    const DeleteSelector byAddress = selectorOf(DELETE_BY_ADDRESS, 0, ipv6("2001:db8::1").data());
    const DeleteSelector unknown = selectorOf(5);
    EXPECT_EQ(dhcp6snoopingDeleteByData(unknown), 0);  // nothing to walk over

    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    acknowledge(kOtherClient, 4, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    EXPECT_EQ(dhcp6snoopingDeleteByData(unknown), -1);
    EXPECT_EQ(dhcp6snoopingDeleteByData(byAddress), 0);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_NE(clientFind(kOtherClient.data()), nullptr);
}

TEST_F(AgingTest, RemovalByVlanMacOrPortAndLinkDownTakeEveryMatchingClientAndLinkUpNone) {
    const auto third = switchsim::mac("02:00:00:00:00:03");
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, 3, {}, 20);
    clientSends(SOLICIT, third, 4, {}, 20);
    dhcp6snoopingDeleteByData(selectorOf(DELETE_BY_VLAN, 20));
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    EXPECT_EQ(clientFind(third.data()), nullptr);
    clientSends(SOLICIT, kOtherClient, 3);
    clientSends(SOLICIT, third, 4);
    dhcp6snoopingDeleteByData(selectorOf(DELETE_BY_MAC, 0, kClient.data()));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    dhcp6snoopingDeleteByData(selectorOf(DELETE_BY_PORT, 4));
    EXPECT_EQ(clientFind(third.data()), nullptr);
    sw.queueLinkChange(3, 1);
    serve();
    EXPECT_NE(clientFind(kOtherClient.data()), nullptr);
    sw.queueLinkChange(3, 0);
    serve();
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_EQ(portClientCount[portSlot(3)] + portClientCount[portSlot(4)] + vlanClientCount[kVlan] +
                  vlanClientCount[20],
              0);
}

TEST_F(AgingTest, BulkRemovalWarnsAfter10SecondsAndStopsAt30LeavingTheRest) {
    for (uint32_t n = 1; n <= 40; ++n) {
        clientSends(SOLICIT, switchsim::MacAddress{2, 0, 0, 0, 1, uint8_t(n)}, 3);
    }
    sw.advanceClockOnEachRead(1);
    EXPECT_EQ(dhcp6snoopingDeleteByData(selectorOf(DELETE_ALL)), 0);
    sw.advanceClockOnEachRead(0);

    // One second passes at the start and at every check: the 30th check gives up.
    EXPECT_EQ(portClientCount[portSlot(3)], 10);
    EXPECT_EQ(clientFirst()->mac[5], 31);
    const auto lines = traces();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "\r\ntoo many ipv6-source-guard filters to release, it's taking long!!"),
              21);
    EXPECT_THAT(lines,
                Contains("\r\nhas been releasing ipv6-source-guard filters for 30 seconds, stop process"));
}

}  // namespace
