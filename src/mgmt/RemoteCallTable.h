#pragma once
// The 32 remote calls that the daemon serves for the command-line process, numbered 6250 to 6281. Each
// wrapper traces its start, refuses a wrong argument count with -1001, reads its arguments and answers with
// the result of the operation behind it.

#include <cstdint>

#include "mgmt_protocol/MessageLayout.h"

inline constexpr uint32_t kFirstRemoteCall = 6250;
inline constexpr uint32_t kEndRemoteCall = 6282;
inline constexpr int32_t kWrongArgumentCount = mgmt::kWrongArgumentCount;

extern "C" {

// Reserves the daemon's call numbers with the remote-call wrapper service and registers a wrapper for each.
// Returns the service's result when the reservation fails; otherwise the sum of the registration results,
// every call being attempted.
int32_t dhcp6snoopingRmWrapFunction(void);
}
