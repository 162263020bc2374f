// The remote-call wrapper service of the simulated switch: call-number ranges, wrapper registration and
// the serving of remote-call messages in place.

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "SimState.h"
#include "Text.h"
#include "platform/RmWrapApi.h"
#include "switchsim/RemoteCallMessage.h"

namespace switchsim {
namespace {

constexpr int32_t kRefused = -1;
// The largest argument of any call: a page of 64 static-binding records of 32 bytes.
constexpr size_t kLargestArgument = size_t{64} * 32;

bool reserved(const SimState &sim, uint32_t callNumber) {
    return std::ranges::any_of(sim.remoteCallRanges, [callNumber](const auto &range) {
        return callNumber >= range.first && callNumber < range.second;
    });
}

}  // namespace

void Switch::failRemoteCallService(std::string_view call, int32_t result, uint32_t times) {
    if (call != "smdRMWrapInit" && call != "smdRmWrapRegister") {
        throw std::invalid_argument("switchsim: not a remote-call registration: " + std::string(call));
    }
    state_->failures.add(call, result, times);
}

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
    if (const auto failure = sim.failures.take("smdRmWrapRegister")) {
        return *failure;
    }
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
        // Each argument gets a buffer of its own, at least as large as the largest argument of any call, so
        // that a wrapper reading or writing a whole argument of a short one stays inside memory; what the
        // wrapper leaves in the first bytes goes back into the message, which is how outputs return.
        std::vector<switchsim::Bytes> buffers;
        buffers.reserve(call->arguments.size());
        std::vector<RemoteCallArg> args(call->arguments.size());
        for (size_t i = 0; i < args.size(); ++i) {
            switchsim::Bytes &buffer =
                buffers.emplace_back(std::max(call->arguments[i].size(), switchsim::kLargestArgument), 0);
            std::copy(call->arguments[i].begin(), call->arguments[i].end(), buffer.begin());
            args[i].word = static_cast<uint32_t>(call->arguments[i].size());
            args[i].data = buffer.data();
        }
        result = wrapper->second(message, args.data(), static_cast<uint32_t>(args.size()));
        size_t offset = switchsim::kRemoteCallHeaderSize;
        for (size_t i = 0; i < args.size(); ++i) {
            const size_t length = call->arguments[i].size();
            offset += sizeof(uint32_t);
            std::copy_n(buffers[i].begin(), length, bytes + offset);
            offset += length;
        }
    }
    std::memcpy(bytes + switchsim::kRemoteCallResultOffset, &result, sizeof result);
    return result;
}
}
