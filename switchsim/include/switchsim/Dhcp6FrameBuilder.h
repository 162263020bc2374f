#pragma once
// Builds DHCPv6 messages and the Ethernet frames that carry them, together with the offsets the packet
// engine reports when it hands such a frame to the daemon. Every multi-byte field is big-endian; a length
// that does not fit its field throws std::invalid_argument.

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "platform/SmdPacketApi.h"
#include "switchsim/FrameBuilder.h"

namespace switchsim::dhcp6 {

// Message types (RFC 8415) and UDP ports.
inline constexpr uint8_t SOLICIT = 1, ADVERTISE = 2, REQUEST = 3, CONFIRM = 4, RENEW = 5, REBIND = 6,
                         REPLY = 7, RELEASE = 8, DECLINE = 9, RECONFIGURE = 10, INFORMATION_REQUEST = 11,
                         RELAY_FORWARD = 12, RELAY_REPLY = 13;
inline constexpr uint16_t kClientPort = 546, kServerPort = 547;

// Option encoders: each returns the whole option, 4-byte header (code, length, big-endian) included.
Bytes option(uint16_t code, const Bytes &data);  // any option, raw data
Bytes clientId(const Bytes &duid);               // code 1
Bytes serverId(const Bytes &duid);               // code 2
Bytes iaAddress(const Ipv6Bytes &address, uint32_t preferred, uint32_t valid,
                const Bytes &options = {});                                      // code 5
Bytes iaNa(uint32_t iaid, uint32_t t1, uint32_t t2, const Bytes &options = {});  // code 3
Bytes iaPrefix(uint32_t preferred, uint32_t valid, uint8_t prefixLength, const Ipv6Bytes &prefix,
               const Bytes &options = {});                                       // code 26
Bytes iaPd(uint32_t iaid, uint32_t t1, uint32_t t2, const Bytes &options = {});  // code 25
Bytes elapsedTime(uint16_t hundredths);                                          // code 8
Bytes relayMessageOption(const Bytes &message);                                  // code 9
Bytes statusCode(uint16_t code, std::string_view message = {});                  // code 13
Bytes interfaceId(const Bytes &id);                                              // code 18
Bytes remoteId(uint32_t enterpriseNumber, const Bytes &id);                      // code 37
// Concatenation of options (or any byte strings), in order.
Bytes join(std::initializer_list<Bytes> parts);
// A DUID-LL (type 3, hardware type 1) for a MAC, the usual client identifier data.
Bytes duidLl(const MacAddress &mac);

// The DHCPv6 message: msg-type, 24-bit transaction id, options area. A transaction id over 24 bits throws.
Bytes message(uint8_t type, uint32_t transactionId, const Bytes &options);
// A relay agent's message: msg-type, hop-count, link-address, peer-address, options area.
Bytes relayMessage(uint8_t type, uint8_t hopCount, const Ipv6Bytes &linkAddress, const Ipv6Bytes &peerAddress,
                   const Bytes &options);

struct Dhcp6Frame {
    MacAddress destinationMac{};
    MacAddress sourceMac{};
    std::optional<uint16_t> vlanTag;  // an 802.1Q tag with this VLAN id
    Ipv6Bytes sourceIp{};
    Ipv6Bytes destinationIp{};
    uint16_t sourcePort = kClientPort;
    uint16_t destinationPort = kServerPort;
    uint8_t messageType = SOLICIT;
    uint32_t transactionId = 0x00C0FFEE & 0xFFFFFF;
    // RELAY_FORWARD and RELAY_REPLY carry these instead of a transaction id.
    uint8_t hopCount = 0;
    Ipv6Bytes linkAddress{};
    Ipv6Bytes peerAddress{};
    Bytes options;
};

// A client message to All_DHCP_Relay_Agents_and_Servers: from the client's link-local address derived from
// its MAC (modified EUI-64) to ff02::1:2, destination MAC 33:33:00:01:00:02, UDP 546 -> 547.
Dhcp6Frame fromClient(uint8_t type, const MacAddress &client, Bytes options);
// A server (or relay) message to a client: from the server's link-local address to the client's link-local
// address, unicast MACs server -> client, UDP 547 -> 546 (for RELAY_FORWARD/RELAY_REPLY use 547 -> 547, with
// the client's link-local address as peer-address).
Dhcp6Frame fromServer(uint8_t type, const MacAddress &server, const MacAddress &client, Bytes options);

// The frame as the packet engine hands it over, and the offsets that the engine reports with it.
struct BuiltFrame {
    Bytes bytes;
    PktRecvInfo info;  // etherTypeOffset and payloadOffset filled exactly as the simulated packet engine
                       // fills them; frameKind 0, as Switch::queueFrame's default
};
BuiltFrame buildDhcp6Frame(const Dhcp6Frame &frame);

// The modified EUI-64 link-local address (fe80::/64) of an interface with this MAC.
Ipv6Bytes linkLocal(const MacAddress &mac);

}  // namespace switchsim::dhcp6
