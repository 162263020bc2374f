// The DHCPv6 frame builder feeds every snooping test; these tests hold it to hand-written bytes.

#include <gmock/gmock.h>

#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"

namespace {

namespace dhcp6 = switchsim::dhcp6;
using switchsim::Bytes;
using ::testing::ElementsAreArray;

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

dhcp6::Dhcp6Frame taggedSolicit() {
    auto frame = dhcp6::fromClient(
        dhcp6::SOLICIT, kClient,
        dhcp6::join(
            {dhcp6::clientId(dhcp6::duidLl(kClient)),
             dhcp6::iaNa(1, 0, 0, dhcp6::iaAddress(switchsim::ipv6("2001:db8::1"), 3600, 7200)),
             dhcp6::iaPd(2, 0, 0, dhcp6::iaPrefix(3600, 7200, 56, switchsim::ipv6("2001:db8:100::")))}));
    frame.vlanTag = 10;
    frame.transactionId = 0x123456;
    return frame;
}

// A REPLY relayed back towards the client.
dhcp6::Dhcp6Frame relayReply() {
    const Bytes reply = dhcp6::message(dhcp6::REPLY, 0x123456, dhcp6::statusCode(0, "ok!"));
    return dhcp6::fromServer(dhcp6::RELAY_REPLY, kServer, kClient,
                             dhcp6::join({dhcp6::interfaceId({'p', '3'}), dhcp6::remoteId(32473, {0xab}),
                                          dhcp6::relayMessageOption(reply)}));
}

Bytes slice(const Bytes &bytes, size_t from, size_t size) {
    return {bytes.begin() + static_cast<ptrdiff_t>(from),
            bytes.begin() + static_cast<ptrdiff_t>(from + size)};
}

TEST(Dhcp6FrameBuilderTest, BuildsTheHandWrittenSolicit) {
    EXPECT_THAT(dhcp6::buildDhcp6Frame(taggedSolicit()).bytes, ElementsAreArray(kHandWrittenSolicit));
}

TEST(Dhcp6FrameBuilderTest, RelayReplyCarriesTheRelayHeaderAndTheRelayOptions) {
    const auto built = dhcp6::buildDhcp6Frame(relayReply());
    EXPECT_THAT(slice(built.bytes, built.info.payloadOffset, built.bytes.size() - built.info.payloadOffset),
                ElementsAreArray(kHandWrittenRelayReply));
    // Unicast from the server to the client, relay port to relay port.
    EXPECT_THAT(slice(built.bytes, 0, 12),
                ElementsAreArray<uint8_t>({0, 0, 0x5e, 0, 0x53, 1, 0, 0, 0x5e, 0, 0x53, 2}));
    EXPECT_THAT(slice(built.bytes, 54, 4), ElementsAreArray<uint8_t>({0x02, 0x23, 0x02, 0x23}));
}

}  // namespace
