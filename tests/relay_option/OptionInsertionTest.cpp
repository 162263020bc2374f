// Options 18 and 37 added to client messages on their way to the servers, byte for byte as the server
// receives them; every frame the switch sees leave is also re-read by its own decoder.

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <string>

#include "relay_option/InfoOptionConfig.h"
#include "support/SnoopingTest.h"
#include "support/Tshark.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr uint32_t kPort = 7;
// 00 25, length, enterprise number 32473.
const Bytes kRemoteIdHead = {0x00, 0x25, 0x00, 0x06, 0x00, 0x00, 0x7E, 0xD9};

int32_t set(uint32_t selector, const std::function<void(InfoOptionConfig &)> &fill) {
    InfoOptionConfig config{};
    fill(config);
    return dhcp6snoopingGlobalDhcp6InfoCfg(selector, &config);
}

void enable(uint32_t selector) {
    ASSERT_EQ(set(selector, [](InfoOptionConfig &c) { c.interfaceIdEnable = c.remoteIdEnable = 1; }), 0);
}

void format(uint32_t selector, uint32_t code, const Bytes &value) {
    ASSERT_EQ(set(selector,
                  [&](InfoOptionConfig &c) {
                      c.interfaceIdFormat = c.remoteIdFormat = code;
                      std::memcpy(c.interfaceIdValue, value.data(), value.size());
                      std::memcpy(c.remoteIdValue, value.data(), value.size());
                  }),
              0);
}

Bytes text(const char *value) {
    return {value, value + std::strlen(value)};
}

class OptionInsertionTest : public SnoopingTest {
  protected:
    // The bytes the one frame sent for `message` gained or lost at its end, from the message's start; the
    // sent frame must also agree with its lengths and checksum.
    Bytes sentMessage(const Dhcp6Frame &frame) {
        sw.clearSentFrames();
        deliver(kPort, frame);
        if (sw.sentFrames().size() != 1) {
            return text("dropped");
        }
        const Bytes &sent = sw.sentFrames()[0].bytes;
        const uint32_t payload = sw.sentFrames()[0].info.payloadOffset;
        return {sent.begin() + payload, sent.end()};
    }
    Bytes added(uint8_t type, const Bytes &options = {}) {
        const Bytes message = sentMessage(fromClient(type, kClient, options));
        const Bytes original =
            switchsim::dhcp6::message(type, fromClient(type, kClient, {}).transactionId, options);
        if (message.size() < original.size() ||
            !std::equal(original.begin(), original.end(), message.begin())) {
            return message;
        }
        return {message.begin() + static_cast<long>(original.size()), message.end()};
    }
};

TEST_F(OptionInsertionTest, EachFormatGivesItsContentInterfaceIdFirst) {
    EXPECT_THAT(added(SOLICIT), IsEmpty());
    enable(SELECT_INTERFACE_ID_ENABLE);
    EXPECT_EQ(added(SOLICIT), (Bytes{0x00, 0x12, 0x00, 0x02, 0x00, 0x07}));
    enable(SELECT_REMOTE_ID_ENABLE);
    EXPECT_EQ(added(REQUEST), (Bytes{0x00, 0x12, 0x00, 0x02, 0x00, 0x07, 0x00, 0x25, 0x00, 0x06, 0x00, 0x00,
                                     0x7E, 0xD9, 0x00, 0x07}));
    ASSERT_EQ(set(SELECT_INTERFACE_ID_ENABLE, [](InfoOptionConfig &c) { c.interfaceIdEnable = 0; }), 0);

    const struct {
        uint32_t format;
        Bytes value;
        Bytes content;
    } formats[] = {
        {FORMAT_STRING, text("abc"), text("abc")},
        {FORMAT_IPV4_ADDRESS, {192, 0, 2, 1}, {192, 0, 2, 1}},
        {FORMAT_IPV6_ADDRESS, Bytes(16, 0xAB), Bytes(16, 0xAB)},
        {FORMAT_USER_DEFINED, text("%cvlan-%port"), text("0010-7")},
    };
    for (const auto &f : formats) {
        format(SELECT_REMOTE_ID_FORMAT, f.format, f.value);
        Bytes expected = kRemoteIdHead;
        expected[3] = static_cast<uint8_t>(4 + f.content.size());
        expected.insert(expected.end(), f.content.begin(), f.content.end());
        EXPECT_EQ(added(RENEW), expected) << "format " << f.format;
    }
    // No template in force: the system MAC as text.
    sw.setSystemMac(switchsim::mac("02:1a:2b:80:ff:01"));
    ASSERT_EQ(set(SELECT_REMOTE_ID_FORMAT, [](InfoOptionConfig &c) { c.remoteIdFormat = FORMAT_DEFAULT; }),
              0);
    ASSERT_EQ(
        set(SELECT_REMOTE_ID_FORMAT, [](InfoOptionConfig &c) { c.remoteIdFormat = FORMAT_USER_DEFINED; }),
        TEMPLATE_EMPTY_OR_TRAILING_PERCENT);
    Bytes expected = kRemoteIdHead;
    expected[3] = 16;
    const Bytes mac = text("021a2b80ff01");
    expected.insert(expected.end(), mac.begin(), mac.end());
    EXPECT_EQ(added(CONFIRM), expected);
}

TEST_F(OptionInsertionTest, OnlyClientRequestsGainOptionsButEveryFrameLeavesConsistent) {
    enable(SELECT_INTERFACE_ID_ENABLE);
    for (const uint8_t type : {SOLICIT, REQUEST, CONFIRM, RENEW, REBIND, INFORMATION_REQUEST}) {
        EXPECT_EQ(added(type).size(), 6U) << int(type);
    }
    for (const uint8_t type : {RELEASE, DECLINE}) {
        const Bytes options = iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 0, 0));
        EXPECT_THAT(added(type, options), IsEmpty()) << int(type);
    }
}

TEST_F(OptionInsertionTest, ExistingOptionIsReplacedKeptOrMakesTheMessageDrop) {
    enable(SELECT_INTERFACE_ID_ENABLE);
    const Bytes longOld = interfaceId(Bytes(20, 'x'));
    const Bytes elapsed = elapsedTime(5);
    // Replaced: the options after it move up, the new one goes last; the message shrinks by 18 bytes.
    const Bytes replaced = sentMessage(fromClient(SOLICIT, kClient, join({longOld, elapsed})));
    const Bytes expectedEnd = join({elapsed, Bytes{0x00, 0x12, 0x00, 0x02, 0x00, 0x07}});
    ASSERT_EQ(replaced.size(), 4 + expectedEnd.size());
    EXPECT_TRUE(std::equal(expectedEnd.begin(), expectedEnd.end(), replaced.begin() + 4));

    infoOptionConfig.strategy = STRATEGY_KEEP;
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, join({longOld, elapsed}))).size(),
              4 + longOld.size() + elapsed.size());
    infoOptionConfig.strategy = STRATEGY_DROP;
    traceOn();
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, longOld)), text("dropped"));
    EXPECT_THAT(traces(), Contains("\r\n information option strategy = drop, drop dhcp request message "));
}

TEST_F(OptionInsertionTest, OptionsAreaStopsAt1500AndFramesAt2048) {
    enable(SELECT_INTERFACE_ID_ENABLE);
    format(SELECT_INTERFACE_ID_FORMAT, FORMAT_STRING, text("abcdefgh"));  // a 12-byte option
    traceOn();
    // 1486 + 12 = 1498 fits; 1490 + 12 = 1502 does not, and the message goes on without it.
    EXPECT_EQ(added(SOLICIT, option(99, Bytes(1482))).size(), 12U);
    EXPECT_THAT(added(SOLICIT, option(99, Bytes(1486))), IsEmpty());
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 information option 18/37 add failed, the packet too long, "
                                   "greater than 1500 after added "));
    // A frame of exactly 2048 bytes is handled (its options area is too long to grow); one more is dropped.
    const size_t headers = buildDhcp6Frame(fromClient(SOLICIT, kClient, {})).bytes.size();
    const Bytes fill = option(99, Bytes(2048 - headers - 4));
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, fill)).size(), 2048 - headers + 4);
    const Bytes tooLong = option(99, Bytes(2049 - headers - 4));
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, tooLong)), text("dropped"));
    EXPECT_THAT(traces(), Contains("\r\n drop packet due to information option processing length"));
}

TEST_F(OptionInsertionTest, ComputedChecksumOfZeroIsSentAsAllOnes) {
    enable(SELECT_INTERFACE_ID_ENABLE);
    // Pick the transaction id that makes the sum come out at zero: the checksum then reads FF FF.
    for (uint32_t id = 0; id < 0x10000; ++id) {
        Dhcp6Frame frame = fromClient(SOLICIT, kClient, {});
        frame.transactionId = id;
        sw.clearSentFrames();
        deliver(kPort, frame);
        const Bytes &sent = sw.sentFrames().at(0).bytes;
        const uint32_t udp = sw.sentFrames()[0].info.payloadOffset - 8;
        if (sent[udp + 6] == 0xFF && sent[udp + 7] == 0xFF) {
            SUCCEED();
            return;
        }
    }
    ADD_FAILURE() << "no transaction id gave a computed checksum of 0";
}

TEST_F(OptionInsertionTest, WiresharkReadsBothOptionsAndAGoodChecksum) {
    if (!tsharkInstalled()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    enable(SELECT_INTERFACE_ID_ENABLE);
    enable(SELECT_REMOTE_ID_ENABLE);
    format(SELECT_INTERFACE_ID_FORMAT, FORMAT_USER_DEFINED, text("%portname"));
    format(SELECT_REMOTE_ID_FORMAT, FORMAT_STRING, text("abc"));
    deliver(kPort, fromClient(SOLICIT, kClient, clientId(duidLl(kClient))));
    ASSERT_EQ(sw.sentFrames().size(), 1U);
    const auto rows = tsharkFields({sw.sentFrames()[0].bytes},
                                   {"udp.checksum.status", "dhcpv6.interface_id",
                                    "dhcpv6.remoteid.enterprise", "dhcpv6.remoteid_enterprise_id"});
    // "ethernet1/0/7" in hex, the enterprise number and "abc".
    EXPECT_THAT(rows, ::testing::ElementsAre(
                          ::testing::ElementsAre("1", "65746865726e6574312f302f37", "32473", "616263")));
}

}  // namespace
