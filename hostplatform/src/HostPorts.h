#pragma once
// The ports of the Linux host platform: the member interfaces of one bridge, numbered from 1 in a stable
// order. Other parts of the platform (packets, filters, names) reach them through these calls.

#include <cstdint>
#include <optional>
#include <string_view>

namespace hostplatform {

// The bridge that is the switch.
std::string_view bridgeName();

// The interface name of port `portIndex` (1-based), or nothing when the bridge has no such port.
std::optional<std::string_view> portInterfaceName(uint32_t portIndex);

}  // namespace hostplatform
