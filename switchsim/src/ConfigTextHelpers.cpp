// The text helpers a switch gives its processes for their running-configuration sections and their MIB
// objects: module names, port names as the command line writes them, MAC text and VLAN lists.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SimState.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"

namespace switchsim {
namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kSnoopingModule = 54;
constexpr uint32_t kLineSlot = 128;
constexpr char kEthernetPrefix[] = "ethernet";

void copyText(const std::string &text, char *out, size_t size) {
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

// The port as written after "interface ethernet": its name without that word.
bool portText(uint32_t portIndex, std::string &text) {
    char name[PORT_NAME_TEXT_SIZE] = {};
    if (transPort2EtherPort(portIndex, name) != 0) {
        return false;
    }
    text = name;
    if (text.starts_with(kEthernetPrefix)) {
        text.erase(0, std::strlen(kEthernetPrefix));
    }
    return true;
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

void Switch::failModuleName(uint32_t times) {
    state_->failures.add("get_str_by_mid", 0, times);
}

}  // namespace switchsim

extern "C" {

const char *get_str_by_mid(uint32_t moduleId) {
    if (switchsim::activeSim().failures.take("get_str_by_mid")) {
        return nullptr;
    }
    return moduleId == switchsim::kSnoopingModule ? "DHCPV6-SNOOPING" : nullptr;
}

int32_t transPort2String(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]) {
    std::string text;
    if (name == nullptr || !switchsim::portText(portIndex, text)) {
        return switchsim::kFailed;
    }
    switchsim::copyText(text, name, PORT_NAME_TEXT_SIZE);
    return 0;
}

int32_t transPort2InterfaceDesc(uint32_t portIndex, char line[PORT_INTERFACE_DESC_TEXT_SIZE]) {
    std::string text;
    if (line == nullptr || !switchsim::portText(portIndex, text)) {
        return switchsim::kFailed;
    }
    switchsim::copyText("interface ethernet" + text, line, PORT_INTERFACE_DESC_TEXT_SIZE);
    return 0;
}

int32_t macToStr(const uint8_t mac[6], char text[MAC_TEXT_SIZE]) {
    if (mac == nullptr || text == nullptr) {
        return switchsim::kFailed;
    }
    std::snprintf(text, MAC_TEXT_SIZE, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    return 0;
}

int32_t Str2ShortArray(const char *text, uint16_t *ids, uint32_t capacity, uint32_t lowest,
                       uint32_t highest) {
    if (text == nullptr || ids == nullptr || capacity == 0 || lowest == 0 || highest > 0xFFFF) {
        return switchsim::kFailed;
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
        const auto item = switchsim::listItem(itemText, lowest, highest);
        if (!item) {
            return switchsim::kFailed;
        }
        for (uint32_t id = item->first; id <= item->second; ++id) {
            listed[id] = true;
        }
    }
    uint32_t count = 0;
    for (uint32_t id = lowest; id <= highest; ++id) {
        if (listed[id]) {
            if (count == capacity) {
                return switchsim::kFailed;
            }
            ids[count++] = static_cast<uint16_t>(id);
        }
    }
    ids[count] = 0;
    return 0;
}

int32_t shortArray2string(const uint16_t *list, char *lines, uint32_t lineLength, uint32_t /*flags*/) {
    if (list == nullptr || lines == nullptr || lineLength == 0 || lineLength >= switchsim::kLineSlot) {
        return switchsim::kFailed;
    }
    int32_t lineCount = 0;
    std::string line;
    const auto flush = [&] {
        if (!line.empty()) {
            switchsim::copyText(line, lines + static_cast<size_t>(lineCount) * switchsim::kLineSlot,
                                switchsim::kLineSlot);
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
        const std::string piece = switchsim::pieceOf(list[i], list[last]);
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
}
