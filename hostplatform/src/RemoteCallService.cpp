// The remote-call wrapper service of the host platform: the calls that arrive on the management socket are
// served by the wrappers the daemon registered. smdDebugPrintf lines go to the system log's debug level.

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <optional>

#include "ConfigChangeLog.h"
#include "HostState.h"
#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/WrapperTable.h"
#include "platform/PlatformVariables.h"
#include "platform/RmWrapApi.h"

namespace {

mgmt::WrapperTable &wrappers() {
    static mgmt::WrapperTable table;
    return table;
}

constexpr size_t kDebugLineSize = 256;

}  // namespace

extern "C" {

int32_t smdRMWrapInit(uint32_t firstCall, uint32_t endCall) {
    return wrappers().reserve(firstCall, endCall);
}

int32_t smdRmWrapRegister(uint32_t callNumber, uint32_t /*flags*/, RmWrapper wrapper) {
    return wrappers().add(callNumber, wrapper);
}

int32_t smdDebugPrintf(uint32_t /*level*/, const char *format, ...) {
    if (format == nullptr || !hostplatform::host().settings.trace || hostplatform::host().listing) {
        return format == nullptr ? -1 : 0;
    }
    char line[kDebugLineSize];
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has run just above
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    hostplatform::logLine(LOG_DEBUG, line);
    return 0;
}

int32_t smdCfgRmWrapProcess(void *message) {
    if (message == nullptr) {
        return mgmt::WrapperTable::kRefused;
    }
    // The message is the one vosMsgRecv has just put into the receive buffer.
    auto *bytes = static_cast<uint8_t *>(message);
    const size_t length = hostplatform::host().lastRequestLength;
    std::optional<hostplatform::ConfigChangeLog> change;
    if (!hostplatform::host().listing) {
        if (const auto call = mgmt::decodeRemoteCall({bytes, length});
            call && !mgmt::callOnlyReads(call->callNumber)) {
            change.emplace(hostplatform::host().channel, hostplatform::askedByCall(*call));
        }
    }
    return wrappers().serve(bytes, length);
}
}
