#include "MgmtReplies.h"

#include <algorithm>
#include <string>
#include <vector>

#include "mgmt_protocol/ManagementHeader.h"

namespace hostplatform {
namespace {

// Room offered to the running-configuration callback: 512 static bindings at under 100 bytes a line, and
// the rest of the configuration, fit with room to spare.
constexpr uint32_t kRunningConfigCapacity = 128U << 10U;
constexpr int32_t kRefused = -1;

}  // namespace

std::optional<mgmt::Bytes> platformReply(std::span<const uint8_t> request, const HostState &state) {
    const auto type = mgmt::messageType(request);
    if (type == mgmt::kRunningConfigMessage) {
        if (state.runningConfig == nullptr) {
            return mgmt::encodeRunningConfigReply(kRefused, "");
        }
        std::vector<char> text(kRunningConfigCapacity + 1, '\0');
        uint32_t remaining = kRunningConfigCapacity;
        const auto result = static_cast<int32_t>(state.runningConfig(text.data(), &remaining));
        return mgmt::encodeRunningConfigReply(result, text.data());
    }
    if (type == mgmt::kPortNamesMessage) {
        std::vector<std::string> names;
        names.reserve(state.bridge.ports.size());
        for (const BridgePort &port : state.bridge.ports) {
            names.push_back(port.name);
        }
        return mgmt::encodePortNamesReply(names);
    }
    return std::nullopt;
}

mgmt::Bytes refusedReply(std::span<const uint8_t> request) {
    mgmt::Bytes reply(mgmt::kHeaderSize, 0);
    std::copy_n(request.begin(), std::min<size_t>(request.size(), reply.size()), reply.begin());
    mgmt::storeAt<uint16_t>(reply, mgmt::kDataLengthOffset, 0);
    mgmt::storeAt<int32_t>(reply, mgmt::kResultOffset, kRefused);
    return reply;
}

}  // namespace hostplatform
