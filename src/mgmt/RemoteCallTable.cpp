#include "mgmt/RemoteCallTable.h"

#include "platform/RmWrapApi.h"

namespace {

constexpr uint32_t kRegistrationTraceLevel = 4;
constexpr char kFunctionName[] = "dhcp6snoopingRmWrapFunction";
constexpr char kInitFailed[] = "%s:smdRMWrapInit failed";

}  // namespace

extern "C" int32_t dhcp6snoopingRmWrapFunction(void) {
    const int32_t result = smdRMWrapInit(kFirstRemoteCall, kEndRemoteCall);
    if (result != 0) {
        smdDebugPrintf(kRegistrationTraceLevel, kInitFailed, kFunctionName);
    }
    // No remote call is served yet, so there is no wrapper to register.
    return result;
}
