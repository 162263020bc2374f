#pragma once
// The 802.1Q tag of a frame leaving a bridge port: a port sends each of its VLANs either tagged or
// untagged, while the daemon always hands over frames without a tag.

#include <cstdint>
#include <span>
#include <vector>

namespace hostplatform {

// The frame as it is to leave the port: `frame` itself when the VLAN goes out untagged, otherwise a copy in
// `scratch` with a tag for `vlan` behind the two MAC addresses. Empty when the frame has no room for them.
std::span<const uint8_t> egressFrame(std::span<const uint8_t> frame, uint16_t vlan, bool untagged,
                                     std::vector<uint8_t> &scratch);

}  // namespace hostplatform
