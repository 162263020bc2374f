// MIB requests straight to the daemon's handlers, as an agent might hand them over or worse: any object,
// any mode, any instance and any value of any length. No request crashes the daemon, a test never changes
// its state, and neither does a set that a handler refuses; after every request the switch holds exactly
// the filters the daemon's state implies.
//
// An input is a run of requests, each:
//   object  byte % 28
//   mode    byte % 8
//   instance  byte % 8 arcs, each a byte: below 250 the arc itself, else a 32-bit value follows
//   value   kind byte: even an integer (a length byte % 9, then a 32-bit value), odd octets (a length
//           byte, then that many bytes)

#include "FilterInvariant.h"
#include "FuzzSupport.h"
#include "mib/MibRegistry.h"
#include "switchsim/MibAgent.h"

namespace {

using namespace fuzz;

switchsim::Oid request(Input &input) {
    const MibObjectListEntry &entry = kMibObjectList[input.byte() % kMibObjectCount];
    switchsim::Oid oid(entry.group->oid, entry.group->oid + entry.group->oidLength - 1);
    oid.push_back(entry.object->column);
    for (uint8_t arcs = input.byte() % 8; arcs > 0; --arcs) {
        const uint8_t arc = input.byte();
        oid.push_back(arc < 250 ? arc : input.be32());
    }
    return oid;
}

switchsim::MibValue value(Input &input) {
    if ((input.byte() & 1) == 0) {
        const uint8_t length = input.byte() % 9;
        return switchsim::MibValue::integer(input.be32(), length);
    }
    const auto [bytes, length] = input.take(input.byte());
    return switchsim::MibValue::octets(switchsim::Bytes(bytes, bytes + length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    switchsim::Switch &sw = fuzzSwitch();
    Input input(data, size);
    while (!input.empty()) {
        const uint32_t mode = input.byte() % 8;
        const switchsim::Oid oid = request(input);
        const switchsim::MibValue carried = value(input);
        const DaemonState before = daemonState(sw);
        const switchsim::MibResult result = switchsim::mibRequest(sw, mode, oid, carried);
        require((mode != MIB_MODE_TEST && (mode != MIB_MODE_SET || result.code == 0)) ||
                daemonState(sw) == before);
        requireInvariant("after a MIB request");
    }
    resetAll(/*filtersMustBeGone=*/true);
    return 0;
}
