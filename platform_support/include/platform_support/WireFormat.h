#pragma once
// Field values and sizes of Ethernet, IPv6 and UDP as the switch platforms build and read frames.

#include <cstddef>
#include <cstdint>

namespace platform_support {

inline constexpr uint16_t kEtherTypeIpv6 = 0x86DD;
inline constexpr uint16_t kEtherTypeVlan = 0x8100;
inline constexpr uint8_t kIpProtocolUdp = 17;
inline constexpr size_t kEtherTypeOffset = 12;
inline constexpr size_t kVlanTagSize = 4;
inline constexpr size_t kIpv6HeaderSize = 40;
inline constexpr size_t kIpv6NextHeaderOffset = 6;
inline constexpr size_t kUdpHeaderSize = 8;
inline constexpr size_t kUdpDestinationPortOffset = 2;
inline constexpr size_t kUdpChecksumOffset = 6;

}  // namespace platform_support
