#include "mgmt_protocol/Vocabulary.h"

#include <charconv>

namespace mgmt {

std::string macText(const uint8_t *mac) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < 6; ++i) {
        if (i != 0) {
            text += ':';
        }
        text += kDigits[mac[i] >> 4U];
        text += kDigits[mac[i] & 0xFU];
    }
    return text;
}

std::optional<std::array<uint8_t, 6>> parseMac(std::string_view text) {
    constexpr size_t kTextSize = 17;
    std::array<uint8_t, 6> mac{};
    if (text.size() != kTextSize) {
        return std::nullopt;
    }
    for (size_t i = 0; i < mac.size(); ++i) {
        const std::string_view pair = text.substr(i * 3, 2);
        const auto [end, error] = std::from_chars(pair.data(), pair.data() + pair.size(), mac[i], 16);
        if (error != std::errc{} || end != pair.data() + pair.size() || (i < 5 && text[i * 3 + 2] != ':')) {
            return std::nullopt;
        }
    }
    return mac;
}

}  // namespace mgmt
