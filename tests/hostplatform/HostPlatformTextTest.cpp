// The host platform's pure pieces: its settings file and the tagging of frames that leave a port.

#include <string>
#include <vector>

#include "FrameTagging.h"
#include "HostSettings.h"
#include "gtest/gtest.h"

namespace hostplatform {
namespace {

TEST(HostSettings, AFileSetsEveryKeyAndBadLinesAreNamed) {
    std::string error;
    const auto settings = parseSettings(
        "# the test bed\nbridge = sw0\n\nsocket=/tmp/s.sock  # ours\nsocket-group = netadm\ntrace = on\n",
        error);
    ASSERT_TRUE(settings) << error;
    EXPECT_EQ(settings->bridge, "sw0");
    EXPECT_EQ(settings->socketPath, "/tmp/s.sock");
    EXPECT_EQ(settings->socketGroup, "netadm");
    EXPECT_TRUE(settings->trace);

    const std::vector<std::pair<std::string, std::string>> refused = {
        {"bridge\n", "line 1: expected \"key = value\""},
        {"bridge = br0\nports = 4\n", "line 2: unknown setting \"ports\""},
        {"trace = yes\n", "line 1: trace is on or off"},
        {"socket = run/x.sock\n", "line 1: the socket path must be absolute"},
        {"bridge =\n", "line 1: expected \"key = value\""},
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

}  // namespace
}  // namespace hostplatform
