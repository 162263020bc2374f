#include "mgmt_protocol/Vocabulary.h"

#include <algorithm>
#include <cctype>
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

std::optional<std::string> unknownTemplateKeyword(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    for (size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        const size_t end =
            std::find_if_not(text.begin() + static_cast<long>(at) + 1, text.end(), isLetter) - text.begin();
        std::string word(text.substr(at + 1, end - at - 1));
        std::ranges::transform(word, word.begin(),
                               [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (!word.empty() && std::ranges::find(kTemplateKeywordNames, word) == kTemplateKeywordNames.end()) {
            return std::string("%").append(text.substr(at + 1, end - at - 1));
        }
    }
    return std::nullopt;
}

}  // namespace mgmt
