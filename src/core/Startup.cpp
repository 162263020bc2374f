#include "core/Startup.h"

#include "core/GlobalState.h"
#include "core/MainLoop.h"
#include "mgmt/RemoteCallTable.h"
#include "mib/MibRegistry.h"
#include "platform/CcdApi.h"
#include "platform/PacketRegistration.h"
#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"
#include "running_config/RunningConfig.h"
#include "snooping/Aging.h"

namespace {

constexpr char kQueueName[] = "/sbin/dhcp6snooping";
constexpr uint32_t kQueueDepth = 255;
constexpr uint32_t kMibAgentArg1 = 100;
constexpr uint32_t kMibAgentArg2 = 2;
constexpr uint32_t kTimerPeriodic = 1;
constexpr uint32_t kTimerPeriodMs = 1000;
constexpr char kFunctionName[] = "main";
constexpr char kInitFailed[] = "\r\n%s:dhcp6snooping_init failed.";
constexpr char kMsgInitFailed[] = "\r\n%s:vosMsgInit failed";

uint32_t timerHandle;

}  // namespace

extern "C" {

int32_t dhcp6snoopingStartup(const char *programPath) {
    smdProcessInit(programPath);
    if (dhcp6snooping_init() != 0) {
        vosPrintf(kInitFailed, kFunctionName);
        return kStartupFailed;
    }
    if (vosMsgInit(kQueueName, kQueueDepth, &dhcp6snoopingMsgQueue) != 0) {
        vosPrintf(kMsgInitFailed, kFunctionName);
        return kStartupFailed;
    }
    // From here on every step reports its own failures, if any, and start-up goes on regardless.
    ccdInit(kMibAgentArg1, kMibAgentArg2);
    dhcp6snoopingMibRegister();
    vosMsgRegisterBldrun(dhcp6snoopingBuildRunningConfig);
    dhcp6snoopingRmWrapFunction();
    vosTimerRegister(kTimerPeriodic, kTimerPeriodMs, dhcp6snoopingTimerCallback, &timerHandle, 0);
    smdVDLinktrapRegPort(0, 0, dhcp6snoopingLinkChange);
    dhcp6snoopingPktRegister(/*initial=*/1, /*running=*/0);
    return 0;
}

int dhcp6snoopingMain(int argc, char *argv[]) {
    const char *programPath = (argc > 0 && argv != nullptr && argv[0] != nullptr) ? argv[0] : "";
    if (dhcp6snoopingStartup(programPath) != 0) {
        return kStartupFailed;
    }
    for (;;) {
        dhcp6snoopingServeNextMessage();
    }
}
}
