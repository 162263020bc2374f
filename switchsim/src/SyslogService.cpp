// The system log service of the simulated switch: every line sent is recorded.

#include "SimState.h"
#include "platform/SyslogApi.h"

namespace {

// Output up to this level is on unless a test says otherwise; the debug level 7 is off.
constexpr uint32_t kDefaultHighestLevel = 6;

std::string textOrEmpty(const char *text) {
    return text != nullptr ? text : "";
}

}  // namespace

using switchsim::activeSim;

extern "C" {

int32_t syslogModuleSwitch(uint32_t moduleId, uint32_t level) {
    const auto &levels = activeSim().moduleLevels;
    const auto found = levels.find(moduleId);
    return level <= (found != levels.end() ? found->second : kDefaultHighestLevel) ? 1 : 0;
}

int32_t syslogSendInfo(uint32_t moduleId, uint32_t level, const char *name, const char *text,
                       const char *detail, uint32_t /*arg1*/, uint32_t /*arg2*/, uint32_t /*arg3*/) {
    activeSim().syslog.push_back(
        {moduleId, level, textOrEmpty(name), textOrEmpty(text), textOrEmpty(detail)});
    return 0;
}
}
