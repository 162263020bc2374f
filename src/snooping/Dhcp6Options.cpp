#include "snooping/Dhcp6Options.h"

#include <array>

#include "core/ByteAccess.h"

namespace {

constexpr std::array<const char *, 14> kMessageNames = {
    "UNKNOWN",       "SOLICIT",     "ADVERTISE", "REQUEST", "CONFIRM",     "RENEW",
    "REBIND",        "REPLY",       "RELEASE",   "DECLINE", "RECONFIGURE", "INFORMATION_REQUEST",
    "RELAY_FORWARD", "RELAY_REPLY",
};

constexpr std::array<const char *, 6> kStatusTexts = {
    "success", "unspecified failure", "no addresses available", "no binding", "not on link", "use multicast",
};

constexpr uint32_t kStatusCodeSize = 2;

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
    while (remaining >= kOptionHeaderSize) {
        const uint8_t *header = position;
        const uint16_t optionCode = loadBe16(header);
        const uint16_t optionLength = loadBe16(header + 2);
        remaining -= kOptionHeaderSize;
        if (optionLength > remaining) {
            break;
        }
        remaining -= optionLength;
        position = header + kOptionHeaderSize + optionLength;
        if (optionCode == code) {
            if (length != nullptr) {
                *length = optionLength;
            }
            if (cursor != nullptr) {
                *cursor = {position, remaining};
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
    if (option == nullptr || length < kStatusCodeSize) {
        return 0;
    }
    return loadBe16(option + kOptionHeaderSize);
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
