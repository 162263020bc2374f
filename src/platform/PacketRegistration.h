#pragma once
// Registration of the daemon's packet hook for DHCPv6 traffic.

#include <cstdint>

// Registration modes: while snooping is off the switch keeps forwarding DHCPv6 frames itself; while it is
// on the frames go only to the daemon, which forwards or drops them.
inline constexpr uint32_t kPktModeSnoopingOff = 3;
inline constexpr uint32_t kPktModeSnoopingOn = 1;

extern "C" {

// Submits the DHCPv6 descriptor twice, for UDP port 547 (index 0) and then 546 (index 1). With initial 1
// the hook is registered in mode 3; otherwise the existing registrations move to mode 1 when running is
// 1, else to mode 3. Failures go to the system log; the result is always 0.
int32_t dhcp6snoopingPktRegister(uint32_t initial, uint32_t running);
}
