// tshark, a decoder nobody here wrote, reads frames of the builder: it finds the relay options where they
// belong and verifies the UDP checksum as frameFault does, and it does look, since it calls a wrong
// checksum bad.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/Tshark.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/FrameCheck.h"

namespace {

namespace dhcp6 = switchsim::dhcp6;
using switchsim::Bytes;
using ::testing::ElementsAre;

constexpr size_t kChecksumAt = 14 + 4 + 40 + 6;  // behind an 802.1Q tag
// udp.checksum.status as tshark prints it.
const std::string kBad = "0";
const std::string kGood = "1";

// The text of tshark's hex form of a byte field ("65746837" -> "eth7").
std::string textOfHex(const std::string &hex) {
    std::string text;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return text;
}

dhcp6::Dhcp6Frame taggedSolicit(const Bytes &options) {
    const auto client = switchsim::mac("00:00:5e:00:53:01");
    auto frame = dhcp6::fromClient(dhcp6::SOLICIT, client, options);
    frame.vlanTag = 10;
    return frame;
}

TEST(TsharkOracleTest, ReadsTheRelayOptionsAndJudgesChecksumsAsFrameFaultDoes) {
    if (!tsharkInstalled()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    const Bytes relayOptions =
        dhcp6::join({dhcp6::interfaceId({'e', 't', 'h', '7'}), dhcp6::remoteId(32473, {1, 2, 3})});
    const Bytes sound = dhcp6::buildDhcp6Frame(taggedSolicit(relayOptions)).bytes;
    Bytes wrongChecksum = sound;
    wrongChecksum[kChecksumAt + 1] ^= 0x01;
    // Elapsed Time set to the checksum computed with it at 0 makes the sum all ones: the checksum computes
    // to 0 and goes out as 0xFFFF.
    const Bytes first = dhcp6::buildDhcp6Frame(taggedSolicit(dhcp6::elapsedTime(0))).bytes;
    const auto word = static_cast<uint16_t>(first[kChecksumAt] << 8 | first[kChecksumAt + 1]);
    const Bytes computedZero = dhcp6::buildDhcp6Frame(taggedSolicit(dhcp6::elapsedTime(word))).bytes;
    ASSERT_EQ(computedZero[kChecksumAt] << 8 | computedZero[kChecksumAt + 1], 0xFFFF);

    const std::vector<Bytes> frames = {sound, wrongChecksum, computedZero};
    const auto rows = tsharkFields(frames, {"udp.checksum.status", "dhcpv6.msgtype", "dhcpv6.interface_id",
                                            "dhcpv6.remoteid.enterprise", "dhcpv6.remoteid_enterprise_id"});
    ASSERT_EQ(rows.size(), frames.size());
    for (const auto &row : rows) {
        ASSERT_EQ(row.size(), 5U);
    }
    EXPECT_THAT(rows[0], ElementsAre(kGood, "1", "65746837", "32473", "010203"));
    EXPECT_EQ(textOfHex(rows[0][2]), "eth7");
    EXPECT_EQ(rows[1][0], kBad);
    EXPECT_EQ(rows[2][0], kGood);
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(switchsim::frameFault(frames[i]).has_value(), rows[i][0] == kBad) << "frame " << i;
    }
}

}  // namespace
