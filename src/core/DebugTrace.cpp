#include "core/DebugTrace.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/SharedTypes.h"
#include "platform/SyslogApi.h"
#include "platform/VosApi.h"

namespace {

constexpr uint32_t kTraceLevel = 7;
constexpr char kTraceName[] = "dhcp6snooping";
constexpr char kAssertionFormat[] = "\r\n%s(%d):Assertion failed!%s, %s, %s, line=%d.\r\n";
constexpr char kAssertionSourceFile[] = "Dhcp6Snooping.c";
constexpr int kTraceLengthAssertionLine = 1643;

// One trace line at a time: the daemon has a single thread.
char debugStr[256];
int ulDebugStrLen;

}  // namespace

void dhcp6snoopingAssertFailed(const char *condition, const char *function, int line) {
    vosPrintf(kAssertionFormat, vosProcessGetName(), static_cast<int>(getpid()), condition,
              kAssertionSourceFile, function, line);
    std::abort();
}

bool dhcp6snoopingTraceOn() {
    return syslogModuleSwitch(kDhcp6SnoopingModuleId, kTraceLevel) != 0;
}

extern "C" void dhcp6snooping_debug_printf(const char *format, ...) {
    if (format == nullptr || !dhcp6snoopingTraceOn()) {
        return;
    }
    std::memset(debugStr, 0, sizeof debugStr);
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has run just above
    ulDebugStrLen = std::vsnprintf(debugStr, sizeof debugStr, format, args);
    va_end(args);
    if (!(ulDebugStrLen < static_cast<int>(sizeof debugStr) && ulDebugStrLen > 0)) {
        dhcp6snoopingAssertFailed("ulDebugStrLen < sizeof(debugStr) && ulDebugStrLen > 0",
                                  "dhcp6snooping_debug_printf", kTraceLengthAssertionLine);
    }
    syslogSendInfo(kDhcp6SnoopingModuleId, kTraceLevel, kTraceName, debugStr, debugStr, 0, 0, 0);
}
