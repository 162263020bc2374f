#pragma once
// The switch's MIB agent as a manager reaches it: requests for the objects of the module registered with
// ccdModuleRegister (platform/CcdApi.h), served by the module's handlers through the MIB engine
// (platform_support/MibEngine.h), which says how each kind of request is served.
//
// A request is served at once, on the caller's thread. In the tests that thread is the daemon's own,
// between the events it takes, so a handler sees the daemon's state as the events taken so far left it, as it
// would on the switch, where the agent calls into the process between its messages.
//
// The switch serves the one module of its process; registering again, as a restarted daemon does,
// replaces it. With no module registered, no OID names an object.

#include <cstdint>
#include <string>
#include <vector>

#include "platform_support/MibEngine.h"
#include "switchsim/Observations.h"
#include "switchsim/Switch.h"

namespace switchsim {

using mibengine::MibResult;
using mibengine::MibSetResult;
using mibengine::MibValue;
using mibengine::MibVarBind;
using mibengine::Oid;
using enum mibengine::MibError;

// Each call serves the module the daemon registered on `sw` as its namesake of the engine does.
MibResult mibRequest(Switch &sw, uint32_t mode, const Oid &oid, const MibValue &value = {});
// Each OID as a get serves it: mibRequest in MIB_MODE_GET.
std::vector<MibResult> mibGet(Switch &sw, const std::vector<Oid> &oids);
std::vector<MibResult> mibGetNext(Switch &sw, const std::vector<Oid> &oids);
MibSetResult mibSet(Switch &sw, const std::vector<MibVarBind> &varBinds);
std::vector<MibVarBind> mibWalk(Switch &sw);
std::string mibVarBindText(const MibVarBind &varBind);

}  // namespace switchsim
