// The requests a manager sends to the switch's MIB agent, served by the MIB engine on the module the
// daemon registered.

#include "SimState.h"
#include "switchsim/MibAgent.h"

namespace switchsim {
namespace {

// The module the switch serves. `sw` is the one switch that exists, whose state the platform calls act on.
const mibengine::MibModule &moduleOf(const Switch & /*sw*/) {
    static const mibengine::MibModule kNoModule;
    const auto &module = activeSim().mibModule;
    return module != nullptr ? *module : kNoModule;
}

}  // namespace

MibResult mibRequest(Switch &sw, uint32_t mode, const Oid &oid, const MibValue &value) {
    return mibengine::serve(moduleOf(sw), mode, oid, value);
}

std::vector<MibResult> mibGet(Switch &sw, const std::vector<Oid> &oids) {
    std::vector<MibResult> results;
    results.reserve(oids.size());
    for (const Oid &oid : oids) {
        results.push_back(mibengine::serve(moduleOf(sw), MIB_MODE_GET, oid));
    }
    return results;
}

std::vector<MibResult> mibGetNext(Switch &sw, const std::vector<Oid> &oids) {
    std::vector<MibResult> results;
    results.reserve(oids.size());
    for (const Oid &oid : oids) {
        results.push_back(mibengine::getNext(moduleOf(sw), oid));
    }
    return results;
}

MibSetResult mibSet(Switch &sw, const std::vector<MibVarBind> &varBinds) {
    return mibengine::set(moduleOf(sw), varBinds);
}

std::vector<MibVarBind> mibWalk(Switch &sw) {
    return mibengine::walk(moduleOf(sw));
}

std::string mibVarBindText(const MibVarBind &varBind) {
    return mibengine::varBindText(varBind);
}

}  // namespace switchsim
