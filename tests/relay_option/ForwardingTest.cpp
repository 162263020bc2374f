// Where snooped frames leave the switch: the MAC table, trust, link aggregation and flooding.

#include <gmock/gmock.h>

#include <cstring>

#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Ports = std::vector<uint32_t>;
constexpr uint32_t kAggregation = 7;
constexpr uint32_t kAggregationValue = 0x80000000U | kAggregation;

class ForwardingTest : public SnoopingTest {
  protected:
    // A client message sent to the server's own MAC rather than to the multicast group.
    void clientSendsToServer(uint32_t port) {
        Dhcp6Frame frame = fromClient(SOLICIT, kClient, {});
        frame.destinationMac = kServer;
        deliver(port, frame);
    }
};

TEST_F(ForwardingTest, ClientMessageGoesToATrustedServerPortAloneIsFloodedOtherwiseAndNeverSentBack) {
    clientSendsToServer(3);
    sw.learnMac(kServer, kVlan, 2);
    clientSendsToServer(3);
    sw.learnMac(kServer, kVlan, 3);
    ASSERT_EQ(dhcp6snooping_port_mode(3, 1), 0);
    clientSendsToServer(3);
    // Toward the servers the lookup is told the ingress port.
    EXPECT_EQ(sw.macLookups().front().port, 2U);

    EXPECT_THAT(takeSent(), ElementsAre(Ports{1}, Ports{1, 2, 4, 5, 6, 7, 8}));
}

TEST_F(ForwardingTest, AnswerGoesWhereTheClientWasLearnedWhateverTheTrustButNeverBackWhereItCameFrom) {
    sw.learnMac(kClient, kVlan, 5);
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 100, 200)));
    sw.learnMac(kClient, kVlan, kServerPort);
    serverSends(ADVERTISE, kClient, kServerPort);
    EXPECT_THAT(takeSent(), ElementsAre(Ports{5}));
    EXPECT_EQ(sw.macLookups().front().port, 0U);
    EXPECT_EQ(clientFirst(), nullptr);  // a REPLY for a client never recorded teaches nothing
}

TEST_F(ForwardingTest, LinkAggregationTakesTheAnswerAndIsFloodedOnceForClientMessages) {
    sw.addAggregation(kAggregation, {5, 6});
    sw.learnMacOnAggregation(kClient, kVlan, kAggregation);
    serverSends(ADVERTISE, kClient, kServerPort);
    sw.learnMacOnAggregation(kServer, kVlan, kAggregation);
    clientSendsToServer(3);
    EXPECT_THAT(takeSent(), ElementsAre(Ports{kAggregationValue}, Ports{1, 2, 4, 5, 7, 8}));
}

TEST_F(ForwardingTest, VlanWithoutAnotherMemberSendsNothing) {
    sw.addVlan(kVlan, {3});
    clientSends(SOLICIT, kClient, 3);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_THAT(traces(), Contains("\r\n Send packet failed, can't find any send port"));
}

TEST_F(ForwardingTest, FrameLeavesExactlyAsReceived) {
    const BuiltFrame built = buildDhcp6Frame(fromClient(RENEW, kClient, clientId(duidLl(kClient))));
    sw.queueFrame(3, kVlan, built.bytes);
    serve();
    ASSERT_EQ(sw.sentFrames().size(), 1U);
    EXPECT_EQ(sw.sentFrames()[0].bytes, built.bytes);
    EXPECT_EQ(sw.sentFrames()[0].vlan, kVlan);
    EXPECT_EQ(std::memcmp(&sw.sentFrames()[0].info, &built.info, sizeof built.info), 0);
}

}  // namespace
