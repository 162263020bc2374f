#pragma once
// What the MIB agent keeps of the registered module and of the request a handler is serving, shared by the
// agent calls handlers make (MibAgent.cpp) and the requests a manager sends (MibRequests.cpp).

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>

#include "platform/CcdApi.h"
#include "switchsim/MibAgent.h"

namespace switchsim {

struct RegisteredObject {
    const MibGroupDescriptor *group;
    const MibObjectDescriptor *object;
};

// The registered module's objects under their OIDs, so in OID order. No OID is a prefix of another, so
// that an OID names one object at most.
struct MibModule {
    std::map<Oid, RegisteredObject> objects;
};

// What the agent holds of a request while a handler serves it; MibRequest::agent points to it.
struct MibRequestContext {
    explicit MibRequestContext(const Bytes &value)
        : carried(std::make_unique<uint8_t[]>(value.size())),
          carriedLength(static_cast<uint32_t>(value.size())) {
        std::ranges::copy(value, carried.get());
    }

    // The value carried, in a buffer of exactly its length, so that reading past it is caught by
    // AddressSanitizer.
    std::unique_ptr<uint8_t[]> carried;
    uint32_t carriedLength;
    MibValue answer;
};

inline bool isOidPrefix(const Oid &prefix, const Oid &oid) {
    return prefix.size() <= oid.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

// A handler broke the agent's contract: prints what it did on standard error and aborts.
[[noreturn]] void mibContractBroken(const char *what);

}  // namespace switchsim
