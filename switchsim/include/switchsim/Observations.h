#pragma once
// What the simulated switch records of the daemon's calls, for tests and the demo to look at.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/SmdPacketApi.h"

namespace switchsim {

using Bytes = std::vector<uint8_t>;
using MacAddress = std::array<uint8_t, 6>;

// One call of smdVDPktRegister or smdVDPktRegRunning, with the descriptor's bytes as passed.
struct PacketRegistration {
    std::string call;
    uint32_t unit = 0;
    std::array<uint8_t, 36> descriptor{};
    uint32_t mode = 0;
    bool withCallback = false;
    int32_t result = 0;
};

// One line handed to the system log service.
struct SyslogLine {
    uint32_t module = 0;
    uint32_t level = 0;
    std::string name;
    std::string text;
    std::string detail;
};

// One reply sent with vosMsgResp: the first `length` bytes of the message.
struct Reply {
    int32_t result = 0;
    uint32_t length = 0;
    Bytes message;
};

// One call of the filter resource service, its arguments written out in the order they were passed.
struct FilterCall {
    std::string function;
    std::string arguments;
    int32_t result = 0;

    // "function(arguments) = result"
    [[nodiscard]] std::string text() const;
};

// One line of the remote-call wrapper service's debug output.
struct RemoteCallDebugLine {
    uint32_t level = 0;
    std::string text;
};

// One answer of the running-configuration callback.
struct RunningConfigAnswer {
    uint32_t result = 0;
    std::string text;
    uint32_t remaining = 0;
};

// A frame that the switch forwarded in hardware, without the daemon.
struct SwitchedFrame {
    uint32_t ingressPort = 0;
    uint32_t vlan = 0;
    Bytes frame;
};

// One call of smdVDMacGet: the inputs of the query as passed, and the answer.
struct MacLookup {
    std::string mac;
    uint32_t vlan = 0;
    uint32_t port = 0;
    int32_t result = 0;
};

// A frame the daemon sent with smdVDPktSendPort or smdVDPktSendPortlist.
struct SentFrame {
    uint16_t vlan = 0;
    // The single port value as passed (bit 31 set: aggregation group `value & 0x7FFFFFFF`), or the ports of
    // the list in ascending order.
    std::vector<uint32_t> ports;
    bool toPortList = false;
    Bytes bytes;
    PktRecvInfo info{};
    uint32_t flags = 0;
};

}  // namespace switchsim
