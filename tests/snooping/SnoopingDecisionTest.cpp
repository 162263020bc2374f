// What the switch sees the daemon do with each DHCPv6 frame: frames sent and where, clients recorded, counts
// and filters; snooping on and off; frames the receive callback must leave alone.

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "snooping/Dhcp6Snooping.h"
#include "source_guard/PortMode.h"
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
        acknowledge(kClient, port, granted);
    }
    static uint32_t countOn(uint32_t port) { return portClientCount[portSlot(port)]; }
};

TEST_F(SnoopingDecisionTest, FullExchangeLeavesAnAcknowledgedClientCountedOnItsPortAndVlan) {
    exchange(3, iaNa(1, 300, 480, join({iaAddress(kAddress1, 600, 900), iaAddress(kAddress2, 600, 900)})));

    // Client messages are flooded (no server answers the multicast group alone); answers go to port 3.
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, Ports{3}, kFloodFrom3, Ports{3}));
    EXPECT_EQ(clientFind(kClient.data())->acked, 1U);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 600/900", "2001:db8::2/128 600/900"));
    EXPECT_EQ(countOn(3) * 10 + vlanClientCount[kVlan], 11U);
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

TEST_F(SnoopingDecisionTest, ZeroClientMacIsDroppedEvenFromATrustedPort) {
    const switchsim::MacAddress zero{};
    clientSends(SOLICIT, zero, kServerPort);
    clientSends(RELEASE, zero, 3);
    serverSends(REPLY, zero, kServerPort);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_THAT(traces(), Contains("\r\n client mac = 0, drop dhcpv6 REPLY msg"));
}

TEST_F(SnoopingDecisionTest, OnlyKnownTypesPassAndRelayForwardAndInformationRequestPassUnchecked) {
    for (const uint8_t type : {INFORMATION_REQUEST, RELAY_FORWARD, uint8_t{0}, uint8_t{14}, uint8_t{255}}) {
        clientSends(type, kClient, 3);
    }
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, kFloodFrom3));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(traces(), IsEmpty());
}

class ClientLimitTest : public SnoopingDecisionTest, public ::testing::WithParamInterface<bool> {};

TEST_P(ClientLimitTest, FullPortOrVlanAdmitsOnlyClientsRecordedThere) {
    ASSERT_EQ(GetParam() ? dhcp6snooping_vlan_maxclients(kVlan, 1) : dhcp6snooping_port_maxclients(3, 1), 0);
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, GetParam() ? 4 : 3);
    clientSends(REQUEST, kClient, 3);
    EXPECT_EQ(takeSent().size(), 2U);
    EXPECT_THAT(traces(), Contains("\r\n user number reaches max of port or vlan, drop dhcpv6 SOLICIT msg"));
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    EXPECT_EQ(countOn(3) + countOn(4), 1U);

    // A client message from a trusted port is neither limited nor recorded.
    ASSERT_EQ(dhcp6snooping_port_maxclients(kServerPort, 0), 0);
    clientSends(SOLICIT, kOtherClient, kServerPort);
    EXPECT_EQ(takeSent().size(), 1U);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
}

INSTANTIATE_TEST_SUITE_P(PortOrVlan, ClientLimitTest, ::testing::Bool());

TEST_F(SnoopingDecisionTest, ClientThatMovesIsRecordedAfreshWithItsCounts) {
    clientSends(SOLICIT, kClient, 3);
    clientSends(REQUEST, kClient, 4);
    EXPECT_EQ(countOn(3) * 10 + countOn(4), 1U);
    EXPECT_EQ(vlanClientCount[kVlan], 1U);
    EXPECT_EQ(clientFind(kClient.data())->portIndex, 4U);
}

TEST_F(SnoopingDecisionTest, RepliesMergeAndAReplyOnTheClientsOwnPortDeletesIt) {
    exchange(3, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, join({iaAddress(kAddress1, 300, 400), iaAddress(kAddress2, 5, 10)})));
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 300/400", "2001:db8::2/128 5/10"));
    takeSent();

    // Port 3 became trusted: a REPLY coming in where the client sits cannot be meant for it.
    ASSERT_EQ(dhcp6snooping_port_mode(3, 1), 0);
    serverSends(REPLY, kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 300, 400)));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(countOn(3), 0U);
}

TEST_F(SnoopingDecisionTest, ReleaseOfTheLastAddressDeletesTheClientAndIsForwardedFromAnyPort) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
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
    EXPECT_EQ(countOn(3), 0U);
}

TEST_F(SnoopingDecisionTest, StoppingForgetsEveryClientWithItsCountsAndFiltersAndThenNothingIsSent) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)));
    clientSends(SOLICIT, kOtherClient, 4);
    ASSERT_EQ(addressFilters().size(), 1U);
    takeSent();

    const size_t calls = sw.filterCalls().size();
    EXPECT_EQ(dhcp6snoopingStart(), 0);  // already on: nothing to do
    EXPECT_EQ(dhcp6snoopingStop(), 0);
    EXPECT_EQ(dhcp6snoopingStop(), 0);
    EXPECT_EQ(sw.filterCalls().size(), calls + 3);  // the two snooping filters and the client's
    // Each hook moved back to mode 3 by the descriptor it was registered with.
    ASSERT_EQ(sw.packetRegistrations().size(), 6U);
    for (size_t i = 2; i < 6; ++i) {
        const auto &registration = sw.packetRegistrations()[i];
        EXPECT_EQ(registration.descriptor, sw.packetRegistrations()[i % 2].descriptor);
        EXPECT_EQ(registration.mode, i < 4 ? 1U : 3U);
        EXPECT_EQ(registration.result, 0);
    }
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_THAT(sw.installedFilters(), ElementsAre("deny-all-ip6 port 3"));  // the guard stays
    EXPECT_EQ(countOn(3) + countOn(4) + vlanClientCount[kVlan], 0U);
    for (uint8_t type = 0; type <= RELAY_REPLY; ++type) {
        clientSends(type, kClient, 3);
        serverSends(type, kClient, kServerPort);
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
}

class ReceiveCallbackTest : public SnoopingTest {
  protected:
    // Hands the first `length` bytes of a SOLICIT straight to the callback in a buffer that ends with them,
    // 2 bytes past a 4-byte boundary as the packet service delivers frames.
    int32_t receive(uint32_t length, uint32_t port, uint32_t vlan, PktRecvInfo info) {
        buffer_ = std::make_unique<uint8_t[]>(length + 2);
        std::copy_n(built_.bytes.begin(), length, buffer_.get() + 2);
        return dhcp6snoopingRegPktProcess(buffer_.get() + 2, length, PktRecvTag{vlan, port, {}}, info);
    }

    const BuiltFrame built_ = buildDhcp6Frame(fromClient(SOLICIT, kClient, clientId(duidLl(kClient))));
    std::unique_ptr<uint8_t[]> buffer_;
};

TEST_F(ReceiveCallbackTest, CutFramesOtherKindsAndPortsOrVlansOutsideTheTablesAreLeftAlone) {
    const auto size = static_cast<uint32_t>(built_.bytes.size());
    const uint32_t header = built_.info.payloadOffset + 4U;
    for (uint32_t length = 0; length < header; ++length) {
        EXPECT_EQ(receive(length, 3, kVlan, built_.info), 0);
    }
    PktRecvInfo info = built_.info;
    info.payloadOffset = 0xFFFF;
    EXPECT_EQ(receive(size, 3, kVlan, info), 0);
    info = built_.info;
    info.frameKind = 2;
    EXPECT_EQ(receive(size, 3, kVlan, info), 2);
    for (const auto &[port, vlan] : {std::pair{0U, kVlan}, std::pair{225U, kVlan}, std::pair{3U, 4096U}}) {
        EXPECT_EQ(receive(size, port, vlan, built_.info), 0);
    }
    EXPECT_THAT(sw.sentFrames(), IsEmpty());
    EXPECT_EQ(clientFirst(), nullptr);

    // The message header alone is a whole message; only the low 16 bits of each word of the tag count.
    EXPECT_EQ(receive(header, 0x10003, 0x7000A, built_.info), 0);
    EXPECT_EQ(sw.sentFrames().size(), 1U);
    EXPECT_EQ(clientFind(kClient.data())->portIndex, 3U);
}

TEST_F(ReceiveCallbackTest, FrameOnAFourByteBoundaryIsABrokenContract) {
    sw.echoConsole(true);
    const auto words = std::make_unique<uint32_t[]>(32);
    auto *frame = reinterpret_cast<uint8_t *>(words.get());
    EXPECT_DEATH(dhcp6snoopingRegPktProcess(frame, 64, PktRecvTag{}, PktRecvInfo{}),
                 "Assertion failed!IP_ALLIGN == \\(\\(ulong_t\\)pkt\\) % 4, Dhcp6Snooping.c, "
                 "dhcp6snoopingRegPktProcess, line=4704");
}

}  // namespace
