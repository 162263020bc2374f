#pragma once
// The remote calls that the daemon serves for the command-line process.

#include <cstdint>

inline constexpr uint32_t kFirstRemoteCall = 6250;
inline constexpr uint32_t kEndRemoteCall = 6282;

extern "C" {

// Reserves the daemon's call numbers with the remote-call wrapper service and registers its wrappers.
// Returns 0, or the service's failure result.
int32_t dhcp6snoopingRmWrapFunction(void);
}
