#include "mib/MibRegistry.h"

#include "platform/CcdApi.h"

namespace {

// The module's objects, closed by a pair of null pointers. No object is published yet.
constexpr MibObjectListEntry kObjectList[] = {{nullptr, nullptr}};

}  // namespace

extern "C" int32_t dhcp6snoopingMibRegister(void) {
    ccdModuleRegister(kMibModuleName, kObjectList);
    return 0;
}
