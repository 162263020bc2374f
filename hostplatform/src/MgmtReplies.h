#pragma once
// The management requests that the host platform answers itself, without the daemon's main loop, on the
// daemon's thread from inside its wait: the running configuration (the daemon's callback), the names of the
// ports, configuration text checked or entered whole, the running configuration saved as the boot
// configuration, and where the platform keeps its files.

#include <cstdint>
#include <optional>
#include <span>

#include "HostState.h"
#include "mgmt_protocol/ManagementHeader.h"

namespace hostplatform {

// The reply to `request` when the platform answers it; nothing when it is the daemon's.
std::optional<mgmt::Bytes> platformReply(std::span<const uint8_t> request, const HostState &state);

// The reply to a request that is not served: its header (or as much as came, the rest zero) with no data,
// this platform's protocol version and `result`.
mgmt::Bytes refusedReply(std::span<const uint8_t> request, int32_t result = mgmt::kRefused);

}  // namespace hostplatform
