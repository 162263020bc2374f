// The host platform's pure pieces: its settings file, the tagging of frames that leave a port, and the UDP
// checksum of frames a local port sent with the checksum left to the hardware.

#include <string>
#include <vector>

#include "FrameTagging.h"
#include "HostSettings.h"
#include "gtest/gtest.h"
#include "platform_support/Udp6Checksum.h"

namespace hostplatform {
namespace {

TEST(HostSettings, AFileSetsEveryKeyAndBadLinesAreNamed) {
    std::string error;
    const auto settings = parseSettings(
        "# the test bed\nbridge = sw0\n\nsocket=/tmp/s.sock  # ours\nsocket-group = netadm\ntrace = on\n"
        "boot-config = /tmp/boot.conf\nbinding-database = /tmp/db\nmetrics-file = /tmp/m.prom\n"
        "metrics-interval = 30\nagentx-socket = tcp:localhost:705\n",
        error);
    ASSERT_TRUE(settings) << error;
    EXPECT_EQ(settings->bridge, "sw0");
    EXPECT_EQ(settings->socketPath, "/tmp/s.sock");
    EXPECT_EQ(settings->socketGroup, "netadm");
    EXPECT_TRUE(settings->trace);
    EXPECT_EQ(settings->bootConfig, "/tmp/boot.conf");
    EXPECT_EQ(settings->bindingDatabase, "/tmp/db");
    EXPECT_EQ(settings->metricsFile, "/tmp/m.prom");
    EXPECT_EQ(settings->metricsInterval, 30U);
    EXPECT_EQ(settings->agentxSocket, "tcp:localhost:705");

    const std::vector<std::pair<std::string, std::string>> refused = {
        {"bridge\n", "line 1: expected \"key = value\""},
        {"bridge = br0\nports = 4\n", "line 2: unknown setting \"ports\""},
        {"trace = yes\n", "line 1: trace is on or off"},
        {"socket = run/x.sock\n", "line 1: the socket path must be absolute"},
        {"binding-database = db\n", "line 1: the binding-database path must be absolute"},
        {"bridge =\n", "line 1: expected \"key = value\""},
        {"metrics-interval = 0\n", "line 1: metrics-interval is a number of seconds from 1 to 3600"},
        {"metrics-interval = 15s\n", "line 1: metrics-interval is a number of seconds from 1 to 3600"},
    };
    for (const auto &[text, reason] : refused) {
        EXPECT_FALSE(parseSettings(text, error)) << text;
        EXPECT_EQ(error, reason) << text;
    }
}

TEST(FrameTagging, AVlanSentTaggedGetsItsTagBehindTheAddresses) {
    const std::vector<uint8_t> frame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0x86, 0xdd, 0x60};
    std::vector<uint8_t> scratch;
    const auto untagged = egressFrame(frame, 100, true, scratch);
    EXPECT_EQ(untagged.data(), frame.data()) << "an untagged VLAN sends the frame as it is";
    const auto tagged = egressFrame(frame, 0x123, false, scratch);
    const std::vector<uint8_t> expected = {1,  2,  3,    4,    5,    6,    7,    8,    9,   10,
                                           11, 12, 0x81, 0x00, 0x01, 0x23, 0x86, 0xdd, 0x60};
    EXPECT_EQ(std::vector<uint8_t>(tagged.begin(), tagged.end()), expected);
    EXPECT_TRUE(egressFrame(std::span(frame).first(11), 100, false, scratch).empty());
}

// A SOLICIT as scapy builds it, checksum 0xc65d, with a UDP length of 33 so that the last byte stands alone.
const std::vector<uint8_t> kScapySolicit = {
    0x33, 0x33, 0x00, 0x01, 0x00, 0x02, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01, 0x86, 0xdd,  // Ethernet
    0x60, 0x00, 0x00, 0x00, 0x00, 0x21, 0x11, 0x40,                                      // IPv6, UDP next
    0xfe, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x01,  // fe80::1
    0xff, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
    0x00, 0x02,                                      // ff02::1:2
    0x02, 0x22, 0x02, 0x23, 0x00, 0x21, 0xc6, 0x5d,  // UDP 546 to 547, length 33, checksum
    0x01, 0x12, 0x34, 0x56,                          // SOLICIT
    0x00, 0x01, 0x00, 0x0a, 0x00, 0x03, 0x00, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01,  // client id, DUID-LL
    0x00, 0x08, 0x00, 0x02, 0x00, 0x00,                                                  // elapsed time
    0x00};
constexpr size_t kIpOffset = 14;
constexpr size_t kChecksumOffset = 60;

TEST(UdpChecksum, APendingChecksumIsCompletedAsTheSenderWouldHave) {
    for (const uint16_t pending : {0x0000, 0x1234, 0xffff}) {
        auto frame = kScapySolicit;
        frame[kChecksumOffset] = static_cast<uint8_t>(pending >> 8U);
        frame[kChecksumOffset + 1] = static_cast<uint8_t>(pending & 0xFFU);
        EXPECT_TRUE(platform_support::completeUdpChecksum(frame, kIpOffset));
        EXPECT_EQ(frame, kScapySolicit) << "from " << pending;
    }
}

TEST(UdpChecksum, AFrameShorterThanItsHeadersSayIsLeftAlone) {
    auto longer = kScapySolicit;
    longer[kIpOffset + 40 + 5] = 0x22;  // a UDP length one byte past the frame
    auto cut = std::vector<uint8_t>(kScapySolicit.begin(), kScapySolicit.begin() + kIpOffset + 40 + 7);
    for (auto *frame : {&longer, &cut}) {
        const auto before = *frame;
        EXPECT_FALSE(platform_support::completeUdpChecksum(*frame, kIpOffset));
        EXPECT_EQ(*frame, before);
    }
    auto whole = kScapySolicit;
    EXPECT_FALSE(platform_support::completeUdpChecksum(whole, whole.size() + 1));
}

}  // namespace
}  // namespace hostplatform
