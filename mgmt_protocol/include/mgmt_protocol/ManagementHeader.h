#pragma once
// The management messages between the command line and a switch process, in the processor's own byte
// order. Every message starts with the 24-byte header of MessageLayout.h.
//
// A remote call (type 2) carries per argument a u32 length and then that many bytes; the reply is the same
// message with the outputs written over the arguments and the result filled in. A call that cannot be
// served goes back with no data. The platform answers its own requests, without the daemon's main loop: the
// running configuration (type 3), the names of the ports (type 4), configuration text checked on a copy of
// the daemon (5) or entered whole or not at all (6), the running configuration saved as the boot
// configuration (7), where the boot configuration and the binding database are kept (8), and the
// configuration replaced by a text through its differences (9). Their
// requests and replies may be longer than a 16-bit length says, so their data is everything behind the
// header: a text, or the names one per line; the reply's result is 0, or the number of lines refused.

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/MessageLayout.h"

namespace mgmt {

using Bytes = std::vector<uint8_t>;

template <typename T>
void storeAt(std::span<uint8_t> bytes, size_t offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

template <typename T>
T loadAt(std::span<const uint8_t> bytes, size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// The type of a message, or 0 when it is shorter than its header.
uint16_t messageType(std::span<const uint8_t> message);
// The protocol version a message was written for, or 0 when it is shorter than its header.
uint16_t messageVersion(std::span<const uint8_t> message);

Bytes encodeRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments);

struct DecodedRemoteCall {
    uint32_t callNumber = 0;
    int32_t result = 0;
    std::vector<Bytes> arguments;
};

// Reads a remote-call message or reply; nothing when its fields do not fit its length.
std::optional<DecodedRemoteCall> decodeRemoteCall(std::span<const uint8_t> message);

// What the platform makes of a remote call before the daemon sees it: one whose arguments do not fit its
// length is malformed; one with the daemon's count of arguments must have each of the size that the call
// takes. A wrong count and an unknown call number are the daemon's to answer.
enum class CallVerdict { kServe, kMalformed, kWrongSize };
CallVerdict screenRemoteCall(std::span<const uint8_t> message);

// A request of the platform's own, and its reply: the header and a text behind it.
Bytes encodePlatformRequest(uint16_t type, std::string_view text = {});
Bytes encodePlatformReply(uint16_t type, int32_t result, std::string_view text);
Bytes encodePortNamesReply(const std::vector<std::string> &names);

// The text behind the header of a platform request or reply.
std::string_view messageText(std::span<const uint8_t> message);

}  // namespace mgmt
