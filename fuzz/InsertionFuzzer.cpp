// Options 18 and 37 added to client messages under arbitrary settings, templates and options areas. The
// switch re-reads every frame the daemon sends: a sound frame in must leave as a sound frame (lengths and
// checksum agreeing with the bytes, the options area walking to its end), and the working buffer is never
// written past (the sanitizers watch it).
//
// An input: strategy, option 18 enable, option 37 enable, for each of 18 and 37 a format byte and a value or
// template text (a length byte and the text), then messages: type, port, and options as (code, length byte,
// data), ended by a code of 0xFFFF.

#include "FilterInvariant.h"
#include "FuzzSupport.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace {

using namespace fuzz;
namespace dhcp6 = switchsim::dhcp6;

constexpr uint16_t kEndOfOptions = 0xFFFF;
constexpr uint32_t kMaxMessages = 8;

void configure(Input &input) {
    infoOptionConfig.strategy = input.byte() % 4;
    for (const bool interfaceId : {true, false}) {
        enableRelayOption(interfaceId, input.byte() % 2 != 0);
    }
    for (const bool interfaceId : {true, false}) {
        const uint32_t format = 1 + input.byte() % 6;
        const auto [text, length] = input.take(input.byte() % kOptionValueSize);
        setRelayOptionFormat(interfaceId, format, {reinterpret_cast<const char *>(text), length});
    }
}

switchsim::Bytes options(Input &input) {
    switchsim::Bytes area;
    while (!input.empty()) {
        const uint16_t code = input.be16();
        if (code == kEndOfOptions) {
            break;
        }
        const auto [data, length] = input.take(input.byte());
        area = dhcp6::join({area, dhcp6::option(code, switchsim::Bytes(data, data + length))});
    }
    return area;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    switchsim::Switch &sw = fuzzSwitch();
    Input input(data, size);
    configure(input);
    dhcp6snoopingStart();
    for (uint32_t n = 0; n < kMaxMessages && !input.empty(); ++n) {
        const uint8_t type = input.byte();
        const uint32_t port = portOf(input.byte());
        const switchsim::MacAddress client = {2, 0, 0, 0, 0, static_cast<uint8_t>(n + 1)};
        sw.queueFrame(port, 1, dhcp6::buildDhcp6Frame(dhcp6::fromClient(type, client, options(input))).bytes);
        serve();
        requireInvariant("after a client message");
    }
    resetAll(/*filtersMustBeGone=*/true);
    return 0;
}
