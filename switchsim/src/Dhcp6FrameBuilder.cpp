#include "switchsim/Dhcp6FrameBuilder.h"

#include <stdexcept>
#include <utility>

#include "platform_support/FrameLayout.h"

namespace switchsim::dhcp6 {
namespace {

constexpr uint16_t kOptionClientId = 1;
constexpr uint16_t kOptionServerId = 2;
constexpr uint16_t kOptionIaNa = 3;
constexpr uint16_t kOptionIaAddress = 5;
constexpr uint16_t kOptionElapsedTime = 8;
constexpr uint16_t kOptionRelayMessage = 9;
constexpr uint16_t kOptionStatusCode = 13;
constexpr uint16_t kOptionInterfaceId = 18;
constexpr uint16_t kOptionIaPd = 25;
constexpr uint16_t kOptionIaPrefix = 26;
constexpr uint16_t kOptionRemoteId = 37;
constexpr uint16_t kDuidTypeLinkLayer = 3;
constexpr uint16_t kHardwareTypeEthernet = 1;
constexpr uint32_t kLargestTransactionId = 0xFFFFFF;
constexpr size_t kLargestOptionData = 0xFFFF;
constexpr size_t kMessageHeaderSize = 4;

void put16(Bytes &bytes, uint16_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

void put32(Bytes &bytes, uint32_t value) {
    put16(bytes, static_cast<uint16_t>(value >> 16));
    put16(bytes, static_cast<uint16_t>(value));
}

template <typename Range>
void append(Bytes &bytes, const Range &range) {
    bytes.insert(bytes.end(), range.begin(), range.end());
}

// The data of the IA options: the identity and its two renewal times, then the options it holds.
Bytes identityAssociation(uint16_t code, uint32_t iaid, uint32_t t1, uint32_t t2, const Bytes &options) {
    Bytes data;
    put32(data, iaid);
    put32(data, t1);
    put32(data, t2);
    append(data, options);
    return option(code, data);
}

bool isRelayMessage(uint8_t type) {
    return type == RELAY_FORWARD || type == RELAY_REPLY;
}

}  // namespace

Bytes option(uint16_t code, const Bytes &data) {
    if (data.size() > kLargestOptionData) {
        throw std::invalid_argument("switchsim: a DHCPv6 option holds at most 65535 data bytes");
    }
    Bytes bytes;
    bytes.reserve(4 + data.size());
    put16(bytes, code);
    put16(bytes, static_cast<uint16_t>(data.size()));
    append(bytes, data);
    return bytes;
}

Bytes clientId(const Bytes &duid) {
    return option(kOptionClientId, duid);
}

Bytes serverId(const Bytes &duid) {
    return option(kOptionServerId, duid);
}

Bytes iaAddress(const Ipv6Bytes &address, uint32_t preferred, uint32_t valid, const Bytes &options) {
    Bytes data(address.begin(), address.end());
    put32(data, preferred);
    put32(data, valid);
    append(data, options);
    return option(kOptionIaAddress, data);
}

Bytes iaNa(uint32_t iaid, uint32_t t1, uint32_t t2, const Bytes &options) {
    return identityAssociation(kOptionIaNa, iaid, t1, t2, options);
}

Bytes iaPrefix(uint32_t preferred, uint32_t valid, uint8_t prefixLength, const Ipv6Bytes &prefix,
               const Bytes &options) {
    Bytes data;
    put32(data, preferred);
    put32(data, valid);
    data.push_back(prefixLength);
    append(data, prefix);
    append(data, options);
    return option(kOptionIaPrefix, data);
}

Bytes iaPd(uint32_t iaid, uint32_t t1, uint32_t t2, const Bytes &options) {
    return identityAssociation(kOptionIaPd, iaid, t1, t2, options);
}

Bytes elapsedTime(uint16_t hundredths) {
    Bytes data;
    put16(data, hundredths);
    return option(kOptionElapsedTime, data);
}

Bytes relayMessageOption(const Bytes &message) {
    return option(kOptionRelayMessage, message);
}

Bytes statusCode(uint16_t code, std::string_view message) {
    Bytes data;
    put16(data, code);
    append(data, message);
    return option(kOptionStatusCode, data);
}

Bytes interfaceId(const Bytes &id) {
    return option(kOptionInterfaceId, id);
}

Bytes remoteId(uint32_t enterpriseNumber, const Bytes &id) {
    Bytes data;
    put32(data, enterpriseNumber);
    append(data, id);
    return option(kOptionRemoteId, data);
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes &part : parts) {
        append(bytes, part);
    }
    return bytes;
}

Bytes duidLl(const MacAddress &mac) {
    Bytes duid;
    put16(duid, kDuidTypeLinkLayer);
    put16(duid, kHardwareTypeEthernet);
    append(duid, mac);
    return duid;
}

Bytes message(uint8_t type, uint32_t transactionId, const Bytes &options) {
    if (transactionId > kLargestTransactionId) {
        throw std::invalid_argument("switchsim: a DHCPv6 transaction id has 24 bits");
    }
    Bytes bytes;
    bytes.reserve(kMessageHeaderSize + options.size());
    bytes.push_back(type);
    bytes.push_back(static_cast<uint8_t>(transactionId >> 16));
    put16(bytes, static_cast<uint16_t>(transactionId));
    append(bytes, options);
    return bytes;
}

Bytes relayMessage(uint8_t type, uint8_t hopCount, const Ipv6Bytes &linkAddress, const Ipv6Bytes &peerAddress,
                   const Bytes &options) {
    // Room for the whole message first: growing a two-byte vector by inserts is what GCC's array-bounds
    // analysis at -O3 misreads as a write past its end.
    Bytes bytes;
    bytes.reserve(2 + linkAddress.size() + peerAddress.size() + options.size());
    bytes.push_back(type);
    bytes.push_back(hopCount);
    append(bytes, linkAddress);
    append(bytes, peerAddress);
    append(bytes, options);
    return bytes;
}

Ipv6Bytes linkLocal(const MacAddress &mac) {
    // The interface identifier is the MAC split by ff:fe, with the universal/local bit inverted.
    return {0xfe,   0x80,   0,    0,    0,      0,      0,     0, static_cast<uint8_t>(mac[0] ^ 0x02),
            mac[1], mac[2], 0xff, 0xfe, mac[3], mac[4], mac[5]};
}

Dhcp6Frame fromClient(uint8_t type, const MacAddress &client, Bytes options) {
    Dhcp6Frame frame;
    frame.destinationMac = {0x33, 0x33, 0x00, 0x01, 0x00, 0x02};
    frame.sourceMac = client;
    frame.sourceIp = linkLocal(client);
    frame.destinationIp = ipv6("ff02::1:2");
    frame.messageType = type;
    frame.options = std::move(options);
    return frame;
}

Dhcp6Frame fromServer(uint8_t type, const MacAddress &server, const MacAddress &client, Bytes options) {
    Dhcp6Frame frame;
    frame.destinationMac = client;
    frame.sourceMac = server;
    frame.sourceIp = linkLocal(server);
    frame.destinationIp = linkLocal(client);
    frame.sourcePort = kServerPort;
    frame.destinationPort = isRelayMessage(type) ? kServerPort : kClientPort;
    frame.messageType = type;
    frame.peerAddress = frame.destinationIp;
    frame.options = std::move(options);
    return frame;
}

BuiltFrame buildDhcp6Frame(const Dhcp6Frame &frame) {
    Udp6Frame udp;
    udp.destinationMac = frame.destinationMac;
    udp.sourceMac = frame.sourceMac;
    udp.vlanTag = frame.vlanTag;
    udp.sourceIp = frame.sourceIp;
    udp.destinationIp = frame.destinationIp;
    udp.sourcePort = frame.sourcePort;
    udp.destinationPort = frame.destinationPort;
    udp.payload = isRelayMessage(frame.messageType)
                      ? relayMessage(frame.messageType, frame.hopCount, frame.linkAddress, frame.peerAddress,
                                     frame.options)
                      : message(frame.messageType, frame.transactionId, frame.options);
    BuiltFrame built{buildUdp6Frame(udp), {}};
    built.info = platform_support::recvInfoFor(platform_support::classifyFrame(built.bytes).value(), 0);
    return built;
}

}  // namespace switchsim::dhcp6
