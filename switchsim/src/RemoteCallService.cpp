// The remote-call wrapper service of the simulated switch: call-number ranges, wrapper registration and
// the serving of remote-call messages in place.

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "SimState.h"
#include "Text.h"
#include "platform/RmWrapApi.h"
#include "switchsim/RemoteCallMessage.h"

namespace switchsim {
namespace {

constexpr int32_t kRefused = -1;

bool reserved(const SimState &sim, uint32_t callNumber) {
    return std::ranges::any_of(sim.remoteCallRanges, [callNumber](const auto &range) {
        return callNumber >= range.first && callNumber < range.second;
    });
}

}  // namespace
}  // namespace switchsim

using switchsim::activeSim;

extern "C" {

int32_t smdRMWrapInit(uint32_t firstCall, uint32_t endCall) {
    auto &sim = activeSim();
    sim.lifecycle.push_back("smdRMWrapInit(" + std::to_string(firstCall) + ", " + std::to_string(endCall) +
                            ")");
    if (const auto failure = sim.failures.take("smdRMWrapInit")) {
        return *failure;
    }
    if (firstCall >= endCall) {
        return switchsim::kRefused;
    }
    sim.remoteCallRanges.emplace_back(firstCall, endCall);
    return 0;
}

int32_t smdRmWrapRegister(uint32_t callNumber, uint32_t flags, RmWrapper wrapper) {
    auto &sim = activeSim();
    sim.lifecycle.push_back("smdRmWrapRegister(" + std::to_string(callNumber) + ", " + std::to_string(flags) +
                            ")");
    if (wrapper == nullptr || !switchsim::reserved(sim, callNumber) || sim.wrappers.contains(callNumber)) {
        return switchsim::kRefused;
    }
    sim.wrappers[callNumber] = wrapper;
    return 0;
}

int32_t smdDebugPrintf(uint32_t level, const char *format, ...) {
    if (format == nullptr) {
        return -1;
    }
    va_list args;
    va_start(args, format);
    activeSim().remoteCallDebugLines.push_back({level, switchsim::formatText(format, args)});
    va_end(args);
    return 0;
}

int32_t smdCfgRmWrapProcess(void *message) {
    auto &sim = activeSim();
    ++sim.remoteCallsServed;
    if (message == nullptr) {
        return switchsim::kRefused;
    }
    // The message is the one the process has just received, and no longer than it was delivered.
    auto *bytes = static_cast<uint8_t *>(message);
    const auto call =
        switchsim::decodeRemoteCall(std::span<const uint8_t>(bytes, sim.deliveredMessageLength));
    if (!call) {
        return switchsim::kRefused;  // its fields cannot be trusted, so it is left as it came
    }
    const auto wrapper = sim.wrappers.find(call->callNumber);
    int32_t result = switchsim::kRefused;
    if (wrapper == sim.wrappers.end()) {
        const uint16_t noData = 0;
        std::memcpy(bytes + switchsim::kRemoteCallDataLengthOffset, &noData, sizeof noData);
    } else {
        // Point each argument at its bytes inside the message, so that outputs are written in place.
        std::vector<RemoteCallArg> args(call->arguments.size());
        size_t offset = switchsim::kRemoteCallHeaderSize;
        for (size_t i = 0; i < args.size(); ++i) {
            const auto length = static_cast<uint32_t>(call->arguments[i].size());
            args[i].word = length;
            args[i].data = bytes + offset + sizeof length;
            offset += sizeof length + length;
        }
        result = wrapper->second(message, args.data(), static_cast<uint32_t>(args.size()));
    }
    std::memcpy(bytes + switchsim::kRemoteCallResultOffset, &result, sizeof result);
    return result;
}
}
