// Management messages through the main loop, as the switch's management plane would send them: raw
// messages of any type and length, remote calls by number with any arguments or with the arguments the call
// takes, and failed receives. Every message of the remote-call type gets exactly one reply that never
// reaches past the receive buffer, and a call that is refused leaves the daemon's state as it was; one that
// the host platform's framing check finds malformed is refused and changes nothing.
//
// An input is a run of messages, each a kind byte and its body:
//   0 raw          length (16 bits), bytes
//   1 remote call  call (6250 + byte % 33), argument count (0..7), per argument a length byte and bytes
//   2 failure      the receive result
//   3 well formed  call (6250 + byte % 32), then per argument of the call (its shape in the protocol's
//                  table) its value: for a 32-bit
//                  argument a byte (below 224 the value itself, else a 16-bit value follows), for any
//                  other its bytes, zero-filled when the input ends

#include <iterator>

#include "FilterInvariant.h"
#include "FuzzSupport.h"
#include "mgmt/PortVlanSettings.h"
#include "mgmt/RemoteCallTable.h"
#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "platform/PlatformVariables.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/BulkRemoval.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/StaticBindings.h"

namespace {

using namespace fuzz;

constexpr uint32_t kResetCall = 6274, kVlanListCall = 6279, kMaxArguments = 8;
constexpr int32_t kRefused = -1, kArgumentCountRefused = -1001;

// Mostly a port, a mode, a flag or a small count; now and then a VLAN or a large limit.
uint32_t u32Value(Input &input) {
    const uint8_t small = input.byte();
    return small < 224 ? small : input.be16();
}

switchsim::Bytes wellFormedCall(Input &input, uint32_t &callNumber) {
    const mgmt::CallShape &shape = mgmt::kCallShapes[input.byte() % mgmt::kCallShapes.size()];
    callNumber = shape.number;
    std::vector<switchsim::Bytes> arguments;
    for (const uint16_t size : shape.argumentSizes()) {
        switchsim::Bytes &argument = arguments.emplace_back(size);
        if (size == mgmt::kWordSize) {
            argument = bytesOf(u32Value(input));
        } else {
            const auto [bytes, length] = input.take(argument.size());
            std::copy(bytes, bytes + length, argument.begin());
        }
    }
    return mgmt::encodeRemoteCall(callNumber, arguments);
}

switchsim::Bytes remoteCall(Input &input, uint32_t &callNumber) {
    callNumber = kFirstRemoteCall + input.byte() % (kEndRemoteCall - kFirstRemoteCall + 1);
    std::vector<switchsim::Bytes> arguments(input.byte() % kMaxArguments);
    for (switchsim::Bytes &argument : arguments) {
        const auto [bytes, length] = input.take(input.byte());
        argument.assign(bytes, bytes + length);
    }
    return mgmt::encodeRemoteCall(callNumber, arguments);
}

// A refused exempt-VLAN list change: the VLANs the reply names as failed keep their flags, every other VLAN
// of the request is in the requested state, and nothing else changed. The exempt filters themselves are the
// filter invariant's to check.
bool vlanListRefusedAsModelled(const DaemonState &before, const switchsim::Bytes &message,
                               const switchsim::Reply &reply) {
    const auto call = mgmt::decodeRemoteCall(message);
    const auto answer = mgmt::decodeRemoteCall(reply.message);
    if (!call || !answer || call->arguments.size() != 3 || answer->arguments.size() != 3) {
        return false;
    }
    const auto requested = valueAt<VlanBitmap>(call->arguments[1]);
    const auto failed = valueAt<VlanBitmap>(answer->arguments[2]);
    const uint32_t wanted = valueAt(call->arguments[0]) == kExemptVlansRemove ? 0 : 1;
    std::vector<uint32_t> expected = before.exemptVlans;
    for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        if (vlanBitmapHas(requested, vlan) && !vlanBitmapHas(failed, vlan)) {
            expected[vlan] = wanted;
        }
    }
    const DaemonState after = daemonState(fuzzSwitch());
    const auto notExempt = [](const std::vector<switchsim::Filter> &filters) {
        std::vector<switchsim::Filter> rest;
        std::ranges::copy_if(filters, std::back_inserter(rest), [](const switchsim::Filter &filter) {
            return filter.kind != switchsim::FilterKind::ExemptVlan;
        });
        return rest;
    };
    return after.tables == before.tables && after.exemptVlans == expected &&
           notExempt(after.filters) == notExempt(before.filters);
}

void serveOne(Input &input) {
    switchsim::Switch &sw = fuzzSwitch();
    const size_t repliesBefore = sw.replies().size();
    uint32_t callNumber = 0;
    switchsim::Bytes message;
    const uint8_t kind = input.byte() % 4;
    if (kind == 2) {
        sw.queueReceiveFailure(-static_cast<int32_t>(input.byte()));
        serve();
        require(sw.replies().size() == repliesBefore);
        return;
    }
    if (kind == 0) {
        const auto [bytes, length] = input.take(std::min<size_t>(input.be16(), SMD_MSG_RECV_BUFFER_SIZE));
        message.assign(bytes, bytes + length);
    } else if ((message = kind == 1 ? remoteCall(input, callNumber) : wellFormedCall(input, callNumber))
                   .size() > SMD_MSG_RECV_BUFFER_SIZE) {
        return;
    }
    const DaemonState before = daemonState(sw);
    sw.queueMessage(message);
    serve();
    // The type of a message too short to hold it whole is read from what it has.
    const auto type = valueAt<uint16_t>(message);
    // What the host platform would make of the same bytes: a remote call it finds malformed is one the
    // daemon's wrapper service refuses too, leaving everything as it was.
    const bool malformed = mgmt::screenRemoteCall(message) == mgmt::CallVerdict::kMalformed;
    const size_t replies = sw.replies().size() - repliesBefore;
    require(replies == (!message.empty() && type == mgmt::kRemoteCallMessage ? 1 : 0));
    if (replies == 1) {
        const switchsim::Reply &reply = sw.replies().back();
        require(reply.length <= SMD_MSG_RECV_BUFFER_SIZE);
        const bool refused = reply.result == kRefused || reply.result == kArgumentCountRefused;
        const bool partial = callNumber == kVlanListCall && reply.result == kRefused;
        require(!refused || callNumber == kResetCall ||
                (partial ? vlanListRefusedAsModelled(before, message, reply) : daemonState(sw) == before));
        require(!malformed || (reply.result == kRefused && daemonState(sw) == before));
    }
    requireInvariant("after a management message");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzzSwitch();
    Input input(data, size);
    while (!input.empty()) {
        serveOne(input);
    }
    resetAll(/*filtersMustBeGone=*/true);
    return 0;
}
