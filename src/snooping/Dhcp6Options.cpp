#include "snooping/Dhcp6Options.h"

#include <array>

#include "core/ByteCursor.h"

namespace {

constexpr std::array<const char *, 14> kMessageNames = {
    "UNKNOWN",       "SOLICIT",     "ADVERTISE", "REQUEST", "CONFIRM",     "RENEW",
    "REBIND",        "REPLY",       "RELEASE",   "DECLINE", "RECONFIGURE", "INFORMATION_REQUEST",
    "RELAY_FORWARD", "RELAY_REPLY",
};

constexpr std::array<const char *, 6> kStatusTexts = {
    "success", "unspecified failure", "no addresses available", "no binding", "not on link", "use multicast",
};

void clear(OptionCursor *cursor) {
    if (cursor != nullptr) {
        *cursor = {nullptr, 0};
    }
}

}  // namespace

const char *dhcp6MessageName(uint8_t type) {
    return type < kMessageNames.size() ? kMessageNames[type] : kMessageNames[0];
}

const char *dhcp6StatusText(uint32_t statusCode) {
    return statusCode < kStatusTexts.size() ? kStatusTexts[statusCode] : "unknown status code";
}

const uint8_t *dhcp6FindOption(uint16_t code, uint32_t *length, const uint8_t *area, uint32_t areaLength,
                               OptionCursor *cursor) {
    const uint8_t *position = area;
    uint32_t remaining = areaLength;
    if (area == nullptr && cursor != nullptr) {
        position = cursor->position;
        remaining = cursor->remaining;
    }
    if (position == nullptr) {
        clear(cursor);
        return nullptr;
    }
    ByteReader reader(position, remaining);
    while (reader.remaining() >= kOptionHeaderSize) {
        const uint8_t *header = reader.position();
        uint16_t optionCode = 0;
        uint16_t optionLength = 0;
        reader.be16(optionCode);
        reader.be16(optionLength);
        // An option that runs past the area ends the walk: nothing behind it can be trusted.
        if (reader.take(optionLength) == nullptr) {
            break;
        }
        if (optionCode == code) {
            if (length != nullptr) {
                *length = optionLength;
            }
            if (cursor != nullptr) {
                *cursor = {reader.position(), reader.remaining()};
            }
            return header;
        }
    }
    clear(cursor);
    return nullptr;
}

uint16_t dhcp6AreaStatus(const uint8_t *area, uint32_t areaLength, const char **message) {
    if (message != nullptr) {
        *message = nullptr;
    }
    uint32_t length = 0;
    const uint8_t *option = dhcp6FindOption(kOptionStatusCode, &length, area, areaLength, nullptr);
    ByteReader data(option != nullptr ? option + kOptionHeaderSize : nullptr, length);
    uint16_t status = 0;
    data.be16(status);
    return status;
}

bool dhcp6LocateMessage(const uint8_t *frame, uint32_t frameLength, uint32_t payloadOffset,
                        Dhcp6Message *message) {
    const uint32_t offset = payloadOffset;
    if (frame == nullptr || offset > frameLength || kMessageHeaderSize > frameLength - offset) {
        return false;
    }
    const uint8_t *start = frame + offset;
    *message = {start[0], start + kMessageHeaderSize, frameLength - offset - kMessageHeaderSize};
    return true;
}
