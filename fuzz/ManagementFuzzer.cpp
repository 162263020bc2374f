// Management messages through the main loop, as the switch's management plane would send them: raw
// messages of any type and length, remote calls by number with any arguments or with the arguments the call
// takes, and failed receives. Every message of the remote-call type gets exactly one reply that never
// reaches past the receive buffer, and a call that is refused leaves the daemon's state as it was.
//
// An input is a run of messages, each a kind byte and its body:
//   0 raw          length (16 bits), bytes
//   1 remote call  call (6250 + byte % 33), argument count (0..7), per argument a length byte and bytes
//   2 failure      the receive result
//   3 well formed  call (6250 + byte % 32), then per argument of the call its value: for a 32-bit
//                  argument a byte (below 224 the value itself, else a 16-bit value follows), for any
//                  other its bytes, zero-filled when the input ends

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include "FuzzSupport.h"
#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "mgmt/RemoteCallTable.h"
#include "platform/PlatformVariables.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/BulkRemoval.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/RemoteCallMessage.h"

namespace {

using namespace fuzz;

constexpr uint32_t kResetCall = 6274, kMaxArguments = 8;
constexpr int32_t kRefused = -1, kArgumentCountRefused = -1001;

// The state a refused call must leave alone.
auto settings() {
    std::array<uint8_t, sizeof infoOptionConfig> options{};
    std::memcpy(options.data(), &infoOptionConfig, sizeof infoOptionConfig);
    return std::tuple(dhcp6snoopingOnOff, std::to_array(portTrustMode), std::to_array(portIpSourceGuardMode),
                      std::to_array(portMaxNum), std::to_array(vlanMaxNum), dhcp6snoopingPortDownAction,
                      staticBindCount, std::to_array(ipv6SourceGuardDisabledVlan), options,
                      fuzzSwitch().installedFilters());
}

// The sizes of each call's arguments in order, from call 6250 on.
constexpr uint32_t kU32 = 4, kIp = 16, kMac = 6, kBitmap = sizeof(VlanBitmap),
                   kRecord = sizeof(InfoOptionConfig);
const std::vector<std::vector<uint32_t>> kArgumentSizes = {
    {},
    {},
    {kU32},
    {kIp, kMac, kU32, kU32},
    {kU32, kIp, kMac, kU32, kU32},
    {kIp, kMac, kU32},
    {kIp},
    {kIp},
    {},
    {},
    {kU32, kU32},
    {kU32, kU32},
    {kU32, kU32},
    {kU32, kU32},
    {kU32, kU32},
    {kMac, kU32, kU32, kU32, 10 * sizeof(ClientAddressSummary), 10 * kU32},
    {kU32, kU32, kU32},
    {kU32, kU32, kU32},
    {kIp, sizeof(StaticBindRecord)},
    {kU32, kU32},
    {sizeof(GlobalInfo)},
    {kU32},
    {kBitmap},
    {sizeof(DeleteSelector)},
    {},
    {kU32},
    {kU32, kU32},
    {2, 2, 2, kStaticBindPage * sizeof(StaticBindRecord)},
    {kBitmap},
    {kU32, kBitmap, kBitmap},
    {kRecord},
    {kU32, kRecord}};
static_assert(kEndRemoteCall - kFirstRemoteCall == 32);

// Mostly a port, a mode, a flag or a small count; now and then a VLAN or a large limit.
uint32_t u32Value(Input &input) {
    const uint8_t small = input.byte();
    return small < 224 ? small : input.be16();
}

switchsim::Bytes wellFormedCall(Input &input, uint32_t &callNumber) {
    const uint32_t row = input.byte() % kArgumentSizes.size();
    callNumber = kFirstRemoteCall + row;
    std::vector<switchsim::Bytes> arguments;
    for (const uint32_t size : kArgumentSizes[row]) {
        switchsim::Bytes &argument = arguments.emplace_back(size);
        if (size == kU32) {
            const uint32_t value = u32Value(input);
            std::memcpy(argument.data(), &value, sizeof value);
        } else {
            const auto [bytes, length] = input.take(size);
            std::copy(bytes, bytes + length, argument.begin());
        }
    }
    return switchsim::encodeRemoteCall(callNumber, arguments);
}

switchsim::Bytes remoteCall(Input &input, uint32_t &callNumber) {
    callNumber = kFirstRemoteCall + input.byte() % (kEndRemoteCall - kFirstRemoteCall + 1);
    std::vector<switchsim::Bytes> arguments(input.byte() % kMaxArguments);
    for (switchsim::Bytes &argument : arguments) {
        const auto [bytes, length] = input.take(input.byte());
        argument.assign(bytes, bytes + length);
    }
    return switchsim::encodeRemoteCall(callNumber, arguments);
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
    const auto before = settings();
    sw.queueMessage(message);
    serve();
    // The type of a message too short to hold it whole is read from what it has.
    uint16_t type = 0;
    if (!message.empty()) {
        std::memcpy(&type, message.data(), std::min(message.size(), sizeof type));
    }
    const size_t replies = sw.replies().size() - repliesBefore;
    require(replies == (!message.empty() && type == switchsim::kRemoteCallMessageType ? 1 : 0));
    if (replies == 1) {
        const switchsim::Reply &reply = sw.replies().back();
        require(reply.length <= SMD_MSG_RECV_BUFFER_SIZE);
        const bool refused = reply.result == kRefused || reply.result == kArgumentCountRefused;
        require(!refused || callNumber == kResetCall || settings() == before);
    }
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
