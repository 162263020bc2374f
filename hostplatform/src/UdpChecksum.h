#pragma once
// The UDP checksum of a DHCPv6 frame that a port of this host sent with the checksum left to the hardware
// (a veth or tap port with checksum offload): the packet socket sees it before any hardware could fill it
// in, while the daemon and every receiver expect a frame as it is on the wire.

#include <cstdint>
#include <span>

namespace hostplatform {

// Writes the UDP checksum of the IPv6 frame whose IPv6 header starts at `ipOffset` and whose UDP header
// follows it directly. False, and the frame untouched, when the frame is too short for the headers and the
// length they give.
bool completeUdpChecksum(std::span<uint8_t> frame, size_t ipOffset);

}  // namespace hostplatform
