#include "switchsim/FrameBuilder.h"

#include <arpa/inet.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "platform_support/Udp6Checksum.h"
#include "platform_support/WireFormat.h"

namespace switchsim {

using namespace platform_support;  // NOLINT(google-build-using-namespace)
namespace {

constexpr uint8_t kHopLimit = 64;

void put16(Bytes &bytes, uint16_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

}  // namespace

Bytes buildUdp6Frame(const Udp6Frame &frame) {
    const size_t udpLength = kUdpHeaderSize + frame.payload.size();
    if (udpLength > 0xFFFF) {
        throw std::invalid_argument("switchsim: a UDP datagram holds at most 65527 payload bytes");
    }
    Bytes bytes(frame.destinationMac.begin(), frame.destinationMac.end());
    bytes.insert(bytes.end(), frame.sourceMac.begin(), frame.sourceMac.end());
    if (frame.vlanTag) {
        put16(bytes, kEtherTypeVlan);
        put16(bytes, *frame.vlanTag);
    }
    put16(bytes, kEtherTypeIpv6);
    const size_t ip = bytes.size();
    bytes.insert(bytes.end(), {0x60, 0, 0, 0});
    put16(bytes, static_cast<uint16_t>(udpLength));
    bytes.push_back(kIpProtocolUdp);
    bytes.push_back(kHopLimit);
    bytes.insert(bytes.end(), frame.sourceIp.begin(), frame.sourceIp.end());
    bytes.insert(bytes.end(), frame.destinationIp.begin(), frame.destinationIp.end());
    put16(bytes, frame.sourcePort);
    put16(bytes, frame.destinationPort);
    put16(bytes, static_cast<uint16_t>(udpLength));
    put16(bytes, 0);
    bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
    completeUdpChecksum(bytes, ip);
    return bytes;
}

Ipv6Bytes ipv6(const char *text) {
    Ipv6Bytes address{};
    if (text == nullptr || inet_pton(AF_INET6, text, address.data()) != 1) {
        throw std::invalid_argument(std::string("switchsim: not an IPv6 address: ") + (text ? text : "null"));
    }
    return address;
}

MacAddress mac(const char *text) {
    MacAddress address{};
    unsigned octets[6];
    char end = 0;
    if (text == nullptr || std::sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x%c", &octets[0], &octets[1], &octets[2],
                                       &octets[3], &octets[4], &octets[5], &end) != 6) {
        throw std::invalid_argument(std::string("switchsim: not a MAC address: ") + (text ? text : "null"));
    }
    for (size_t i = 0; i < address.size(); ++i) {
        address[i] = static_cast<uint8_t>(octets[i]);
    }
    return address;
}

}  // namespace switchsim
