#include "UdpChecksum.h"

namespace hostplatform {
namespace {

constexpr size_t kIp6HeaderBytes = 40;
constexpr size_t kIp6AddressesOffset = 8;
constexpr size_t kIp6AddressesBytes = 32;
constexpr size_t kUdpHeaderBytes = 8;
constexpr size_t kUdpLengthOffset = 4;
constexpr size_t kUdpChecksumOffset = 6;
constexpr uint32_t kUdpProtocol = 17;

// The 16-bit words of `bytes` summed (RFC 1071), an odd last byte padded with zero.
uint32_t sumWords(std::span<const uint8_t> bytes, uint32_t sum) {
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

bool completeUdpChecksum(std::span<uint8_t> frame, size_t ipOffset) {
    if (ipOffset > frame.size() || frame.size() - ipOffset < kIp6HeaderBytes + kUdpHeaderBytes) {
        return false;
    }
    const auto ip = frame.subspan(ipOffset);
    const auto udp = ip.subspan(kIp6HeaderBytes);
    const auto length = static_cast<uint32_t>(udp[kUdpLengthOffset] << 8U | udp[kUdpLengthOffset + 1]);
    if (length < kUdpHeaderBytes || length > udp.size()) {
        return false;
    }
    udp[kUdpChecksumOffset] = 0;
    udp[kUdpChecksumOffset + 1] = 0;
    // The pseudo-header: both addresses, the UDP length and the next-header value.
    uint32_t sum = sumWords(ip.subspan(kIp6AddressesOffset, kIp6AddressesBytes), length + kUdpProtocol);
    sum = sumWords(udp.first(length), sum);
    while (sum > 0xFFFFU) {
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    }
    // A sum of zero goes out as all ones: zero would mean "no checksum", which IPv6 forbids.
    const auto checksum = static_cast<uint16_t>(~sum == 0 ? 0xFFFFU : ~sum & 0xFFFFU);
    udp[kUdpChecksumOffset] = static_cast<uint8_t>(checksum >> 8U);
    udp[kUdpChecksumOffset + 1] = static_cast<uint8_t>(checksum & 0xFFU);
    return true;
}

}  // namespace hostplatform
