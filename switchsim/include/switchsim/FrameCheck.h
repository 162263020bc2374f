#pragma once
// An independent reading of a DHCPv6 frame, to hold what the daemon sends (and what the frame builder
// makes) to the wire format: Ethernet with at most one 802.1Q tag, an IPv6 header followed directly by
// UDP, lengths that agree with the bytes present, a UDP checksum that verifies, and a DHCPv6 message whose
// options area is a whole number of options. It decodes from the wire format alone and shares no code with
// the daemon nor with the frame builder, so that a mistake in either shows up here instead of being
// repeated.

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace switchsim {

// Nothing when the frame is a sound DHCPv6 frame; otherwise the first thing wrong with it, in words.
std::optional<std::string> frameFault(std::span<const uint8_t> frame);

}  // namespace switchsim
