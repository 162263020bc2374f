#include "switchsim/RemoteCallMessage.h"

#include <cstring>

namespace switchsim {
namespace {

template <typename T>
void store(Bytes &bytes, size_t offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

template <typename T>
T load(std::span<const uint8_t> bytes, size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

}  // namespace

Bytes encodeRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments) {
    Bytes message(kRemoteCallHeaderSize);
    for (const Bytes &argument : arguments) {
        const auto length = static_cast<uint32_t>(argument.size());
        message.resize(message.size() + sizeof length);
        store(message, message.size() - sizeof length, length);
        message.insert(message.end(), argument.begin(), argument.end());
    }
    store(message, 0, kRemoteCallMessageType);
    store(message, kRemoteCallNumberOffset, callNumber);
    store(message, kRemoteCallArgCountOffset, static_cast<uint32_t>(arguments.size()));
    store(message, kRemoteCallDataLengthOffset,
          static_cast<uint16_t>(message.size() - kRemoteCallHeaderSize));
    return message;
}

std::optional<DecodedRemoteCall> decodeRemoteCall(std::span<const uint8_t> message) {
    if (message.size() < kRemoteCallHeaderSize) {
        return std::nullopt;
    }
    const size_t dataLength = load<uint16_t>(message, kRemoteCallDataLengthOffset);
    if (dataLength > message.size() - kRemoteCallHeaderSize) {
        return std::nullopt;
    }
    DecodedRemoteCall call;
    call.callNumber = load<uint32_t>(message, kRemoteCallNumberOffset);
    call.result = load<int32_t>(message, kRemoteCallResultOffset);
    const auto count = load<uint32_t>(message, kRemoteCallArgCountOffset);
    std::span<const uint8_t> data = message.subspan(kRemoteCallHeaderSize, dataLength);
    for (uint32_t i = 0; i < count; ++i) {
        if (data.size() < sizeof(uint32_t)) {
            return std::nullopt;
        }
        const auto length = load<uint32_t>(data, 0);
        data = data.subspan(sizeof(uint32_t));
        if (length > data.size()) {
            return std::nullopt;
        }
        call.arguments.emplace_back(data.begin(), data.begin() + length);
        data = data.subspan(length);
    }
    return call;
}

}  // namespace switchsim
