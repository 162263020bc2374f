// The simulated packet service hands trapped frames over the way the switch does; these tests keep it and
// the frame builder honest.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"
#include "support/TestProcessQueue.h"
#include "switchsim/FrameBuilder.h"
#include "switchsim/Switch.h"

namespace {

using switchsim::Bytes;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

// A SOLICIT-like datagram from fe80::1 to ff02::1:2, written out by hand.
const Bytes kHandWrittenFrame = {
    0x33, 0x33, 0x00, 0x01, 0x00, 0x02,              // destination MAC
    0x00, 0x00, 0x5e, 0x00, 0x53, 0x01,              // source MAC
    0x86, 0xdd,                                      // IPv6
    0x60, 0x00, 0x00, 0x00, 0x00, 0x0e, 0x11, 0x40,  // version, payload length 14, UDP, hop limit
    0xfe, 0x80, 0,    0,    0,    0,    0,    0,    0, 0, 0, 0, 0, 0,    0, 0x01,  // fe80::1
    0xff, 0x02, 0,    0,    0,    0,    0,    0,    0, 0, 0, 0, 0, 0x01, 0, 0x02,  // ff02::1:2
    0x02, 0x22, 0x02, 0x23, 0x00, 0x0e, 0x2e, 0x63,  // ports 546 -> 547, length 14, checksum
    0x01, 0xab, 0xcd, 0xef, 0x00, 0x08,              // payload
};

switchsim::Udp6Frame solicit() {
    switchsim::Udp6Frame frame;
    frame.destinationMac = switchsim::mac("33:33:00:01:00:02");
    frame.sourceMac = switchsim::mac("00:00:5e:00:53:01");
    frame.sourceIp = switchsim::ipv6("fe80::1");
    frame.destinationIp = switchsim::ipv6("ff02::1:2");
    frame.sourcePort = 546;
    frame.destinationPort = 547;
    frame.payload = {0x01, 0xab, 0xcd, 0xef, 0x00, 0x08};
    return frame;
}

struct Received {
    uintptr_t address;
    Bytes frame;
    PktRecvTag tag;
    PktRecvInfo info;
};
std::vector<Received> received;

int32_t recordFrame(uint8_t *frame, uint32_t length, PktRecvTag tag, PktRecvInfo info) {
    received.push_back({reinterpret_cast<uintptr_t>(frame), Bytes(frame, frame + length), tag, info});
    return 0;
}

// Acts as a process that traps UDP port 547 and waits on its own queue.
class FrameDeliveryTest : public ::testing::Test {
  protected:
    void trap(uint32_t mode) {
        ASSERT_EQ(testqueue::open(), 0);
        PktMatchDescriptor descriptor{};
        descriptor.etherType = 0x86DD;
        descriptor.ipProtocol = 17;
        descriptor.udpPort = 547;
        descriptor.matchFlags = PKT_MATCH_ETHER_TYPE | PKT_MATCH_IP_PROTOCOL | PKT_MATCH_UDP_PORT;
        ASSERT_EQ(smdVDPktRegister(1, &descriptor, mode, recordFrame), 0);
    }

    void serve() { sw.runUntilIdle(testqueue::waitForMessage); }

    switchsim::Switch sw;
};

TEST(FrameBuilderTest, BuildsTheHandWrittenFrame) {
    EXPECT_THAT(switchsim::buildUdp6Frame(solicit()), ElementsAreArray(kHandWrittenFrame));
}

TEST_F(FrameDeliveryTest, TrappedFrameReachesTheCallbackAlignedWithItsOffsets) {
    trap(1);
    auto tagged = solicit();
    tagged.vlanTag = 10;
    sw.queueFrame(3, 1, kHandWrittenFrame);
    sw.queueFrame(4, 10, switchsim::buildUdp6Frame(tagged), 1);
    serve();

    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].frame, kHandWrittenFrame);
    EXPECT_EQ(received[0].tag.vlanId, 1U);
    EXPECT_EQ(received[0].tag.portIndex, 3U);
    EXPECT_EQ(received[0].info.etherTypeOffset, 12);
    EXPECT_EQ(received[0].info.payloadOffset, 62);
    EXPECT_EQ(received[0].info.frameKind, 0);
    EXPECT_EQ(received[1].tag.vlanId, 10U);
    EXPECT_EQ(received[1].tag.portIndex, 4U);
    EXPECT_EQ(received[1].info.etherTypeOffset, 16);
    EXPECT_EQ(received[1].info.payloadOffset, 66);
    EXPECT_EQ(received[1].info.frameKind, 1);
    for (const Received &r : received) {
        EXPECT_EQ(r.address % 4, 2U);
    }
    // In mode 1 the frames are the process's to forward.
    EXPECT_THAT(sw.switchedFrames(), IsEmpty());
}

TEST_F(FrameDeliveryTest, InMode3TheSwitchAlsoForwardsTheFrameItself) {
    trap(3);
    sw.queueFrame(3, 1, kHandWrittenFrame);
    serve();

    EXPECT_EQ(received.size(), 1U);
    ASSERT_EQ(sw.switchedFrames().size(), 1U);
    EXPECT_EQ(sw.switchedFrames()[0].frame, kHandWrittenFrame);
}

TEST_F(FrameDeliveryTest, FramesThatMatchNoRegistrationAreOnlySwitched) {
    trap(1);
    auto toClient = solicit();
    toClient.destinationPort = 546;
    sw.queueFrame(3, 1, switchsim::buildUdp6Frame(toClient));
    // Cut at every length, the frame never matches and is never read past its end.
    for (ptrdiff_t length = 0; length < std::ssize(kHandWrittenFrame) - 6; ++length) {
        sw.queueFrame(3, 1, Bytes(kHandWrittenFrame.begin(), kHandWrittenFrame.begin() + length));
    }
    serve();

    EXPECT_THAT(received, IsEmpty());
    EXPECT_EQ(sw.switchedFrames().size(), kHandWrittenFrame.size() - 6 + 1);
}

}  // namespace
