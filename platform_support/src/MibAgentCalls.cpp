// The calls with which a MIB handler reads the request the engine made and answers it, judges a scalar's
// instance, moves a get-next to the next index, and names the failures it returns.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "MibRequestContext.h"
#include "platform/CcdApi.h"

namespace mibengine {
namespace {

constexpr uint32_t kLastSimpleIndex = 0xFFFFFFFFU;
constexpr uint32_t kMacLength = 6;

MibRequestContext &contextOf(const MibRequest *request) {
    if (request == nullptr || request->agent == nullptr) {
        mibContractBroken("a MIB agent call was given a request the agent did not make");
    }
    return *static_cast<MibRequestContext *>(request->agent);
}

}  // namespace

void mibContractBroken(const char *what) {
    std::fprintf(stderr, "MIB agent: %s\n", what);
    std::abort();
}

}  // namespace mibengine

extern "C" {

uint32_t ccdErrorNoSuchInstance(void) {
    return mibengine::kMibNoSuchInstance;
}

uint32_t ccdErrorNoNextInstance(void) {
    return mibengine::kMibNoNextInstance;
}

uint32_t ccdErrorWrongValue(void) {
    return mibengine::kMibWrongValue;
}

uint32_t ccdErrorInvalidRange(void) {
    return mibengine::kMibInvalidRange;
}

uint32_t ccdErrorInvalidLength(void) {
    return mibengine::kMibInvalidLength;
}

uint32_t ccdErrorTooBig(void) {
    return mibengine::kMibTooBig;
}

uint32_t ccdErrorResourceUnavail(void) {
    return mibengine::kMibResourceUnavailable;
}

uint32_t ccdErrorCommitFailed(void) {
    return mibengine::kMibCommitFailed;
}

uint32_t ccdErrorRequestMap(uint32_t mode) {
    switch (mode) {
        case MIB_MODE_GET_NEXT:
            return mibengine::kMibGetNextFailed;
        case MIB_MODE_GET:
            return mibengine::kMibGetFailed;
        case MIB_MODE_TEST:
            return mibengine::kMibTestFailed;
        case MIB_MODE_SET:
            return mibengine::kMibSetFailed;
        default:
            return mibengine::kMibRequestFailed;
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
        return mibengine::kMibNoNextInstance;
    }
    request->index[0] = 0;
    request->indexLength = 1;
    return 0;
}

uint32_t ccdNextSimpleIndex(MibRequest *request) {
    if (request->indexLength == 0) {
        request->index[0] = 1;
    } else if (request->index[0] == mibengine::kLastSimpleIndex) {
        return mibengine::kMibNoNextInstance;
    } else {
        ++request->index[0];
    }
    request->indexLength = 1;
    return 0;
}

uint32_t ulongGet(MibRequest *request) {
    const auto &context = mibengine::contextOf(request);
    // The integer is the last four bytes carried, in network order; a shorter value is all of it.
    const uint32_t length = std::min<uint32_t>(context.carriedLength, sizeof(uint32_t));
    uint32_t value = 0;
    for (const uint8_t byte : std::span(context.carried.get() + context.carriedLength - length, length)) {
        value = value << 8U | byte;
    }
    return value;
}

void ulongSet(MibRequest *request, uint32_t value) {
    mibengine::contextOf(request).answer = mibengine::MibValue::integer(value);
}

uint8_t *octetGet(MibRequest *request) {
    return mibengine::contextOf(request).carried.get();
}

void octetSet(MibRequest *request, const void *bytes, uint32_t length) {
    const auto *first = static_cast<const uint8_t *>(bytes);
    mibengine::contextOf(request).answer =
        mibengine::MibValue::octets(mibengine::Octets(first, first + length));
}

void miscMacIndex2OctetString(const uint32_t *subIdentifiers, uint8_t *octets) {
    std::ranges::transform(std::span(subIdentifiers, mibengine::kMacLength), octets,
                           [](uint32_t arc) { return static_cast<uint8_t>(arc & 0xFFU); });
}

void miscOctetString2MacIndex(const uint8_t *octets, uint32_t *subIdentifiers) {
    std::ranges::copy(std::span(octets, mibengine::kMacLength), subIdentifiers);
}
}
