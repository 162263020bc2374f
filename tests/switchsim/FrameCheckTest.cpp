// The reading that holds every frame the daemon sends to the wire format: sound frames of the builder pass,
// and each way a frame can go wrong is caught and named.

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/FrameBuilder.h"
#include "switchsim/FrameCheck.h"

namespace {

namespace dhcp6 = switchsim::dhcp6;
using switchsim::Bytes;
using ::testing::HasSubstr;
using ::testing::Optional;

const switchsim::MacAddress kClient = switchsim::mac("00:00:5e:00:53:01");
const switchsim::MacAddress kServer = switchsim::mac("00:00:5e:00:53:02");
constexpr uint16_t kVlan = 10;

// Offsets behind an untagged Ethernet header; a tag moves them 4 bytes on.
constexpr size_t kPayloadLengthAt = 14 + 4;
constexpr size_t kUdpLengthAt = 14 + 40 + 4;
constexpr size_t kChecksumAt = 14 + 40 + 6;

Bytes built(const dhcp6::Dhcp6Frame &frame) {
    return dhcp6::buildDhcp6Frame(frame).bytes;
}

Bytes solicit(const Bytes &options = dhcp6::clientId(dhcp6::duidLl(kClient))) {
    return built(dhcp6::fromClient(dhcp6::SOLICIT, kClient, options));
}

// A client message on VLAN 10 that carries the relay options the daemon adds.
Bytes taggedWithRelayOptions() {
    auto frame = dhcp6::fromClient(
        dhcp6::REQUEST, kClient,
        dhcp6::join({dhcp6::clientId(dhcp6::duidLl(kClient)), dhcp6::interfaceId({'e', 't', 'h', '7'}),
                     dhcp6::remoteId(32473, {1, 2, 3})}));
    frame.vlanTag = kVlan;
    return built(frame);
}

Bytes relayForward() {
    return built(
        dhcp6::fromServer(dhcp6::RELAY_FORWARD, kServer, kClient,
                          dhcp6::join({dhcp6::interfaceId({'p', '3'}),
                                       dhcp6::relayMessageOption(dhcp6::message(dhcp6::SOLICIT, 1, {}))})));
}

// A SOLICIT whose checksum computes to 0, which goes out as 0xFFFF: its Elapsed Time word, the first word
// of the options' data, is set to the checksum computed with it at 0, which makes the sum all ones.
Bytes checksumComputedZero() {
    const Bytes first = solicit(dhcp6::elapsedTime(0));
    const auto word = static_cast<uint16_t>(first[kChecksumAt] << 8 | first[kChecksumAt + 1]);
    return solicit(dhcp6::elapsedTime(word));
}

// A UDP datagram to the server port carrying these bytes as its DHCPv6 message, lengths and checksum
// correct, so that only the message can be wrong.
Bytes sealedMessage(const Bytes &message) {
    switchsim::Udp6Frame frame;
    frame.sourceMac = kClient;
    frame.destinationMac = switchsim::mac("33:33:00:01:00:02");
    frame.sourceIp = dhcp6::linkLocal(kClient);
    frame.destinationIp = switchsim::ipv6("ff02::1:2");
    frame.sourcePort = dhcp6::kClientPort;
    frame.destinationPort = dhcp6::kServerPort;
    frame.payload = message;
    return switchsim::buildUdp6Frame(frame);
}

void add16(Bytes &frame, size_t at, int delta) {
    const int value = (frame[at] << 8 | frame[at + 1]) + delta;
    frame[at] = static_cast<uint8_t>(value >> 8);
    frame[at + 1] = static_cast<uint8_t>(value);
}

Bytes changed(Bytes frame, const std::function<void(Bytes &)> &change) {
    change(frame);
    return frame;
}

TEST(FrameCheckTest, BuiltFramesAreSoundAndEachMutationIsNamed) {
    const Bytes options = dhcp6::join({dhcp6::clientId(dhcp6::duidLl(kClient)), dhcp6::elapsedTime(0)});
    const Bytes lastOptionCut(options.begin(), options.end() - 1);
    const auto withTrailing = [&](size_t count) {
        Bytes bytes = options;
        bytes.insert(bytes.end(), count, 0);
        return solicit(bytes);
    };
    const Bytes zero = checksumComputedZero();
    ASSERT_EQ(zero[kChecksumAt] << 8 | zero[kChecksumAt + 1], 0xFFFF);

    struct Case {
        const char *name;
        Bytes frame;
        std::optional<std::string> fault;  // a part of the fault's text; nothing for a sound frame
    };
    const std::vector<Case> cases = {
        {"solicit", solicit(), std::nullopt},
        {"tagged, with Interface-ID and Remote-ID", taggedWithRelayOptions(), std::nullopt},
        {"relay-forward, options after its 34-byte header", relayForward(), std::nullopt},
        {"checksum computed 0, sent as 0xFFFF", zero, std::nullopt},
        {"no options at all", solicit({}), std::nullopt},
        {"payload length + 1", changed(solicit(), [](Bytes &f) { add16(f, kPayloadLengthAt, 1); }),
         "IPv6 payload length"},
        {"payload length - 1, tagged",
         changed(taggedWithRelayOptions(), [](Bytes &f) { add16(f, kPayloadLengthAt + 4, -1); }),
         "IPv6 payload length"},
        {"a byte after the datagram", changed(solicit(), [](Bytes &f) { f.push_back(0); }),
         "IPv6 payload length"},
        {"UDP length + 1", changed(solicit(), [](Bytes &f) { add16(f, kUdpLengthAt, 1); }), "UDP length"},
        {"UDP length - 1, tagged",
         changed(taggedWithRelayOptions(), [](Bytes &f) { add16(f, kUdpLengthAt + 4, -1); }), "UDP length"},
        {"checksum byte flipped, tagged",
         changed(taggedWithRelayOptions(), [](Bytes &f) { f[kChecksumAt + 4 + 1] ^= 0x01; }),
         "UDP checksum 0x"},
        {"checksum 0 where 0xFFFF belongs",
         changed(zero, [](Bytes &f) { f[kChecksumAt] = f[kChecksumAt + 1] = 0; }), "UDP checksum 0,"},
        {"last option cut by a byte", solicit(lastOptionCut),
         "option 8 at frame offset 80 claims 2 data bytes, but only 1"},
        {"1 byte after the last option", withTrailing(1), "1 byte(s) at frame offset 86"},
        {"2 bytes after the last option", withTrailing(2), "2 byte(s) at frame offset 86"},
        {"3 bytes after the last option", withTrailing(3), "3 byte(s) at frame offset 86"},
        {"relay-forward shorter than its header",
         sealedMessage(dhcp6::message(dhcp6::RELAY_FORWARD, 0, Bytes(29))),
         "shorter than its 34-byte header"},
        {"two VLAN tags",
         changed(taggedWithRelayOptions(),
                 [](Bytes &f) {
                     f.insert(f.begin() + 12, {0x81, 0x00, 0x00, 0x14});
                 }),
         "more than one VLAN tag"},
        {"next header not UDP", changed(solicit(), [](Bytes &f) { f[14 + 6] = 0; }), "next header 0"},
        {"ends inside the IPv6 header", changed(solicit(), [](Bytes &f) { f.resize(14 + 39); }),
         "fewer than an IPv6 header"},
    };
    for (const Case &c : cases) {
        if (c.fault) {
            EXPECT_THAT(switchsim::frameFault(c.frame), Optional(HasSubstr(*c.fault))) << c.name;
        } else {
            EXPECT_EQ(switchsim::frameFault(c.frame), std::nullopt) << c.name;
        }
    }
}

}  // namespace
