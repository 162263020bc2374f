#pragma once
// The MIB agent service: registration of a MIB module and the calls with which a module's handlers read
// requests and answer them.

#include <cstdint>

extern "C" {

struct MibGroupDescriptor;
struct MibObjectDescriptor;

// One object of a module's object list; the list is closed by a pair of null pointers.
struct MibObjectListEntry {
    const MibGroupDescriptor *group;
    const MibObjectDescriptor *object;
};
static_assert(sizeof(MibObjectListEntry) == 16);

// The agent's handle of one request, as far as handlers use it.
struct MibRequest {
    uint32_t *index;            // the instance's sub-identifiers
    uint32_t indexLength;       // sub-identifiers of the instance in use
    uint32_t tableIndexLength;  // sub-identifiers of one instance of the group
    uint32_t valueLength;       // bytes of the value carried by a test or set
    uint16_t objectId;
    void *agent;  // the agent's own
};

typedef uint32_t (*MibHandler)(uint32_t mode, MibRequest *request);

int32_t ccdInit(uint32_t arg1, uint32_t arg2);
int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects);

uint32_t ccdErrorNoSuchInstance(void);
uint32_t ccdErrorNoNextInstance(void);
uint32_t ccdErrorWrongValue(void);
uint32_t ccdErrorInvalidRange(void);
uint32_t ccdErrorInvalidLength(void);
uint32_t ccdErrorTooBig(void);
uint32_t ccdErrorResourceUnavail(void);
uint32_t ccdErrorCommitFailed(void);
uint32_t ccdErrorRequestMap(uint32_t mode);

int32_t ccdScalarValidate(uint32_t mode, MibRequest *request);
uint32_t ccdNextScalarIndex(MibRequest *request);
uint32_t ccdNextSimpleIndex(MibRequest *request);

uint32_t ulongGet(MibRequest *request);
void ulongSet(MibRequest *request, uint32_t value);
uint8_t *octetGet(MibRequest *request);
void octetSet(MibRequest *request, const void *bytes, uint32_t length);

void miscMacIndex2OctetString(const uint32_t *subIdentifiers, uint8_t *octets);
void miscOctetString2MacIndex(const uint8_t *octets, uint32_t *subIdentifiers);
}
