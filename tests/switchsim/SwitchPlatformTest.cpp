// What the simulated switch offers the daemon beyond its frames: the facts of the relay information
// options, frames handed over in buffers that end with them, and the rule that a daemon handling a sound
// frame sends only sound frames. A small stand-in registers for DHCPv6 frames the way the daemon does, so
// that the switch is seen through its platform calls alone.

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <vector>

#include "platform/SmdPacketApi.h"
#include "platform/SystemFactsApi.h"
#include "platform/VosApi.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

#if defined(__SANITIZE_ADDRESS__)
#define SWITCH_TEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SWITCH_TEST_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

namespace dhcp6 = switchsim::dhcp6;
using switchsim::Bytes;
using ::testing::ElementsAre;

constexpr uint32_t kVlan = 10;
constexpr size_t kPayloadLengthAt = 14 + 4;
constexpr size_t kChecksumAt = 14 + 40 + 6;
constexpr uint32_t kUntouched = 0xA5A5A5A5;

// The stand-in daemon: what it does with each frame it is handed, and at each timer tick.
std::function<void(uint8_t *frame, uint32_t length, const PktRecvInfo &info)> onFrame;
std::function<void()> onTick;
uint32_t queue = 0;

int32_t receive(uint8_t *frame, uint32_t length, PktRecvTag /*tag*/, PktRecvInfo info) {
    onFrame(frame, length, info);
    return 0;
}

int32_t tick() {
    onTick();
    return 0;
}

void serveNext() {
    std::array<uint8_t, 64> message{};
    vosMsgRecv(queue, message.data(), message.size(), VOS_WAIT_FOREVER, nullptr);
}

// Registers the stand-in on the switch that exists: its queue, its timer and its hook for DHCPv6 frames
// to the server port.
void registerStandIn() {
    EXPECT_EQ(vosMsgInit("standin", 8, &queue), 0);
    uint32_t timer = 0;
    EXPECT_EQ(vosTimerRegister(1, 1000, tick, &timer, 0), 0);
    PktMatchDescriptor descriptor{};
    descriptor.udpPort = dhcp6::kServerPort;
    descriptor.matchFlags = PKT_MATCH_UDP_PORT;
    EXPECT_EQ(smdVDPktRegister(0, &descriptor, 0, receive), 0);
}

Bytes soundSolicit() {
    const auto client = switchsim::mac("00:00:5e:00:53:01");
    return dhcp6::buildDhcp6Frame(
               dhcp6::fromClient(dhcp6::SOLICIT, client, dhcp6::clientId(dhcp6::duidLl(client))))
        .bytes;
}

// Slot, subslot and port of the user's numbering.
std::array<uint32_t, 3> userNumbering(uint32_t port) {
    std::array<uint32_t, 3> number{};
    EXPECT_EQ(smdVDPortSnmpToUser(port, number.data(), number.data() + 1, number.data() + 2), 0);
    return number;
}

TEST(SwitchPlatformTest, SystemFactsHaveDefaultsTakeWhatIsSetAndRefuseBadArguments) {
    switchsim::Switch sw({8, {}});
    std::array<uint8_t, 6> mac{};
    uint32_t ipv4 = kUntouched;
    uint32_t type = kUntouched;
    EXPECT_EQ(getSWByVLAN(10), 10U);
    ASSERT_EQ(getSysMacAdress(mac.data()), 0);
    EXPECT_THAT(mac, ElementsAre(0x00, 0x00, 0x5e, 0x00, 0x53, 0x00));
    ASSERT_EQ(l3ifSwPrimIpGet(10, &ipv4), 0);
    EXPECT_EQ(ipv4, 0U);
    EXPECT_THAT(userNumbering(8), ElementsAre(1U, 0U, 8U));
    ASSERT_EQ(smdVDPortTypeGet(8, &type), 0);
    EXPECT_EQ(type, 2U);

    sw.setSwitchInterface(10, 100);
    sw.setInterfaceIpv4(100, "192.0.2.1");
    sw.setInterfaceIpv4(11, 0x0A000001);
    sw.setSystemMac(switchsim::mac("02:00:00:00:00:99"));
    sw.setUserPortNumbering(3, 2, 1, 17);
    sw.setPortType(3, 12);
    EXPECT_EQ(getSWByVLAN(10), 100U);
    EXPECT_EQ(getSWByVLAN(11), 11U);
    ASSERT_EQ(l3ifSwPrimIpGet(getSWByVLAN(10), &ipv4), 0);
    EXPECT_EQ(ipv4, 0xC0000201U);
    ASSERT_EQ(l3ifSwPrimIpGet(getSWByVLAN(11), &ipv4), 0);
    EXPECT_EQ(ipv4, 0x0A000001U);
    ASSERT_EQ(getSysMacAdress(mac.data()), 0);
    EXPECT_THAT(mac, ElementsAre(0x02, 0, 0, 0, 0, 0x99));
    EXPECT_THAT(userNumbering(3), ElementsAre(2U, 1U, 17U));
    ASSERT_EQ(smdVDPortTypeGet(3, &type), 0);
    EXPECT_EQ(type, 12U);

    // A refused call answers non-zero and writes nothing.
    struct Refused {
        const char *call;
        std::function<int32_t(uint32_t *)> make;
    };
    const std::vector<Refused> refused = {
        {"numbering of port 0", [](uint32_t *out) { return smdVDPortSnmpToUser(0, out, out, out); }},
        {"numbering of port 9", [](uint32_t *out) { return smdVDPortSnmpToUser(9, out, out, out); }},
        {"numbering without a slot", [](uint32_t *out) { return smdVDPortSnmpToUser(1, nullptr, out, out); }},
        {"numbering without a subslot",
         [](uint32_t *out) { return smdVDPortSnmpToUser(1, out, nullptr, out); }},
        {"numbering without a port", [](uint32_t *out) { return smdVDPortSnmpToUser(1, out, out, nullptr); }},
        {"type of port 0", [](uint32_t *out) { return smdVDPortTypeGet(0, out); }},
        {"type of port 9", [](uint32_t *out) { return smdVDPortTypeGet(9, out); }},
        {"type without an output", [](uint32_t *) { return smdVDPortTypeGet(1, nullptr); }},
        {"IPv4 without an output", [](uint32_t *) { return l3ifSwPrimIpGet(100, nullptr); }},
        {"MAC without an output", [](uint32_t *) { return getSysMacAdress(nullptr); }},
    };
    for (const Refused &r : refused) {
        uint32_t out = kUntouched;
        EXPECT_NE(r.make(&out), 0) << r.call;
        EXPECT_EQ(out, kUntouched) << r.call;
    }
    EXPECT_THROW(sw.setUserPortNumbering(9, 1, 0, 9), std::invalid_argument);
    EXPECT_THROW(sw.setPortType(0, 2), std::invalid_argument);
    EXPECT_THROW(sw.setSwitchInterface(4095, 1), std::invalid_argument);
    EXPECT_THROW(sw.setInterfaceIpv4(1, "192.0.2"), std::invalid_argument);
}

TEST(SwitchPlatformTest, FrameComesTwoBytesPastAWordInABufferThatEndsWithIt) {
    switchsim::Switch sw;
    registerStandIn();
    const Bytes frame = soundSolicit();
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
    enum class Handling { delivered, tick, calledDirectly };
    struct Case {
        const char *name;
        Handling handling;
        bool soundIn;     // the frame handed to the stand-in
        bool breakOut;    // whether the stand-in breaks the frame before sending it on
        bool keepFrames;  // Switch::keepSentFrames
        bool aborts;
    };
    const std::vector<Case> cases = {
        {"sound in, sound out", Handling::delivered, true, false, true, false},
        {"broken in, passed on", Handling::delivered, false, false, true, false},
        {"broken in, broken out", Handling::delivered, false, true, true, false},
        {"sound in, broken out", Handling::delivered, true, true, true, true},
        {"sound in, broken out, frames not kept", Handling::delivered, true, true, false, false},
        {"broken frame of its own at a tick", Handling::tick, true, true, true, true},
        {"callback called directly, not by the switch", Handling::calledDirectly, true, true, true, false},
    };
    Bytes broken = soundSolicit();
    broken[kChecksumAt] ^= 0xFF;
    for (const Case &c : cases) {
        const auto run = [&c, &broken] {
            switchsim::Switch sw;
            sw.keepSentFrames(c.keepFrames);
            registerStandIn();
            const Bytes in = c.soundIn ? soundSolicit() : broken;
            const auto sendOn = [&c](Bytes out, const PktRecvInfo &info) {
                if (c.breakOut) {
                    ++out[kPayloadLengthAt + 1];
                }
                smdVDPktSendPort(out.data(), static_cast<uint32_t>(out.size()), &info, kVlan, 1, 0);
            };
            onFrame = [&sendOn](uint8_t *bytes, uint32_t length, const PktRecvInfo &info) {
                sendOn(Bytes(bytes, bytes + length), info);
            };
            onTick = [&] { sendOn(in, PktRecvInfo{}); };
            switch (c.handling) {
                case Handling::delivered:
                    sw.queueFrame(3, kVlan, in);
                    break;
                case Handling::tick:
                    sw.queueTimerTicks(1);
                    break;
                case Handling::calledDirectly: {
                    Bytes copy = in;
                    receive(copy.data(), static_cast<uint32_t>(copy.size()), PktRecvTag{}, PktRecvInfo{});
                    break;
                }
            }
            sw.runUntilIdle(serveNext);
            return sw.sentFrameCount();
        };
        if (c.aborts) {
            EXPECT_DEATH(run(), "switchsim: the daemon sent a broken frame: IPv6 payload length") << c.name;
        } else {
            EXPECT_EQ(run(), 1U) << c.name;
        }
    }
}

}  // namespace
