#include "platform_support/Udp6Checksum.h"

#include "platform_support/WireFormat.h"

namespace platform_support {
namespace {

constexpr size_t kIpv6AddressesOffset = 8;
constexpr size_t kIpv6AddressesSize = 32;
constexpr size_t kUdpLengthOffset = 4;

// The 16-bit words of `bytes` summed (RFC 1071), an odd last byte padded with zero.
uint64_t sumWords(std::span<const uint8_t> bytes) {
    uint64_t sum = 0;
    size_t i = 0;
    for (; i + 1 < bytes.size(); i += 2) {
        sum += static_cast<uint32_t>(bytes[i] << 8U | bytes[i + 1]);
    }
    if (i < bytes.size()) {
        sum += static_cast<uint32_t>(bytes[i] << 8U);
    }
    return sum;
}

}  // namespace

uint16_t udp6Checksum(std::span<const uint8_t, 32> addresses, std::span<const uint8_t> datagram) {
    // The pseudo-header: both addresses, the UDP length and the next-header value.
    const uint64_t length = datagram.size();
    uint64_t sum = sumWords(addresses) + (length >> 16U) + (length & 0xFFFFU) + kIpProtocolUdp;
    sum += sumWords(datagram);
    while (sum > 0xFFFFU) {
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    }
    const auto checksum = static_cast<uint16_t>(~sum);
    return checksum == 0 ? 0xFFFF : checksum;
}

bool completeUdpChecksum(std::span<uint8_t> frame, size_t ipOffset) {
    if (ipOffset > frame.size() || frame.size() - ipOffset < kIpv6HeaderSize + kUdpHeaderSize) {
        return false;
    }
    const auto ip = frame.subspan(ipOffset);
    const auto udp = ip.subspan(kIpv6HeaderSize);
    const auto length = static_cast<size_t>(udp[kUdpLengthOffset] << 8U | udp[kUdpLengthOffset + 1]);
    if (length < kUdpHeaderSize || length > udp.size()) {
        return false;
    }
    udp[kUdpChecksumOffset] = 0;
    udp[kUdpChecksumOffset + 1] = 0;
    const uint16_t checksum =
        udp6Checksum(ip.subspan<kIpv6AddressesOffset, kIpv6AddressesSize>(), udp.first(length));
    udp[kUdpChecksumOffset] = static_cast<uint8_t>(checksum >> 8U);
    udp[kUdpChecksumOffset + 1] = static_cast<uint8_t>(checksum & 0xFFU);
    return true;
}

}  // namespace platform_support
