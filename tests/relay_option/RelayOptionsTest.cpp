// The relay options 18 and 37: templates of the user-defined content (what the parser accepts and why it
// refuses, and what a template renders for a packet, which shows where the parser put its literals and
// keywords), and the options added to client messages on their way to the servers, byte for byte as the
// server receives them; every frame the switch sees leave is also re-read by its own decoder.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <utility>

#include "relay_option/OptionRendering.h"
#include "support/SnoopingTest.h"
#include "support/Tshark.h"
#include "switchsim/FrameCheck.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using namespace ::testing;

TEST(TemplateParseTest, AcceptsOrRefusesWithItsCode) {
    const std::string k64(64, 'x');
    // The texts the parser answers 0 for, then those it answers each refusal code for, from 1 on.
    const std::vector<std::string> texts[] = {
        {"%sysname-%port", "%PORT", "vlan%cvlan", "plain-text only", "%clientduid", k64,
         k64 + "%port-" + k64.substr(1),
         "%sysip%sysname%portname%iftype%switchmac%frame%slot%subslot%port%svlan%cvlan%clientduid"},
        {"", "abc%"},
        {"%7", "a%-b", "%%port"},
        {k64 + "y", "%port-" + k64},
        {"%ports", "%clientduidx", "%nothing"},
        {"%port%Port", "%cvlan-%slot/%CVLAN"}};
    int32_t code = 0;
    for (const auto &group : texts) {
        for (const std::string &text : group) {
            OptionTemplate parsed{};
            std::strncpy(parsed.text, text.c_str(), sizeof parsed.text - 1);
            EXPECT_EQ(dhcp6snoopingTemplateParse(&parsed), code) << text;
        }
        ++code;
    }
    EXPECT_EQ(code, TEMPLATE_REPEATED_KEYWORD + 1);
}

class RenderTest : public StartedDaemonTest {
  protected:
    // The rendering of `text` for a packet of VLAN 10 on port 7, or "-1" when it fails.
    std::string render(const char *text, uint32_t space = 512, uint16_t vlan = 10, uint16_t port0 = 6) {
        OptionTemplate parsed{};
        std::strncpy(parsed.text, text, sizeof parsed.text - 1);
        EXPECT_EQ(dhcp6snoopingTemplateParse(&parsed), 0) << text;
        const PacketContext context{vlan, vlan, port0};
        uint8_t out[512] = {};
        uint32_t written = 99;
        const int32_t result = dhcp6snoopingTemplateRender(&parsed, &context, &facts, out, space, &written);
        return result != 0 ? "-1" : std::string(reinterpret_cast<const char *>(out), written);
    }

    RenderFacts facts{0, 1, 0, 7, 0xC0000201, {0x02, 0x1A, 0x2B, 0x80, 0xFF, 0x01}, nullptr, ""};
};

TEST_F(RenderTest, EveryKeywordRendersItsFactWithinTheSpaceAndTheRangesOfThePacket) {
    EXPECT_EQ(render("%cvlan-%port"), "0010-7");
    EXPECT_EQ(render("%svlan/%frame/%sysname/%slot.%subslot"), "4096/0//1.0");
    EXPECT_EQ(render("%sysip %switchmac"), "192.0.2.1 021a2b80ff01");
    EXPECT_EQ(render("%portname:%clientduid"), "ethernet1/0/7:");
    sw.setPortType(7, 7);
    EXPECT_EQ(render("%iftype"), "Unkown");
    sw.setPortType(7, 10);
    EXPECT_EQ(render("%iftype"), "25Gigabit Ethernet");
    // The content must fit the space, and the packet's VLAN and port their ranges.
    EXPECT_EQ(render("%cvlan-%port", 6), "0010-7");
    EXPECT_EQ(render("%cvlan-%port", 5), "-1");
    EXPECT_EQ(render("%port", 512, 4095), "-1");
    EXPECT_EQ(render("%port", 512, 0), "-1");
    EXPECT_EQ(render("%port", 512, 10, 24), "-1");  // PortIndex 25 on a 24-port switch
    EXPECT_EQ(render("%port", 512, 10, 23), "7");
    // The client identifier is copied raw, up to 256 bytes.
    uint8_t duid[4 + 300] = {0, 1, 300 >> 8, 300 & 0xFF};
    std::iota(duid + 4, std::end(duid), uint8_t{0});
    facts.clientId = duid;
    const std::string rendered = render("%clientduid");
    ASSERT_EQ(rendered.size(), 256U);
    EXPECT_EQ(static_cast<uint8_t>(rendered[255]), 255);
    duid[2] = duid[3] = 0;
    EXPECT_EQ(render("id%clientduid"), "id");
}

constexpr uint32_t kPort = 7, kEnterprise = 32473;

class OptionInsertionTest : public SnoopingTest {
  protected:
    static constexpr bool kInterfaceId = true, kRemoteId = false;
    static void enable(bool interfaceId) { ASSERT_EQ(fuzz::enableRelayOption(interfaceId, true), 0); }
    static void format(bool interfaceId, uint32_t code, const Bytes &value) {
        ASSERT_EQ(fuzz::setRelayOptionFormat(interfaceId, code,
                                             {reinterpret_cast<const char *>(value.data()), value.size()}),
                  0);
    }
    static Bytes text(const char *value) { return {value, value + std::strlen(value)}; }
    // The DHCPv6 message of the one frame sent for `frame`, or "dropped"; the switch also checks the sent
    // frame's lengths and checksum.
    Bytes sentMessage(const Dhcp6Frame &frame) {
        sw.clearSentFrames();
        deliver(kPort, frame);
        if (sw.sentFrames().size() != 1) {
            return text("dropped");
        }
        const Bytes &sent = sw.sentFrames()[0].bytes;
        return {sent.begin() + sw.sentFrames()[0].info.payloadOffset, sent.end()};
    }
    // The message of the client with these options.
    [[nodiscard]] Bytes messageOf(uint8_t type, const Bytes &options) const {
        return message(type, fromClient(type, kClient, {}).transactionId, options);
    }
    // What the message sent for a client message with these options gained at its end, or all of it.
    Bytes added(uint8_t type, const Bytes &options = {}) {
        const Bytes sent = sentMessage(fromClient(type, kClient, options));
        const Bytes original = messageOf(type, options);
        const bool grew =
            sent.size() >= original.size() && std::equal(original.begin(), original.end(), sent.begin());
        return grew ? Bytes(sent.begin() + static_cast<long>(original.size()), sent.end()) : sent;
    }
};

// Every frame leaves consistent, those that gain no option too.
TEST_F(OptionInsertionTest, OnlyClientRequestsGainOptionsAndEachFormatGivesItsContentInterfaceIdFirst) {
    EXPECT_THAT(added(SOLICIT), IsEmpty());
    enable(kInterfaceId);
    EXPECT_EQ(added(SOLICIT), interfaceId({0, 7}));
    for (const uint8_t type : {REQUEST, CONFIRM, RENEW, REBIND, INFORMATION_REQUEST}) {
        EXPECT_EQ(added(type).size(), 6U) << int(type);
    }
    for (const uint8_t type : {RELEASE, DECLINE}) {
        const Bytes options = iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 0, 0));
        EXPECT_THAT(added(type, options), IsEmpty()) << int(type);
    }
    enable(kRemoteId);
    EXPECT_EQ(added(REQUEST), join({interfaceId({0, 7}), remoteId(kEnterprise, {0, 7})}));
    ASSERT_EQ(fuzz::enableRelayOption(kInterfaceId, false), 0);

    const std::pair<uint32_t, Bytes> formats[] = {{FORMAT_STRING, text("abc")},
                                                  {FORMAT_IPV4_ADDRESS, {192, 0, 2, 1}},
                                                  {FORMAT_IPV6_ADDRESS, Bytes(16, 0xAB)}};
    for (const auto &[code, value] : formats) {
        format(kRemoteId, code, value);
        EXPECT_EQ(added(RENEW), remoteId(kEnterprise, value)) << "format " << code;
    }
    format(kRemoteId, FORMAT_USER_DEFINED, text("%cvlan-%port"));
    EXPECT_EQ(added(RENEW), remoteId(kEnterprise, text("0010-7")));
    // No template in force: the system MAC as text.
    sw.setSystemMac(switchsim::mac("02:1a:2b:80:ff:01"));
    format(kRemoteId, FORMAT_DEFAULT, {});
    ASSERT_EQ(fuzz::setRelayOptionFormat(kRemoteId, FORMAT_USER_DEFINED), TEMPLATE_EMPTY_OR_TRAILING_PERCENT);
    EXPECT_EQ(added(CONFIRM), remoteId(kEnterprise, text("021a2b80ff01")));
}

TEST_F(OptionInsertionTest, ExistingOptionIsReplacedKeptOrMakesTheMessageDrop) {
    enable(kInterfaceId);
    const Bytes longOld = interfaceId(Bytes(20, 'x'));
    const Bytes elapsed = elapsedTime(5);
    // Replaced: the options after it move up, the new one goes last; the message shrinks by 18 bytes.
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, join({longOld, elapsed}))),
              messageOf(SOLICIT, join({elapsed, interfaceId({0, 7})})));
    infoOptionConfig.strategy = STRATEGY_KEEP;
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, join({longOld, elapsed}))),
              messageOf(SOLICIT, join({longOld, elapsed})));
    infoOptionConfig.strategy = STRATEGY_DROP;
    traceOn();
    EXPECT_EQ(sentMessage(fromClient(SOLICIT, kClient, longOld)), text("dropped"));
    EXPECT_THAT(traces(), Contains("\r\n information option strategy = drop, drop dhcp request message "));
}

TEST_F(OptionInsertionTest, OptionsAreaStopsAt1500AndFramesAt2048) {
    enable(kInterfaceId);
    format(kInterfaceId, FORMAT_STRING, text("abcdefgh"));  // a 12-byte option
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
    enable(kInterfaceId);
    // Pick the transaction id that makes the sum come out at zero: the checksum then reads FF FF.
    for (uint32_t id = 0; id < 0x10000; ++id) {
        Dhcp6Frame frame = fromClient(SOLICIT, kClient, {});
        frame.transactionId = id;
        sw.clearSentFrames();
        deliver(kPort, frame);
        const Bytes &sent = sw.sentFrames().at(0).bytes;
        const uint32_t udp = sw.sentFrames()[0].info.payloadOffset - 8;
        if (sent[udp + 6] == 0xFF && sent[udp + 7] == 0xFF) {
            if (tsharkInstalled()) {
                EXPECT_THAT(tsharkFields({sent}, {"udp.checksum.status"}), ElementsAre(ElementsAre("1")));
            }
            return;
        }
    }
    ADD_FAILURE() << "no transaction id gave a computed checksum of 0";
}

// tshark, a decoder nobody here wrote, finds both options where they belong, calls the checksum good, and
// does look: a flipped checksum bit it calls bad, as frameFault does.
TEST_F(OptionInsertionTest, WiresharkReadsBothOptionsAndJudgesTheChecksumAsFrameFaultDoes) {
    if (!tsharkInstalled()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    enable(kInterfaceId);
    enable(kRemoteId);
    format(kInterfaceId, FORMAT_USER_DEFINED, text("%portname"));
    format(kRemoteId, FORMAT_STRING, text("abc"));
    deliver(kPort, fromClient(SOLICIT, kClient, clientId(duidLl(kClient))));
    ASSERT_EQ(sw.sentFrames().size(), 1U);
    Bytes flipped = sw.sentFrames()[0].bytes;
    flipped[sw.sentFrames()[0].info.payloadOffset - 1] ^= 0x01;  // the low byte of the UDP checksum
    EXPECT_TRUE(switchsim::frameFault(flipped).has_value());
    const auto rows = tsharkFields({sw.sentFrames()[0].bytes, flipped},
                                   {"udp.checksum.status", "dhcpv6.interface_id",
                                    "dhcpv6.remoteid.enterprise", "dhcpv6.remoteid_enterprise_id"});
    // "ethernet1/0/7" in hex, the enterprise number and "abc".
    const auto options = [](const char *status) {
        return ElementsAre(status, "65746865726e6574312f302f37", "32473", "616263");
    };
    EXPECT_THAT(rows, ElementsAre(options("1"), options("0")));
}

}  // namespace
