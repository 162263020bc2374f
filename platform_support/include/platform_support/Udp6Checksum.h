#pragma once
// The UDP checksum over IPv6, as every platform writes it: into the frames it builds, and into a frame that
// a port of a Linux host sent with the checksum left to the hardware (a veth or tap port with checksum
// offload), which a packet socket sees before any hardware could fill it in.

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform_support {

// The checksum of `datagram` (UDP header and payload, its checksum field counted as it stands, so a caller
// zeroes it first) between the 32 bytes of source and destination address in `addresses`; a computed
// zero is answered as 0xFFFF, since zero means "no checksum", which IPv6 forbids.
uint16_t udp6Checksum(std::span<const uint8_t, 32> addresses, std::span<const uint8_t> datagram);

// Writes the UDP checksum of the IPv6 frame whose IPv6 header starts at `ipOffset` and whose UDP header
// follows it directly. False, and the frame untouched, when the frame is too short for the headers and the
// length they give.
bool completeUdpChecksum(std::span<uint8_t> frame, size_t ipOffset);

}  // namespace platform_support
