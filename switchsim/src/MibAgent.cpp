// The MIB agent of the simulated switch: initialisation, module registration, and the calls with which
// handlers read a request and answer it.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

#include "MibModule.h"
#include "SimState.h"
#include "platform/CcdApi.h"

using switchsim::activeSim;

namespace switchsim {
namespace {

constexpr uint32_t kLastSimpleIndex = 0xFFFFFFFFU;
constexpr uint32_t kMacLength = 6;

// The object's OID: its group's prefix followed by its column.
Oid objectOid(const MibGroupDescriptor &group, const MibObjectDescriptor &object) {
    Oid oid(group.oid, group.oid + group.oidLength - 1);
    oid.push_back(object.column);
    return oid;
}

bool wellFormed(const MibObjectListEntry &entry) {
    return entry.group != nullptr && entry.object != nullptr && entry.object->handler != nullptr &&
           entry.group->oidLength >= 1 && entry.group->oidLength <= kMibOidCapacity &&
           entry.group->instanceLength <= kMibOidCapacity;
}

// The module of the `count` objects listed, or nothing when one is malformed, two share an OID, or one's
// OID is a prefix of another's (then an OID could name both).
std::shared_ptr<MibModule> moduleListed(const MibObjectListEntry *objects, size_t count) {
    auto module = std::make_shared<MibModule>();
    for (const MibObjectListEntry &entry : std::span(objects, count)) {
        if (!wellFormed(entry) || !module->objects
                                       .try_emplace(objectOid(*entry.group, *entry.object),
                                                    RegisteredObject{entry.group, entry.object})
                                       .second) {
            return nullptr;
        }
    }
    // An OID that is a prefix of another sorts right before the ones it prefixes.
    const auto &objectsByOid = module->objects;
    const auto prefixes = [](const auto &first, const auto &second) {
        return isOidPrefix(first.first, second.first);
    };
    if (std::adjacent_find(objectsByOid.begin(), objectsByOid.end(), prefixes) != objectsByOid.end()) {
        return nullptr;
    }
    return module;
}

MibRequestContext &contextOf(const MibRequest *request) {
    if (request == nullptr || request->agent == nullptr) {
        mibContractBroken("a MIB agent call was given a request the agent did not make");
    }
    return *static_cast<MibRequestContext *>(request->agent);
}

}  // namespace

void mibContractBroken(const char *what) {
    std::fprintf(stderr, "switchsim: %s\n", what);
    std::abort();
}

}  // namespace switchsim

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
    auto module =
        moduleName != nullptr && objects != nullptr ? switchsim::moduleListed(objects, count) : nullptr;
    if (module == nullptr) {
        return -1;
    }
    sim.mibModule = std::move(module);
    return 0;
}

uint32_t ccdErrorNoSuchInstance(void) {
    return switchsim::kMibNoSuchInstance;
}

uint32_t ccdErrorNoNextInstance(void) {
    return switchsim::kMibNoNextInstance;
}

uint32_t ccdErrorWrongValue(void) {
    return switchsim::kMibWrongValue;
}

uint32_t ccdErrorInvalidRange(void) {
    return switchsim::kMibInvalidRange;
}

uint32_t ccdErrorInvalidLength(void) {
    return switchsim::kMibInvalidLength;
}

uint32_t ccdErrorTooBig(void) {
    return switchsim::kMibTooBig;
}

uint32_t ccdErrorResourceUnavail(void) {
    return switchsim::kMibResourceUnavailable;
}

uint32_t ccdErrorCommitFailed(void) {
    return switchsim::kMibCommitFailed;
}

uint32_t ccdErrorRequestMap(uint32_t mode) {
    switch (mode) {
        case MIB_MODE_GET_NEXT:
            return switchsim::kMibGetNextFailed;
        case MIB_MODE_GET:
            return switchsim::kMibGetFailed;
        case MIB_MODE_TEST:
            return switchsim::kMibTestFailed;
        case MIB_MODE_SET:
            return switchsim::kMibSetFailed;
        default:
            return switchsim::kMibRequestFailed;
    }
}

int32_t ccdScalarValidate(uint32_t mode, MibRequest *request) {
    if (mode == MIB_MODE_GET_NEXT) {
        return 0;
    }
    return request->indexLength == 1 && request->index[0] == 0 ? 0 : -1;
}

uint32_t ccdNextScalarIndex(MibRequest *request) {
    if (request->indexLength != 0) {
        return switchsim::kMibNoNextInstance;
    }
    request->index[0] = 0;
    request->indexLength = 1;
    return 0;
}

uint32_t ccdNextSimpleIndex(MibRequest *request) {
    if (request->indexLength == 0) {
        request->index[0] = 1;
    } else if (request->index[0] == switchsim::kLastSimpleIndex) {
        return switchsim::kMibNoNextInstance;
    } else {
        ++request->index[0];
    }
    request->indexLength = 1;
    return 0;
}

uint32_t ulongGet(MibRequest *request) {
    const auto &context = switchsim::contextOf(request);
    // The integer is the last four bytes carried, in network order; a shorter value is all of it.
    const uint32_t length = std::min<uint32_t>(context.carriedLength, sizeof(uint32_t));
    uint32_t value = 0;
    for (const uint8_t byte : std::span(context.carried.get() + context.carriedLength - length, length)) {
        value = value << 8U | byte;
    }
    return value;
}

void ulongSet(MibRequest *request, uint32_t value) {
    switchsim::contextOf(request).answer = switchsim::MibValue::integer(value);
}

uint8_t *octetGet(MibRequest *request) {
    return switchsim::contextOf(request).carried.get();
}

void octetSet(MibRequest *request, const void *bytes, uint32_t length) {
    const auto *first = static_cast<const uint8_t *>(bytes);
    switchsim::contextOf(request).answer =
        switchsim::MibValue::octets(switchsim::Bytes(first, first + length));
}

void miscMacIndex2OctetString(const uint32_t *subIdentifiers, uint8_t *octets) {
    std::ranges::transform(std::span(subIdentifiers, switchsim::kMacLength), octets,
                           [](uint32_t arc) { return static_cast<uint8_t>(arc & 0xFFU); });
}

void miscOctetString2MacIndex(const uint8_t *octets, uint32_t *subIdentifiers) {
    std::ranges::copy(std::span(octets, switchsim::kMacLength), subIdentifiers);
}
}
