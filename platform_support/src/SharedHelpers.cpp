// The helpers every switch platform gives its processes the same way, whatever its hardware: VLAN lists
// and MAC addresses as configuration text, address text conversion, the IPv6 addresses that may not be
// bound, and the empty port list.

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"

namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kLineSlot = 128;
using Ipv6Bytes = std::array<uint8_t, 16>;

void copyText(const std::string &text, char *out, size_t size) {
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

// "5-7,9": runs of neighbouring ids as ranges.
std::string pieceOf(uint16_t first, uint16_t last) {
    std::string piece = std::to_string(first);
    if (last != first) {
        piece += '-';
        piece += std::to_string(last);
    }
    return piece;
}

// One item of a VLAN list, "7" or "5-9", as its first and last id; nothing unless both lie in
// [lowest, highest] and the range does not run backwards.
std::optional<std::pair<uint32_t, uint32_t>> listItem(std::string_view item, uint32_t lowest,
                                                      uint32_t highest) {
    const auto number = [&](std::string_view text) -> std::optional<uint32_t> {
        uint32_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < lowest ||
            value > highest) {
            return std::nullopt;
        }
        return value;
    };
    const size_t dash = item.find('-');
    const auto first = number(item.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : number(item.substr(dash + 1));
    if (!first || !last || *last < *first) {
        return std::nullopt;
    }
    return std::pair{*first, *last};
}

}  // namespace

extern "C" {

int32_t macToStr(const uint8_t mac[6], char text[MAC_TEXT_SIZE]) {
    if (mac == nullptr || text == nullptr) {
        return kFailed;
    }
    std::snprintf(text, MAC_TEXT_SIZE, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    return 0;
}

int32_t Str2ShortArray(const char *text, uint16_t *ids, uint32_t capacity, uint32_t lowest,
                       uint32_t highest) {
    if (text == nullptr || ids == nullptr || capacity == 0 || lowest == 0 || highest > 0xFFFF) {
        return kFailed;
    }
    // "1,5-9,4094": items apart by commas, any order, repeats allowed, empty ones ignored (a line of a
    // longer list ends with one); the ids come out ascending, once each.
    std::vector<bool> listed(highest + 1);
    const std::string_view list(text);
    for (size_t start = 0; start < list.size();) {
        const size_t comma = std::min(list.find(',', start), list.size());
        const std::string_view itemText = list.substr(start, comma - start);
        start = comma + 1;
        if (itemText.empty()) {
            continue;
        }
        const auto item = listItem(itemText, lowest, highest);
        if (!item) {
            return kFailed;
        }
        for (uint32_t id = item->first; id <= item->second; ++id) {
            listed[id] = true;
        }
    }
    uint32_t count = 0;
    for (uint32_t id = lowest; id <= highest; ++id) {
        if (listed[id]) {
            if (count == capacity) {
                return kFailed;
            }
            ids[count++] = static_cast<uint16_t>(id);
        }
    }
    ids[count] = 0;
    return 0;
}

int32_t shortArray2string(const uint16_t *list, char *lines, uint32_t lineLength, uint32_t /*flags*/) {
    if (list == nullptr || lines == nullptr || lineLength == 0 || lineLength >= kLineSlot) {
        return kFailed;
    }
    int32_t lineCount = 0;
    std::string line;
    const auto flush = [&] {
        if (!line.empty()) {
            copyText(line, lines + static_cast<size_t>(lineCount) * kLineSlot, kLineSlot);
            ++lineCount;
            line.clear();
        }
    };
    const uint16_t count = list[0];
    for (uint32_t i = 1; i <= count;) {
        uint32_t last = i;
        while (last < count && list[last + 1] == list[last] + 1) {
            ++last;
        }
        // Every line but the last ends with a comma, so that lines joined back to back read as one list.
        const std::string piece = pieceOf(list[i], list[last]);
        if (!line.empty() && line.size() + piece.size() + 1 > lineLength) {
            flush();
        }
        line += piece;
        line += ',';
        i = last + 1;
    }
    if (!line.empty()) {
        line.pop_back();
    }
    flush();
    return lineCount;
}

int32_t strtoipAddr(const char *text, int32_t octets[4]) {
    std::array<uint8_t, 4> bytes{};
    if (text == nullptr || octets == nullptr || inet_pton(AF_INET, text, bytes.data()) != 1) {
        return kFailed;
    }
    std::ranges::copy(bytes, octets);
    return 0;
}

int32_t checkIpv6Valid(const uint8_t address[16]) {
    constexpr Ipv6Bytes kUnspecified{};
    constexpr Ipv6Bytes kLoopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    constexpr uint8_t kMulticast = 0xff;
    if (address == nullptr) {
        return 0;
    }
    Ipv6Bytes bytes{};
    std::copy_n(address, bytes.size(), bytes.begin());
    return bytes != kUnspecified && bytes != kLoopback && bytes[0] != kMulticast ? 1 : 0;
}

int32_t vosInetNtop(int32_t family, const void *address, char *text, uint32_t textSize) {
    if (family != VOS_AF_INET6 || address == nullptr || text == nullptr) {
        return kFailed;
    }
    return inet_ntop(AF_INET6, address, text, textSize) != nullptr ? 0 : kFailed;
}

int32_t vosInetPton(int32_t family, const char *text, void *address) {
    if (family != VOS_AF_INET6 || text == nullptr || address == nullptr) {
        return kFailed;
    }
    return inet_pton(AF_INET6, text, address) == 1 ? 0 : kFailed;
}

int32_t vd_portlist_plnull(const PortList *ports) {
    return ports == nullptr || std::all_of(std::begin(ports->bits), std::end(ports->bits),
                                           [](uint8_t byte) { return byte == 0; })
               ? 1
               : 0;
}
}
