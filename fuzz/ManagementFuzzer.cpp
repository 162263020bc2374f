// Management messages through the main loop, as the switch's management plane would send them: raw
// messages of any type and length, remote calls by number with any arguments, and failed receives. Every
// message of the remote-call type gets exactly one reply that never reaches past the receive buffer, and a
// call that is refused leaves the daemon's settings as they were.
//
// An input is a run of messages, each a kind byte and its body:
//   0 raw          length (16 bits), bytes
//   1 remote call  call (6250 + byte % 33), argument count (0..7), per argument a length byte and bytes
//   2 failure      the receive result

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include "FuzzSupport.h"
#include "core/GlobalState.h"
#include "mgmt/RemoteCallTable.h"
#include "platform/PlatformVariables.h"
#include "source_guard/StaticBindList.h"
#include "switchsim/RemoteCallMessage.h"

namespace {

using namespace fuzz;

constexpr uint32_t kResetCall = 6274, kMaxArguments = 8;
constexpr int32_t kRefused = -1, kArgumentCountRefused = -1001;

// The settings a refused call must leave alone.
auto settings() {
    return std::tuple(dhcp6snoopingOnOff, std::to_array(portTrustMode), std::to_array(portIpSourceGuardMode),
                      std::to_array(portMaxNum), std::to_array(vlanMaxNum), dhcp6snoopingPortDownAction,
                      staticBindCount);
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
    const uint8_t kind = input.byte() % 3;
    if (kind == 2) {
        sw.queueReceiveFailure(-static_cast<int32_t>(input.byte()));
        serve();
        require(sw.replies().size() == repliesBefore);
        return;
    }
    if (kind == 0) {
        const auto [bytes, length] = input.take(std::min<size_t>(input.be16(), SMD_MSG_RECV_BUFFER_SIZE));
        message.assign(bytes, bytes + length);
    } else if ((message = remoteCall(input, callNumber)).size() > SMD_MSG_RECV_BUFFER_SIZE) {
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
