// The MIB agent calls of the host platform. No SNMP agent serves the module here yet: registration is
// accepted and no request ever reaches the daemon's handlers.

#include "platform/CcdApi.h"

extern "C" {

int32_t ccdInit(uint32_t /*arg1*/, uint32_t /*arg2*/) {
    return 0;
}

int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects) {
    return moduleName != nullptr && objects != nullptr ? 0 : -1;
}
}
