#pragma once
// The MIB agent service: registration of a MIB module and the calls with which a module's handlers read
// requests and answer them.

#include <cstddef>
#include <cstdint>

extern "C" {

struct MibRequest;
typedef uint32_t (*MibHandler)(uint32_t mode, MibRequest *request);

// How a request reaches a handler; any other mode is answered 0 with nothing done.
enum MibRequestMode : uint32_t {
    MIB_MODE_GET_NEXT = 1,  // move the instance to the next one, then answer as for get
    MIB_MODE_GET = 2,
    MIB_MODE_TEST = 5,  // judge the value carried; change nothing
    MIB_MODE_SET = 6,   // apply the value, after a test of it passed
};

enum MibSyntax : uint32_t {
    MIB_SYNTAX_INTEGER = 1,
    MIB_SYNTAX_DISPLAY_STRING = 2,
    MIB_SYNTAX_MAC_ADDRESS = 5,
    MIB_SYNTAX_ROW_STATUS = 13,
};

enum MibAccess : uint32_t {
    MIB_ACCESS_READ_ONLY = 1,
    MIB_ACCESS_READ_WRITE = 3,
};

inline constexpr uint32_t kMibObjectFlags = 0x01;
inline constexpr uint32_t kMibIndexObjectFlags = 0x11;  // a table's index column
inline constexpr uint32_t kMibOidCapacity = 32;

// One object of a module, in the run of its group's objects, which a descriptor of all zeros closes.
struct MibObjectDescriptor {
    uint16_t objectId;  // unique in the module; handed back in every request
    uint16_t column;    // last arc of the object's OID under its group's prefix
    uint32_t maxLength;
    uint32_t rangeMin;  // 0 and 0: no range
    uint32_t rangeMax;
    uint32_t syntax;  // MibSyntax
    uint32_t access;  // MibAccess
    uint32_t flags;
    uint32_t reserved1;
    MibHandler handler;
    const void *reserved2;
    const char *name;  // "module:object"
};
static_assert(sizeof(MibObjectDescriptor) == 56);
static_assert(offsetof(MibObjectDescriptor, maxLength) == 4);
static_assert(offsetof(MibObjectDescriptor, syntax) == 16);
static_assert(offsetof(MibObjectDescriptor, flags) == 24);
static_assert(offsetof(MibObjectDescriptor, handler) == 32);
static_assert(offsetof(MibObjectDescriptor, name) == 48);

// A group of objects served by one handler: a scalar of its own, or the columns of one table.
struct MibGroupDescriptor {
    uint32_t groupKind;
    uint32_t oid[kMibOidCapacity];  // the prefix of the group's objects, zero behind it
    uint32_t oidLength;             // arcs of the prefix plus one for the column
    uint32_t indexCount;            // 1 for a table, 0 for a scalar
    uint32_t instanceLength;        // arcs of one instance
    const char *indexName;          // key of the table's index object; null for a scalar
    uint8_t reserved[48];
    const MibObjectDescriptor *firstObject;
};
static_assert(sizeof(MibGroupDescriptor) == 208);
static_assert(offsetof(MibGroupDescriptor, oid) == 4);
static_assert(offsetof(MibGroupDescriptor, oidLength) == 132);
static_assert(offsetof(MibGroupDescriptor, instanceLength) == 140);
static_assert(offsetof(MibGroupDescriptor, indexName) == 144);
static_assert(offsetof(MibGroupDescriptor, firstObject) == 200);

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

int32_t ccdInit(uint32_t arg1, uint32_t arg2);
// Registers the module's objects, listed in any order and closed by a null pair; 0 on success. The agent
// keeps the list's pointers, so the list and the descriptors it points to must live as long as the process.
// An object's OID is its group's oid[0..oidLength-1) followed by its column; a list in which two objects
// share an OID, one's OID is a prefix of another's, or an object has no handler is refused (-1). The
// agent's requests reach the handlers on the process's own thread, between its messages.
int32_t ccdModuleRegister(const char *moduleName, const MibObjectListEntry *objects);

// The codes a handler answers with, each distinct from the others and from 0.
uint32_t ccdErrorNoSuchInstance(void);
// Also what a get-next answers when the object has no instance after the one given: the agent then asks the
// next object in OID order, with no instance.
uint32_t ccdErrorNoNextInstance(void);
uint32_t ccdErrorWrongValue(void);
uint32_t ccdErrorInvalidRange(void);
uint32_t ccdErrorInvalidLength(void);
uint32_t ccdErrorTooBig(void);
uint32_t ccdErrorResourceUnavail(void);
uint32_t ccdErrorCommitFailed(void);
// A failure of a request of `mode`; the code differs with the mode.
uint32_t ccdErrorRequestMap(uint32_t mode);

// For a scalar, whose one instance is .0: 0 in a get-next; otherwise 0 when the request addresses .0, else
// -1.
int32_t ccdScalarValidate(uint32_t mode, MibRequest *request);
// A scalar's get-next: with no instance yet, makes the request address .0 and answers 0; otherwise answers
// ccdErrorNoNextInstance().
uint32_t ccdNextScalarIndex(MibRequest *request);
// A table with one integer index: makes the request address the next candidate index, 1 with no instance
// yet, else index[0] + 1, and answers 0; after 0xFFFFFFFF there is none, and it answers
// ccdErrorNoNextInstance().
uint32_t ccdNextSimpleIndex(MibRequest *request);

// The value carried by a test or set as an integer: its last four bytes in network order, or all of them
// when it is shorter.
uint32_t ulongGet(MibRequest *request);
// Answers a get or get-next with an integer.
void ulongSet(MibRequest *request, uint32_t value);
// The value carried as octets: exactly valueLength bytes, as the request came, to be read no further.
uint8_t *octetGet(MibRequest *request);
// Answers a get or get-next with `length` octets, copied.
void octetSet(MibRequest *request, const void *bytes, uint32_t length);

// A MAC address as six index sub-identifiers and back: each sub-identifier holds one octet, its low byte.
void miscMacIndex2OctetString(const uint32_t *subIdentifiers, uint8_t *octets);
void miscOctetString2MacIndex(const uint8_t *octets, uint32_t *subIdentifiers);
}
