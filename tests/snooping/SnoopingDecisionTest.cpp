// What the switch sees the daemon do with each DHCPv6 message: frames sent and where, clients recorded,
// counts and filters.

#include <gmock/gmock.h>

#include "source_guard/SourceGuardMode.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::ipv6;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Ports = std::vector<uint32_t>;
const Ports kFloodFrom3 = {1, 2, 4, 5, 6, 7, 8};

const auto kAddress1 = ipv6("2001:db8::1");
const auto kAddress2 = ipv6("2001:db8::2");

class SnoopingDecisionTest : public SnoopingTest {
  protected:
    // SOLICIT, ADVERTISE, REQUEST and REPLY for kClient on `port`, the REPLY granting `granted`.
    void exchange(uint32_t port, const switchsim::Bytes &granted) {
        sw.learnMac(kClient, kVlan, port);
        clientSends(SOLICIT, kClient, port);
        serverSends(ADVERTISE, kClient, kServerPort);
        clientSends(REQUEST, kClient, port);
        serverSends(REPLY, kClient, kServerPort, granted);
    }
};

TEST_F(SnoopingDecisionTest, FullExchangeLeavesAnAcknowledgedClientWithFiltersOnAGuardedPort) {
    portIpSourceGuardMode[2] = SOURCE_GUARD_IPV6_MAC_VLAN;
    exchange(3, iaNa(1, 300, 480, join({iaAddress(kAddress1, 600, 900), iaAddress(kAddress2, 600, 900)})));

    // Client messages are flooded (no server answers the multicast group alone); answers go to port 3.
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, Ports{3}, kFloodFrom3, Ports{3}));
    const ClientEntry *entry = clientFind(kClient.data());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->acked, 1U);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 600/900", "2001:db8::2/128 600/900"));
    EXPECT_EQ(portClientCount[2], 1);
    EXPECT_EQ(vlanClientCount[kVlan], 1);
    EXPECT_THAT(addressFilters(),
                ElementsAre("forward ip6 2001:db8::1 mac 02:00:00:00:00:01 port 3 vlan 10",
                            "forward ip6 2001:db8::2 mac 02:00:00:00:00:01 port 3 vlan 10"));
    EXPECT_THAT(traces(),
                Contains("\r\n receive dhcpv6 SOLICIT msg, record user: mac 02:00:00:00:00:01, vlan 10, "
                         "port ethernet1/0/3"));
}

TEST_F(SnoopingDecisionTest, ServerMessagesFromAnUntrustedPortAreDropped) {
    clientSends(SOLICIT, kClient, 3);
    takeSent();
    for (const uint8_t type : {ADVERTISE, REPLY, RECONFIGURE, RELAY_REPLY}) {
        serverSends(type, kClient, 5, iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)));
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(clientFind(kClient.data())->acked, 0U);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 RELAY_REPLY msg comes from untrust port, drop msg."));
}

TEST_F(SnoopingDecisionTest, FullPortAdmitsOnlyClientsRecordedThere) {
    portMaxNum[2] = 1;
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, 3);
    clientSends(REQUEST, kClient, 3);
    EXPECT_EQ(takeSent().size(), 2U);
    EXPECT_THAT(traces(), Contains("\r\n user number reaches max of port or vlan, drop dhcpv6 SOLICIT msg"));
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    EXPECT_EQ(portClientCount[2], 1);

    // A client message from a trusted port is neither limited nor recorded.
    portMaxNum[0] = 0;
    clientSends(SOLICIT, kOtherClient, kServerPort);
    EXPECT_EQ(takeSent().size(), 1U);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
}

TEST_F(SnoopingDecisionTest, ClientThatMovesIsRecordedAfreshWithItsCounts) {
    clientSends(SOLICIT, kClient, 3);
    clientSends(REQUEST, kClient, 4);
    EXPECT_EQ(portClientCount[2], 0);
    EXPECT_EQ(portClientCount[3], 1);
    EXPECT_EQ(vlanClientCount[kVlan], 1);
    EXPECT_EQ(clientFind(kClient.data())->portIndex, 4U);
}

TEST_F(SnoopingDecisionTest, RepliesMergeAndAReplyOnTheClientsOwnPortDeletesIt) {
    exchange(3, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, join({iaAddress(kAddress1, 300, 400), iaAddress(kAddress2, 5, 10)})));
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 300/400", "2001:db8::2/128 5/10"));
    takeSent();

    // Port 3 became trusted: a REPLY coming in where the client sits cannot be meant for it.
    portTrustMode[2] = 1;
    serverSends(REPLY, kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 300, 400)));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(portClientCount[2], 0);
}

TEST_F(SnoopingDecisionTest, ReplyForAnUnknownClientIsSentOnAndTeachesNothing) {
    sw.learnMac(kClient, kVlan, 3);
    serverSends(REPLY, kClient, kServerPort, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    EXPECT_THAT(takeSent(), ElementsAre(Ports{3}));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
}

TEST_F(SnoopingDecisionTest, ReleaseOfTheLastAddressDeletesTheClientAndIsForwardedFromAnyPort) {
    portIpSourceGuardMode[2] = SOURCE_GUARD_IPV6;
    exchange(3, iaNa(1, 0, 0, join({iaAddress(kAddress1, 100, 200), iaAddress(kAddress2, 100, 200)})));
    takeSent();
    clientSends(RELEASE, kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress2, 0, 0)));
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 100/200"));
    EXPECT_THAT(addressFilters(),
                ElementsAre("forward ip6 2001:db8::1 mac 02:00:00:00:00:01 port 3 vlan 10"));

    // From the trusted port the guard mode of port 1 decides: no filter is removed, the client still goes.
    clientSends(DECLINE, kClient, kServerPort, iaNa(1, 0, 0, iaAddress(kAddress1, 0, 0)));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, Ports{2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(portClientCount[2], 0);
}

TEST_F(SnoopingDecisionTest, ZeroClientMacIsDroppedEvenFromATrustedPort) {
    const switchsim::MacAddress zero{};
    clientSends(SOLICIT, zero, kServerPort);
    clientSends(RELEASE, zero, 3);
    serverSends(REPLY, zero, kServerPort);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_THAT(traces(), Contains("\r\n client mac = 0, drop dhcpv6 REPLY msg"));
}

TEST_F(SnoopingDecisionTest, OnlyKnownTypesPassAndRelayForwardAndInformationRequestPassUnchecked) {
    for (const uint8_t type : {INFORMATION_REQUEST, RELAY_FORWARD}) {
        clientSends(type, kClient, 3);
    }
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, kFloodFrom3));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    for (const uint8_t type : {0, 14, 255}) {
        clientSends(type, kClient, 3);
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(SnoopingDecisionTest, WithSnoopingOffNothingIsSent) {
    dhcp6snoopingStop();
    for (uint8_t type = 0; type <= RELAY_REPLY; ++type) {
        clientSends(type, kClient, 3);
        serverSends(type, kClient, kServerPort);
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
}

}  // namespace
