// The MIB agent calls of the host platform. No SNMP agent serves the module here yet: registration is
// accepted and no request ever reaches the daemon's handlers, so the calls that read and answer a request
// are never made; should one be, the process stops with the reason rather than answer wrongly.

#include <cstdio>
#include <cstdlib>

#include "platform/CcdApi.h"

namespace {

enum ErrorCode : uint32_t {
    kNoSuchInstance = 2,
    kNoNextInstance,
    kWrongValue,
    kInvalidRange,
    kInvalidLength,
    kTooBig,
    kResourceUnavailable,
    kCommitFailed,
    kRequestFailed,
};

[[noreturn]] void noAgent(const char *call) {
    std::fprintf(stderr, "dhcp6snooping: %s: this platform has no MIB agent to make requests\n", call);
    std::abort();
}

}  // namespace

extern "C" {

int32_t ccdInit(uint32_t /*arg1*/, uint32_t /*arg2*/) {
    return 0;
}

int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects) {
    return moduleName != nullptr && objects != nullptr ? 0 : -1;
}

uint32_t ccdErrorNoSuchInstance(void) {
    return kNoSuchInstance;
}

uint32_t ccdErrorNoNextInstance(void) {
    return kNoNextInstance;
}

uint32_t ccdErrorWrongValue(void) {
    return kWrongValue;
}

uint32_t ccdErrorInvalidRange(void) {
    return kInvalidRange;
}

uint32_t ccdErrorInvalidLength(void) {
    return kInvalidLength;
}

uint32_t ccdErrorTooBig(void) {
    return kTooBig;
}

uint32_t ccdErrorResourceUnavail(void) {
    return kResourceUnavailable;
}

uint32_t ccdErrorCommitFailed(void) {
    return kCommitFailed;
}

uint32_t ccdErrorRequestMap(uint32_t /*mode*/) {
    return kRequestFailed;
}

int32_t ccdScalarValidate(uint32_t /*mode*/, MibRequest * /*request*/) {
    noAgent(__func__);
}

uint32_t ccdNextScalarIndex(MibRequest * /*request*/) {
    noAgent(__func__);
}

uint32_t ccdNextSimpleIndex(MibRequest * /*request*/) {
    noAgent(__func__);
}

uint32_t ulongGet(MibRequest * /*request*/) {
    noAgent(__func__);
}

void ulongSet(MibRequest * /*request*/, uint32_t /*value*/) {
    noAgent(__func__);
}

uint8_t *octetGet(MibRequest * /*request*/) {
    noAgent(__func__);
}

void octetSet(MibRequest * /*request*/, const void * /*bytes*/, uint32_t /*length*/) {
    noAgent(__func__);
}

void miscMacIndex2OctetString(const uint32_t * /*subIdentifiers*/, uint8_t * /*octets*/) {
    noAgent(__func__);
}

void miscOctetString2MacIndex(const uint8_t * /*octets*/, uint32_t * /*subIdentifiers*/) {
    noAgent(__func__);
}
}
