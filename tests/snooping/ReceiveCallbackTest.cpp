// Frames the receive callback must leave alone or drop without reading outside them.

#include <gmock/gmock.h>

#include <memory>

#include "snooping/Dhcp6Snooping.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using ::testing::IsEmpty;

class ReceiveCallbackTest : public SnoopingTest {
  protected:
    // Hands the first `length` bytes of `bytes` straight to the callback in a buffer that ends with them,
    // 2 bytes past a 4-byte boundary as the packet service delivers frames.
    int32_t receive(const switchsim::Bytes &bytes, uint32_t length, uint32_t port, uint32_t vlan,
                    PktRecvInfo info) {
        buffer_ = std::make_unique<uint8_t[]>(length + 2);
        std::copy_n(bytes.begin(), length, buffer_.get() + 2);
        PktRecvTag tag{};
        tag.vlanId = vlan;
        tag.portIndex = port;
        return dhcp6snoopingRegPktProcess(buffer_.get() + 2, length, tag, info);
    }

    std::unique_ptr<uint8_t[]> buffer_;
};

TEST_F(ReceiveCallbackTest, CutFramesAreDroppedWithoutReadingPastTheirEnd) {
    const BuiltFrame built = buildDhcp6Frame(fromClient(SOLICIT, kClient, clientId(duidLl(kClient))));
    for (uint32_t length = 0; length < built.info.payloadOffset + 4U; ++length) {
        EXPECT_EQ(receive(built.bytes, length, 3, kVlan, built.info), 0);
    }
    PktRecvInfo pastTheEnd = built.info;
    pastTheEnd.payloadOffset = 0xFFFF;
    receive(built.bytes, built.bytes.size(), 3, kVlan, pastTheEnd);
    EXPECT_THAT(sw.sentFrames(), IsEmpty());
    EXPECT_EQ(clientFirst(), nullptr);

    // The message header alone is a whole message with no options.
    receive(built.bytes, built.info.payloadOffset + 4U, 3, kVlan, built.info);
    EXPECT_EQ(sw.sentFrames().size(), 1U);
}

TEST_F(ReceiveCallbackTest, OtherKindsAndPortsOrVlansOutsideTheTablesAreLeftAlone) {
    const BuiltFrame built = buildDhcp6Frame(fromClient(SOLICIT, kClient, {}));
    PktRecvInfo otherKind = built.info;
    otherKind.frameKind = 2;
    EXPECT_EQ(receive(built.bytes, built.bytes.size(), 3, kVlan, otherKind), 2);
    EXPECT_EQ(receive(built.bytes, built.bytes.size(), 0, kVlan, built.info), 0);
    EXPECT_EQ(receive(built.bytes, built.bytes.size(), 225, kVlan, built.info), 0);
    EXPECT_EQ(receive(built.bytes, built.bytes.size(), 3, 4096, built.info), 0);
    EXPECT_THAT(sw.sentFrames(), IsEmpty());
    EXPECT_EQ(clientFirst(), nullptr);

    // Only the low 16 bits of each word of the per-frame record count.
    EXPECT_EQ(receive(built.bytes, built.bytes.size(), 0x10003, 0x7000A, built.info), 0);
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
