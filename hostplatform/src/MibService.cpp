// The MIB agent calls of the host platform: the module the daemon registers is served to snmpd as an
// AgentX subagent when the settings name a master agent, and is kept unserved otherwise. The engine
// (platform_support/MibEngine.h) serves the requests and defines the calls handlers make.

#include "AgentX.h"
#include "HostLifecycle.h"
#include "platform/CcdApi.h"

extern "C" {

int32_t ccdInit(uint32_t /*arg1*/, uint32_t /*arg2*/) {
    return 0;
}

int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects) {
    auto module = moduleName != nullptr ? mibengine::moduleListed(objects) : nullptr;
    if (module == nullptr) {
        return -1;
    }
    if (const std::string &socket = hostplatform::hostSettings().agentxSocket; !socket.empty()) {
        hostplatform::agentxStart(socket, std::move(module));
    }
    return 0;
}
}
