// Bindings and clients running out of time, ports going down, and removal in bulk.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "snooping/Aging.h"
#include "snooping/BulkRemoval.h"
#include "source_guard/SourceGuardMode.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::ipv6;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class AgingTest : public SnoopingTest {
  protected:
    // An acknowledged client on `port` holding `granted`.
    void acknowledged(const switchsim::MacAddress &client, uint32_t port, const switchsim::Bytes &granted) {
        clientSends(REQUEST, client, port);
        serverSends(REPLY, client, kServerPort, granted);
        ASSERT_EQ(clientFind(client.data())->acked, 1U);
    }
    void tick(uint32_t seconds) {
        sw.queueTimerTicks(seconds);
        serve();
    }
};

TEST_F(AgingTest, BindingGoesWithItsFilterOneSecondBeforeItsLifetimeEnds) {
    portIpSourceGuardMode[2] = SOURCE_GUARD_IPV6;
    acknowledged(
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
    EXPECT_EQ(portClientCount[2], 0);
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

TEST_F(AgingTest, LinkDownRemovesThePortsClientsAndLinkUpNothing) {
    portIpSourceGuardMode[2] = SOURCE_GUARD_IPV6;
    acknowledged(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    clientSends(SOLICIT, kOtherClient, 4);
    sw.queueLinkChange(3, 1);
    sw.queueLinkChange(4, 0);
    serve();
    EXPECT_NE(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    sw.queueLinkChange(3, 0);
    serve();
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_THAT(addressFilters(), IsEmpty());
    EXPECT_EQ(portClientCount[2] + portClientCount[3] + vlanClientCount[kVlan], 0);
}

TEST_F(AgingTest, RemovalByAddressTakesOnlyTheFirstHolderAndUnknownKindsAreRefused) {
    DeleteSelector byAddress{};
    byAddress.kind = DELETE_BY_ADDRESS;
    std::memcpy(byAddress.address, ipv6("2001:db8::1").data(), 16);
    DeleteSelector unknown{};
    unknown.kind = 5;
    EXPECT_EQ(dhcp6snoopingDeleteByData(unknown), 0);

    acknowledged(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    acknowledged(kOtherClient, 4, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 100, 200)));
    EXPECT_EQ(dhcp6snoopingDeleteByData(unknown), -1);
    EXPECT_EQ(dhcp6snoopingDeleteByData(byAddress), 0);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_NE(clientFind(kOtherClient.data()), nullptr);
}

TEST_F(AgingTest, RemovalByPortVlanOrMacTakesEveryMatchingClient) {
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, 3);
    clientFind(kOtherClient.data())->vlanId = 20;
    DeleteSelector selector{};
    selector.kind = DELETE_BY_VLAN;
    selector.vlanId = 20;
    dhcp6snoopingDeleteByData(selector);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);

    selector.kind = DELETE_BY_MAC;
    std::memcpy(selector.mac, kOtherClient.data(), kOtherClient.size());
    dhcp6snoopingDeleteByData(selector);
    ASSERT_NE(clientFind(kClient.data()), nullptr);
    std::memcpy(selector.mac, kClient.data(), kClient.size());
    dhcp6snoopingDeleteByData(selector);
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_EQ(portClientCount[2], 0);
}

TEST_F(AgingTest, BulkRemovalWarnsAfter10SecondsAndStopsAt30LeavingTheRest) {
    for (uint32_t n = 1; n <= 40; ++n) {
        clientSends(SOLICIT, switchsim::mac(("02:00:00:00:01:" + std::to_string(10 + n)).c_str()), 3);
    }
    sw.advanceClockOnEachRead(1);
    DeleteSelector all{};
    all.kind = DELETE_ALL;
    EXPECT_EQ(dhcp6snoopingDeleteByData(all), 0);
    sw.advanceClockOnEachRead(0);

    // One second passes at the start and at every check: the 30th check gives up.
    uint32_t left = 0;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        ++left;
    }
    EXPECT_EQ(left, 10U);
    EXPECT_EQ(portClientCount[2], 10);
    const auto lines = traces();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "\r\ntoo many ipv6-source-guard filters to release, it's taking long!!"),
              21);
    EXPECT_THAT(lines,
                Contains("\r\nhas been releasing ipv6-source-guard filters for 30 seconds, stop process"));
}

}  // namespace
