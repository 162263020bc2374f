// The MIB agent of the simulated switch: initialisation and module registration, recorded among the
// process's calls. The engine (platform_support/MibEngine.h) serves the module and defines the calls with
// which handlers read a request and answer it.

#include <string>

#include "SimState.h"
#include "platform/CcdApi.h"

using switchsim::activeSim;

extern "C" {

int32_t ccdInit(uint32_t arg1, uint32_t arg2) {
    activeSim().lifecycle.push_back("ccdInit(" + std::to_string(arg1) + ", " + std::to_string(arg2) + ")");
    return 0;
}

int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects) {
    size_t count = 0;
    while (objects != nullptr && (objects[count].group != nullptr || objects[count].object != nullptr)) {
        ++count;
    }
    auto &sim = activeSim();
    sim.lifecycle.push_back("ccdModuleRegister(" + std::string(moduleName != nullptr ? moduleName : "null") +
                            ", " + std::to_string(count) + " objects)");
    auto module = moduleName != nullptr ? mibengine::moduleListed(objects) : nullptr;
    if (module == nullptr) {
        return -1;
    }
    sim.mibModule = std::move(module);
    return 0;
}
}
