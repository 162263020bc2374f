// The simulated switch and the frames every test is made of: the DHCPv6 frame builder held to hand-written
// bytes; the reading that holds every frame the daemon sends to the wire format (sound frames of the builder
// pass, and each way a frame can go wrong is caught and named); and what the switch promises the daemon
// beyond the platform calls the end-to-end tests use: frames handed over in buffers that end with them, and
// the rule that a daemon handling a sound frame sends only sound frames. A small stand-in registers for
// DHCPv6 frames the way the daemon does, so that the switch is seen through its platform calls alone.

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/FrmApi.h"
#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/FrameCheck.h"
#include "switchsim/Switch.h"

#if defined(__SANITIZE_ADDRESS__)
#define SWITCH_TEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SWITCH_TEST_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using namespace ::testing;

const switchsim::MacAddress kClient = switchsim::mac("00:00:5e:00:53:01");
const switchsim::MacAddress kServer = switchsim::mac("00:00:5e:00:53:02");

// A client's SOLICIT on VLAN 10 asking for an address and a prefix, written out by hand.
const Bytes kHandWrittenSolicit = {
    0x33, 0x33, 0x00, 0x01, 0x00, 0x02, 0x00, 0x00, 0x5e, 0x00, 0x53, 0x01,  // MACs client -> 33:33:0:1:0:2
    0x81, 0x00, 0x00, 0x0a, 0x86, 0xdd,                                      // VLAN 10, IPv6
    0x60, 0x00, 0x00, 0x00, 0x00, 0x73, 0x11, 0x40,  // version 6, payload length 115, UDP, hop limit 64
    0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x00, 0x5e, 0xff, 0xfe, 0x00, 0x53, 0x01,  // fe80::200:5eff:fe00:5301
    0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0, 0x02,                    // ff02::1:2
    0x02, 0x22, 0x02, 0x23, 0x00, 0x73, 0xf0, 0xb8,  // UDP 546 -> 547, length 115, checksum
    0x01, 0x12, 0x34, 0x56,                          // SOLICIT, transaction id 0x123456
    /* Client Identifier, DUID-LL of the client's MAC */
    0x00, 0x01, 0x00, 0x0a, 0x00, 0x03, 0x00, 0x01, 0x00, 0x00, 0x5e, 0x00, 0x53, 0x01,
    /* IA_NA, IAID 1, T1 0, T2 0 */
    0x00, 0x03, 0x00, 0x28, 0, 0, 0, 0x01, 0, 0, 0, 0, 0, 0, 0, 0,
    /* IA Address 2001:db8::1, preferred 3600, valid 7200 */
    0x00, 0x05, 0x00, 0x18, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01,  //
    0x00, 0x00, 0x0e, 0x10, 0x00, 0x00, 0x1c, 0x20,
    /* IA_PD, IAID 2, T1 0, T2 0 */
    0x00, 0x19, 0x00, 0x29, 0, 0, 0, 0x02, 0, 0, 0, 0, 0, 0, 0, 0,
    /* IA Prefix, preferred 3600, valid 7200, 2001:db8:100::/56 */
    0x00, 0x1a, 0x00, 0x19, 0x00, 0x00, 0x0e, 0x10, 0x00, 0x00, 0x1c, 0x20, 0x38,  //
    0x20, 0x01, 0x0d, 0xb8, 0x01, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

// The DHCPv6 part of relayReply(), written out by hand.
const Bytes kHandWrittenRelayReply = {
    0x0d, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,                    // RELAY_REPLY, hops 0, ::
    0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x00, 0x5e, 0xff, 0xfe, 0x00, 0x53, 0x01,  // peer: the client
    /* Interface-ID "p3" */
    0x00, 0x12, 0x00, 0x02, 'p', '3',
    /* Remote-ID, enterprise 32473, id ab */
    0x00, 0x25, 0x00, 0x05, 0x00, 0x00, 0x7e, 0xd9, 0xab,
    /* Relay Message: REPLY, transaction id 0x123456 */
    0x00, 0x09, 0x00, 0x0d, 0x07, 0x12, 0x34, 0x56,
    /* Status Code 0, "ok!" */
    0x00, 0x0d, 0x00, 0x05, 0x00, 0x00, 'o', 'k', '!'};

Dhcp6Frame taggedSolicit() {
    auto frame = fromClient(
        SOLICIT, kClient,
        join({clientId(duidLl(kClient)), iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 3600, 7200)),
              iaPd(2, 0, 0, iaPrefix(3600, 7200, 56, switchsim::ipv6("2001:db8:100::")))}));
    frame.vlanTag = 10;
    frame.transactionId = 0x123456;
    return frame;
}

// A REPLY relayed back towards the client.
Dhcp6Frame relayReply() {
    const Bytes reply = message(REPLY, 0x123456, statusCode(0, "ok!"));
    return fromServer(RELAY_REPLY, kServer, kClient,
                      join({interfaceId({'p', '3'}), remoteId(32473, {0xab}), relayMessageOption(reply)}));
}

Bytes slice(const Bytes &bytes, size_t from, size_t size) {
    return {bytes.begin() + static_cast<ptrdiff_t>(from),
            bytes.begin() + static_cast<ptrdiff_t>(from + size)};
}

TEST(Dhcp6FrameBuilderTest, BuildsTheHandWrittenSolicitAndARelayReplyWithTheRelayHeaderAndOptions) {
    EXPECT_THAT(buildDhcp6Frame(taggedSolicit()).bytes, ElementsAreArray(kHandWrittenSolicit));
    const auto built = buildDhcp6Frame(relayReply());
    EXPECT_THAT(slice(built.bytes, built.info.payloadOffset, built.bytes.size() - built.info.payloadOffset),
                ElementsAreArray(kHandWrittenRelayReply));
    // Unicast from the server to the client, relay port to relay port.
    EXPECT_THAT(slice(built.bytes, 0, 12),
                ElementsAreArray<uint8_t>({0, 0, 0x5e, 0, 0x53, 1, 0, 0, 0x5e, 0, 0x53, 2}));
    EXPECT_THAT(slice(built.bytes, 54, 4), ElementsAreArray<uint8_t>({0x02, 0x23, 0x02, 0x23}));
}

// Offsets behind an untagged Ethernet header, a tag moves them 4 bytes on; the low bytes of the lengths of
// the frames here neither overflow nor underflow by one.
constexpr size_t kPayloadLengthAt = 14 + 4, kUdpLengthAt = 14 + 40 + 4, kChecksumAt = 14 + 40 + 6;

Bytes solicit(const Bytes &options = clientId(duidLl(kClient))) {
    return buildDhcp6Frame(fromClient(SOLICIT, kClient, options)).bytes;
}

Bytes changed(Bytes frame, const std::function<void(Bytes &)> &change) {
    change(frame);
    return frame;
}

TEST(FrameCheckTest, BuiltFramesAreSoundAndEachMutationIsNamed) {
    const Bytes options = join({clientId(duidLl(kClient)), elapsedTime(0)});
    const Bytes lastOptionCut(options.begin(), options.end() - 1);
    // A SOLICIT whose checksum computes to 0, which goes out as 0xFFFF: its Elapsed Time word, the first
    // word of the options' data, is set to the checksum computed with it at 0, which makes the sum all ones.
    const Bytes first = solicit(elapsedTime(0));
    const Bytes zero =
        solicit(elapsedTime(static_cast<uint16_t>(first[kChecksumAt] << 8 | first[kChecksumAt + 1])));
    ASSERT_EQ(zero[kChecksumAt] << 8 | zero[kChecksumAt + 1], 0xFFFF);
    Bytes twoTags = kHandWrittenSolicit;
    twoTags.insert(twoTags.begin() + 12, {0x81, 0x00, 0x00, 0x14});

    // Each frame with a part of its fault's text, or nothing for a sound frame.
    const std::vector<std::pair<Bytes, const char *>> cases = {
        {kHandWrittenSolicit, nullptr},
        {buildDhcp6Frame(relayReply()).bytes, nullptr},  // options after its 34-byte header
        {zero, nullptr},                                 // checksum computed 0, sent as 0xFFFF
        {changed(solicit(), [](Bytes &f) { ++f[kPayloadLengthAt + 1]; }), "IPv6 payload length"},
        {changed(solicit(), [](Bytes &f) { f.push_back(0); }), "IPv6 payload length"},
        {changed(solicit(), [](Bytes &f) { ++f[kUdpLengthAt + 1]; }), "UDP length"},
        {changed(kHandWrittenSolicit, [](Bytes &f) { --f[kUdpLengthAt + 4 + 1]; }), "UDP length"},
        {changed(kHandWrittenSolicit, [](Bytes &f) { f[kChecksumAt + 4 + 1] ^= 0x01; }), "UDP checksum 0x"},
        {changed(zero, [](Bytes &f) { f[kChecksumAt] = f[kChecksumAt + 1] = 0; }), "UDP checksum 0,"},
        {solicit(lastOptionCut), "option 8 at frame offset 80 claims 2 data bytes, but only 1"},
        {solicit(join({options, Bytes(1)})), "1 byte(s) at frame offset 86"},
        {twoTags, "more than one VLAN tag"},
        {changed(solicit(), [](Bytes &f) { f[14 + 6] = 0; }), "next header 0"},
        {changed(solicit(), [](Bytes &f) { f.resize(14 + 39); }), "fewer than an IPv6 header"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        const auto &[frame, fault] = cases[i];
        if (fault != nullptr) {
            EXPECT_THAT(switchsim::frameFault(frame), Optional(HasSubstr(fault))) << "case " << i;
        } else {
            EXPECT_EQ(switchsim::frameFault(frame), std::nullopt) << "case " << i;
        }
    }
}

// The daemon reads a relay message's options from byte 4, as every message's, and edits a RELAY_FORWARD
// that way: of one it sends, only the lengths and the checksum are held to the wire format.
TEST(FrameCheckTest, SentRelayForwardIsHeldToItsLengthsAndChecksumOnly) {
    const Bytes cut = Bytes(3);  // an option header cut short
    const Bytes relayForward = buildDhcp6Frame(fromClient(RELAY_FORWARD, kClient, cut)).bytes;
    const Bytes reply = buildDhcp6Frame(fromServer(REPLY, kServer, kClient, cut)).bytes;
    EXPECT_THAT(switchsim::frameFault(relayForward), Optional(HasSubstr("too few for an option header")));
    EXPECT_EQ(switchsim::sentFrameFault(relayForward), std::nullopt);
    EXPECT_THAT(switchsim::sentFrameFault(changed(relayForward, [](Bytes &f) { f.push_back(0); })),
                Optional(HasSubstr("IPv6 payload length")));
    EXPECT_THAT(switchsim::sentFrameFault(reply), Optional(HasSubstr("too few for an option header")));
}

constexpr uint32_t kVlan = 10;

// The stand-in daemon: what it does with each frame it is handed, and at each timer tick.
std::function<void(uint8_t *frame, uint32_t length, const PktRecvInfo &info)> onFrame;
std::function<void()> onTick;
uint32_t queue = 0;

int32_t receive(uint8_t *frame, uint32_t length, PktRecvTag /*tag*/, PktRecvInfo info) {
    onFrame(frame, length, info);
    return 0;
}

int32_t timerTick() {
    onTick();
    return 0;
}

// Registers the stand-in on the switch that exists: its queue, its timer and its hook for DHCPv6 frames.
void registerStandIn() {
    EXPECT_EQ(vosMsgInit("standin", 8, &queue), 0);
    uint32_t timer = 0;
    EXPECT_EQ(vosTimerRegister(1, 1000, timerTick, &timer, 0), 0);
    PktMatchDescriptor descriptor{};
    descriptor.udpPort = kServerPort;
    descriptor.matchFlags = PKT_MATCH_UDP_PORT;
    EXPECT_EQ(smdVDPktRegister(0, &descriptor, 0, receive), 0);
}

void serveNext() {
    std::array<uint8_t, 64> message{};
    vosMsgRecv(queue, message.data(), message.size(), VOS_WAIT_FOREVER, nullptr);
}

TEST(SwitchPlatformTest, FrameComesTwoBytesPastAWordInABufferThatEndsWithIt) {
    switchsim::Switch sw;
    registerStandIn();
    const Bytes frame = solicit();
    // Rounded up to whole words, the buffer of a frame of this size would hold 2 bytes more.
    ASSERT_NE((frame.size() + 2) % 4, 0U);
    uintptr_t address = 0;
    Bytes handed;
    onFrame = [&](uint8_t *bytes, uint32_t length, const PktRecvInfo &) {
        address = reinterpret_cast<uintptr_t>(bytes);
        handed.assign(bytes, bytes + length);
    };
    sw.queueFrame(3, kVlan, frame);
    sw.runUntilIdle(serveNext);
    EXPECT_EQ(address % 4, 2U);
    EXPECT_EQ(handed, frame);
#ifdef SWITCH_TEST_ADDRESS_SANITIZER
    // Reading the byte behind the frame is an overflow of the buffer.
    onFrame = [](uint8_t *bytes, uint32_t length, const PktRecvInfo &) {
        const volatile uint8_t behind = bytes[length];
        static_cast<void>(behind);
    };
    sw.queueFrame(3, kVlan, frame);
    EXPECT_DEATH(sw.runUntilIdle(serveNext), "heap-buffer-overflow");
#endif
}

TEST(SwitchPlatformTest, BrokenFrameSentWhileHandlingASoundOneAborts) {
    enum Handling { delivered, tick, calledDirectly };
    // How the stand-in is made to send; whether the frame handed to it is sound, whether it breaks the frame
    // before sending it on, Switch::keepSentFrames, and whether the process must abort.
    struct Case {
        Handling handling;
        bool soundIn, breakOut, keepFrames, aborts;
    };
    const Case cases[] = {
        {delivered, true, false, true, false},      // sound in, sound out
        {delivered, false, false, true, false},     // broken in, passed on
        {delivered, false, true, true, false},      // broken in, broken out
        {delivered, true, true, true, true},        // sound in, broken out
        {delivered, true, true, false, false},      // the same while frames are not kept
        {tick, true, true, true, true},             // a broken frame of its own at a tick
        {calledDirectly, true, true, true, false},  // the callback called by the test, not by the switch
    };
    for (const Case &c : cases) {
        const auto run = [&c] {
            switchsim::Switch sw;
            sw.keepSentFrames(c.keepFrames);
            registerStandIn();
            Bytes in = solicit();
            in[kChecksumAt] ^= c.soundIn ? 0 : 0xFF;
            const auto sendOn = [&c](Bytes out, const PktRecvInfo &info) {
                out[kPayloadLengthAt + 1] += c.breakOut ? 1 : 0;
                smdVDPktSendPort(out.data(), static_cast<uint32_t>(out.size()), &info, kVlan, 1, 0);
            };
            onFrame = [&sendOn](uint8_t *bytes, uint32_t length, const PktRecvInfo &info) {
                sendOn(Bytes(bytes, bytes + length), info);
            };
            onTick = [&] { sendOn(in, PktRecvInfo{}); };
            if (c.handling == delivered) {
                sw.queueFrame(3, kVlan, in);
            } else if (c.handling == tick) {
                sw.queueTimerTicks(1);
            } else {
                receive(in.data(), static_cast<uint32_t>(in.size()), PktRecvTag{}, PktRecvInfo{});
            }
            sw.runUntilIdle(serveNext);
            return sw.sentFrameCount();
        };
        if (c.aborts) {
            EXPECT_DEATH(run(), "switchsim: the daemon sent a broken frame: IPv6 payload length")
                << "case " << &c - cases;
        } else {
            EXPECT_EQ(run(), 1U) << "case " << &c - cases;
        }
    }
}

TEST(SwitchPlatformTest, AimedFilterFaultFailsOnlyTheMatchingCallsAndCountsOnlyThem) {
    switchsim::Switch sw;
    sw.failFilterCall("FRM_InstallForwardIp6AddrFilterResource_new", -7, 2, {.port = 3, .vlan = kVlan});
    const auto address = switchsim::ipv6("2001:db8::1");
    const struct {
        uint32_t port, vlan;
        int32_t result;
    } cases[] = {{3, 20, 0}, {4, kVlan, 0}, {3, kVlan, -7}, {4, 20, 0}, {3, kVlan, -7}, {3, kVlan, 0}};
    for (const auto &c : cases) {
        EXPECT_EQ(FRM_InstallForwardIp6AddrFilterResource_new(c.port, kClient.data(), address.data(), c.vlan),
                  c.result)
            << "case " << &c - cases;
    }
}

}  // namespace
