#pragma once
// The ports of the Linux host platform: the member interfaces of one bridge, numbered from 1 in a stable
// order. Other parts of the platform (packets, filters, names) reach them through these calls.

#include <cstdint>
#include <optional>
#include <string_view>

namespace hostplatform {

// The bridge that is the switch.
std::string_view bridgeName();

// Ports are numbered 1 to portCount(); a number may stand for an interface that has left the bridge.
uint32_t portCount();

// The interface name of port `portIndex` (1-based), or nothing when the bridge has no such port.
std::optional<std::string_view> portInterfaceName(uint32_t portIndex);

// The VLAN of the frames that arrive untagged on the port (its PVID), or nothing when it admits none.
std::optional<uint16_t> portUntaggedVlan(uint32_t portIndex);

}  // namespace hostplatform
