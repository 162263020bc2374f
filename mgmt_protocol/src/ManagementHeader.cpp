#include "mgmt_protocol/ManagementHeader.h"

#include <algorithm>

#include "mgmt_protocol/CallShapes.h"

namespace mgmt {
namespace {

Bytes withText(uint16_t type, int32_t result, std::string_view text) {
    Bytes message(kHeaderSize + text.size(), 0);
    std::ranges::copy(text, message.begin() + kHeaderSize);
    storeAt(message, kTypeOffset, type);
    storeAt(message, kVersionOffset, kProtocolVersion);
    storeAt(message, kResultOffset, result);
    return message;
}

}  // namespace

uint16_t messageType(std::span<const uint8_t> message) {
    return message.size() < kHeaderSize ? 0 : loadAt<uint16_t>(message, kTypeOffset);
}

uint16_t messageVersion(std::span<const uint8_t> message) {
    return message.size() < kHeaderSize ? 0 : loadAt<uint16_t>(message, kVersionOffset);
}

Bytes encodeRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments) {
    Bytes message(kHeaderSize);
    for (const Bytes &argument : arguments) {
        const auto length = static_cast<uint32_t>(argument.size());
        message.resize(message.size() + sizeof length);
        storeAt(message, message.size() - sizeof length, length);
        message.insert(message.end(), argument.begin(), argument.end());
    }
    storeAt(message, kTypeOffset, kRemoteCallMessage);
    storeAt(message, kVersionOffset, kProtocolVersion);
    storeAt(message, kCallNumberOffset, callNumber);
    storeAt(message, kArgCountOffset, static_cast<uint32_t>(arguments.size()));
    storeAt(message, kDataLengthOffset, static_cast<uint16_t>(message.size() - kHeaderSize));
    return message;
}

std::optional<DecodedRemoteCall> decodeRemoteCall(std::span<const uint8_t> message) {
    if (message.size() < kHeaderSize) {
        return std::nullopt;
    }
    const size_t dataLength = loadAt<uint16_t>(message, kDataLengthOffset);
    if (dataLength > message.size() - kHeaderSize) {
        return std::nullopt;
    }
    DecodedRemoteCall call;
    call.callNumber = loadAt<uint32_t>(message, kCallNumberOffset);
    call.result = loadAt<int32_t>(message, kResultOffset);
    const auto count = loadAt<uint32_t>(message, kArgCountOffset);
    std::span<const uint8_t> data = message.subspan(kHeaderSize, dataLength);
    for (uint32_t i = 0; i < count; ++i) {
        if (data.size() < sizeof(uint32_t)) {
            return std::nullopt;
        }
        const auto length = loadAt<uint32_t>(data, 0);
        data = data.subspan(sizeof(uint32_t));
        if (length > data.size()) {
            return std::nullopt;
        }
        call.arguments.emplace_back(data.begin(), data.begin() + length);
        data = data.subspan(length);
    }
    return call;
}

CallVerdict screenRemoteCall(std::span<const uint8_t> message) {
    const auto call = decodeRemoteCall(message);
    if (!call) {
        return CallVerdict::kMalformed;
    }
    const CallShape *shape = callShape(call->callNumber);
    if (shape == nullptr || shape->argumentCount != call->arguments.size()) {
        return CallVerdict::kServe;
    }
    for (size_t i = 0; i < call->arguments.size(); ++i) {
        if (call->arguments[i].size() != shape->sizes[i]) {
            return CallVerdict::kWrongSize;
        }
    }
    return CallVerdict::kServe;
}

std::vector<uint8_t> clearClientsArgument(const ClientSelection &selection) {
    Bytes argument(kDeleteSelectorSize, 0);
    storeAt(argument, kClearKindOffset, static_cast<uint32_t>(selection.kind));
    storeAt(argument, kClearVlanOffset, selection.vlan);
    storeAt(argument, kClearPortOffset, selection.port);
    std::ranges::copy(selection.address, argument.begin() + kClearAddressOffset);
    std::ranges::copy(selection.mac, argument.begin() + kClearMacOffset);
    return argument;
}

ClientSelection clientSelectionOf(std::span<const uint8_t, kDeleteSelectorSize> argument) {
    ClientSelection selection;
    selection.kind = static_cast<ClearBy>(loadAt<uint32_t>(argument, kClearKindOffset));
    selection.vlan = loadAt<uint32_t>(argument, kClearVlanOffset);
    selection.port = loadAt<uint32_t>(argument, kClearPortOffset);
    std::copy_n(argument.begin() + kClearAddressOffset, kAddressSize, selection.address.begin());
    std::copy_n(argument.begin() + kClearMacOffset, kMacSize, selection.mac.begin());
    return selection;
}

Bytes encodePlatformRequest(uint16_t type, std::string_view text) {
    return withText(type, 0, text);
}

Bytes encodePlatformReply(uint16_t type, int32_t result, std::string_view text) {
    return withText(type, result, text);
}

Bytes encodePortNamesReply(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text += name;
        text += '\n';
    }
    return withText(kPortNamesMessage, 0, text);
}

std::string_view messageText(std::span<const uint8_t> message) {
    if (message.size() <= kHeaderSize) {
        return {};
    }
    return {reinterpret_cast<const char *>(message.data()) + kHeaderSize, message.size() - kHeaderSize};
}

}  // namespace mgmt
