// The remote-call wrapper service of the simulated switch: the platforms' common wrapper table, with the
// registration calls recorded and open to injected failures.

#include <cstdarg>
#include <stdexcept>
#include <string>

#include "SimState.h"
#include "Text.h"
#include "platform/RmWrapApi.h"

namespace switchsim {

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
    return sim.wrappers.reserve(firstCall, endCall);
}

int32_t smdRmWrapRegister(uint32_t callNumber, uint32_t flags, RmWrapper wrapper) {
    auto &sim = activeSim();
    sim.lifecycle.push_back("smdRmWrapRegister(" + std::to_string(callNumber) + ", " + std::to_string(flags) +
                            ")");
    if (const auto failure = sim.failures.take("smdRmWrapRegister")) {
        return *failure;
    }
    return sim.wrappers.add(callNumber, wrapper);
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
        return mgmt::WrapperTable::kRefused;
    }
    // The message is the one the process has just received, and no longer than it was delivered.
    return sim.wrappers.serve(static_cast<uint8_t *>(message), sim.deliveredMessageLength);
}
}
