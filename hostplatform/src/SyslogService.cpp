// The system log of the host platform is syslog(3). The daemon's trace lines (level 7) are written only
// while the platform's "trace" setting is on.

#include <syslog.h>

#include <string>

#include "HostState.h"
#include "platform/SyslogApi.h"

namespace hostplatform {
namespace {

constexpr uint32_t kDebugLevel = LOG_DEBUG;

}  // namespace

void logLine(int priority, const std::string &text) {
    if (!host().quiet) {
        syslog(priority, "%s", text.c_str());
    }
}

}  // namespace hostplatform

extern "C" {

int32_t syslogModuleSwitch(uint32_t /*moduleId*/, uint32_t level) {
    return level < hostplatform::kDebugLevel || hostplatform::host().settings.trace ? 1 : 0;
}

int32_t syslogSendInfo(uint32_t /*moduleId*/, uint32_t level, const char *name, const char *text,
                       const char * /*detail*/, uint32_t /*arg1*/, uint32_t /*arg2*/, uint32_t /*arg3*/) {
    if (text == nullptr) {
        return -1;
    }
    // Trace texts begin with "\r\n" for the switch's console; the log wants one clean line each.
    std::string line = text;
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
    if (name != nullptr && *name != '\0') {
        line = std::string(name) + ": " + line;
    }
    hostplatform::logLine(static_cast<int>(level & LOG_PRIMASK), line);
    return 0;
}
}
