#pragma once
// The MIB agent's engine, whatever carries the requests to it: the module registered with
// ccdModuleRegister (platform/CcdApi.h) kept in OID order, and the requests a manager makes (get, get-next,
// set, walk) turned into calls of the module's handlers. The simulated switch's agent and the host's AgentX
// subagent both serve through it, so that a manager sees the same module on either.
//
// A request is served at once, on the caller's thread: the engine finds the object, builds the request and
// calls the object's handler before returning. The agent calls that handlers make on that request (the
// value, index and error calls of platform/CcdApi.h) are defined with the engine.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/CcdApi.h"

namespace mibengine {

using Oid = std::vector<uint32_t>;
using Octets = std::vector<uint8_t>;

// The codes the agent hands its handlers to answer with (the ccdError calls), and the agent's own. They are
// distinct, so that a result tells which one a handler gave.
enum MibError : uint32_t {
    kMibNoError = 0,
    kMibNoSuchInstance,  // ccdErrorNoSuchInstance; also the agent's own for an instance of over 32 arcs
    kMibNoNextInstance,  // ccdErrorNoNextInstance: no instance of the object after the one given
    kMibWrongValue,
    kMibInvalidRange,
    kMibInvalidLength,
    kMibTooBig,
    kMibResourceUnavailable,
    kMibCommitFailed,
    // ccdErrorRequestMap(mode): a request of that mode failed.
    kMibGetNextFailed,
    kMibGetFailed,
    kMibTestFailed,
    kMibSetFailed,
    kMibRequestFailed,  // a request of any other mode
    // The agent's own, given without any handler being called.
    kMibNoSuchObject,  // the OID names no object of the module
    kMibEndOfModule,   // a get-next found no instance after the OID in the whole module
};

// A value as a request carries it: nothing (a get's), an unsigned 32-bit integer, or octets, with the
// number of bytes the request carries.
class MibValue {
  public:
    using Content = std::variant<std::monostate, uint32_t, Octets>;

    MibValue() = default;
    // An integer is carried in 4 bytes; another length shows a handler a manager that encodes it
    // otherwise (8 bytes, as a 64-bit one does).
    static MibValue integer(uint32_t value, uint32_t carriedLength = 4);
    static MibValue octets(Octets octets);
    static MibValue text(std::string_view text);

    [[nodiscard]] const Content &content() const { return content_; }
    [[nodiscard]] uint32_t length() const { return length_; }
    // The bytes a handler reads with octetGet: the octets, or the integer in network order, right-aligned
    // in the length carried (zeros before it, or only its low bytes when the length is under 4).
    [[nodiscard]] Octets carriedBytes() const;

    bool operator==(const MibValue &) const = default;

  private:
    MibValue(Content content, uint32_t length) : content_(std::move(content)), length_(length) {}

    Content content_;
    uint32_t length_ = 0;
};

struct MibVarBind {
    Oid oid;
    MibValue value;
    bool operator==(const MibVarBind &) const = default;
};

// What one request came to.
struct MibResult {
    uint32_t code = kMibNoError;  // the handler's result, or the agent's own code (MibError)
    Oid oid;                      // the object's OID and the instance the handler left in the request
    MibValue value;               // the answer set with ulongSet or octetSet; nothing when none was
    bool operator==(const MibResult &) const = default;
};

struct MibSetResult {
    uint32_t code = kMibNoError;  // the first failure's code
    size_t failedVarBind = 0;     // the failing var-bind's position in the request, from 0
    bool operator==(const MibSetResult &) const = default;
};

struct RegisteredObject {
    const MibGroupDescriptor *group;
    const MibObjectDescriptor *object;
};

// The registered module's objects under their OIDs, so in OID order. No OID is a prefix of another, so
// that an OID names one object at most.
struct MibModule {
    std::map<Oid, RegisteredObject> objects;
};

// The module of the objects listed up to the closing pair of null pointers, or nothing when one is
// malformed, two share an OID, or one's OID is a prefix of another's (then an OID could name both).
std::shared_ptr<const MibModule> moduleListed(const MibObjectListEntry *objects);

// The object whose OID is a prefix of `oid`, or null.
const std::pair<const Oid, RegisteredObject> *objectNamed(const MibModule &module, const Oid &oid);

// One call of a handler, in any mode: the object is the one whose OID is a prefix of `oid`, and the arcs
// after it are the instance. The request's index holds the instance in 32 zero-filled sub-identifiers,
// its indexLength is the instance's arcs, its tableIndexLength the arcs of one instance of the object's
// group and its valueLength the length of `value`. The OID of the result is what the request addresses
// after the handler: the object's OID followed by index[0..indexLength). An OID that names no object
// answers kMibNoSuchObject, and an instance of over 32 arcs kMibNoSuchInstance, with no handler called.
MibResult serve(const MibModule &module, uint32_t mode, const Oid &oid, const MibValue &value = {});

// A get-next: from the object the OID names, with its instance, or else from the next object in OID order
// with no instance, the handler is called in MIB_MODE_GET_NEXT; on kMibNoNextInstance the next object is
// asked, with no instance, until one answers or the module ends (kMibEndOfModule, with the OID asked). An
// instance of over 32 arcs is cut to 32: every instance after the cut one is after the OID asked too.
// A handler that answers 0 with an OID not after the one asked would send a manager's walk round in
// circles: the process prints what happened on standard error and aborts, as a sanitizer does. So does a
// handler that leaves an indexLength over 32, in any request.
MibResult getNext(const MibModule &module, const Oid &oid);

// A set: a test pass (MIB_MODE_TEST) over every var-bind in order, which stops at the first failure; only
// when every test passed, the set pass (MIB_MODE_SET) in the same order, which stops at its first failure.
MibSetResult set(const MibModule &module, const std::vector<MibVarBind> &varBinds);

// The whole module, by get-next from the empty OID until the module ends or a handler fails.
std::vector<MibVarBind> walk(const MibModule &module);

// "1.3.6.1.4.1 = value": an integer in decimal, printable octets as quoted text, other octets as hex
// ("00:1a:ff"), and "null" for no value.
std::string varBindText(const MibVarBind &varBind);

}  // namespace mibengine
