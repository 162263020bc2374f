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

// What the daemon is held to in a frame it sends after a sound one: all of frameFault, except the options of
// a RELAY_FORWARD, of which only the lengths and the checksum are its promise. The daemon reads the options
// of every message from byte 4, a relay message's included, and adds options 18 and 37 to a RELAY_FORWARD
// that way: an option it replaces may lie where the relay layout has its link and peer addresses.
std::optional<std::string> sentFrameFault(std::span<const uint8_t> frame);

}  // namespace switchsim
