#pragma once
// The words and bounds of the configuration, in one place for the running-configuration writer, its
// interpreter and the command line's views: the source-guard modes and option formats by their numbers,
// the VLAN and client-limit bounds, and MAC addresses as text. A word added here reaches all three.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mgmt {

inline constexpr uint32_t kLowestVlan = 1;
inline constexpr uint32_t kHighestVlan = 4094;
inline constexpr uint32_t kMostClients = 2048;  // also every client limit's default

struct NamedValue {
    uint32_t value;
    std::string_view name;
};

// The source-guard modes of a port; "none" is never written as a line of its own.
inline constexpr std::array<NamedValue, 4> kGuardModeNames = {{
    {1, "ipv6"},
    {2, "ipv6-mac"},
    {3, "ipv6-mac-vlan"},
    {4, "none"},
}};

// The formats of options 18 and 37.
inline constexpr std::array<NamedValue, 5> kOptionFormatNames = {{
    {1, "ipv4-address"},
    {2, "ipv6-address"},
    {3, "default"},
    {4, "string"},
    {5, "user-defined"},
}};

// The keywords of an option template by their ids, each written after a "%"; id 0 is the empty name,
// which no keyword has.
inline constexpr std::array<std::string_view, 13> kTemplateKeywordNames = {
    "",     "sysip",   "sysname", "portname", "iftype", "switchmac",  "frame",
    "slot", "subslot", "port",    "svlan",    "cvlan",  "clientduid",
};

// The first word after a "%" of `text` that is no template keyword, as the template reads it (the letters
// up to the first other character), or nothing when every keyword is known.
std::optional<std::string> unknownTemplateKeyword(std::string_view text);

// The name of `value` in `names`, or "?" for a value no name stands for.
template <size_t N>
constexpr std::string_view nameOf(const std::array<NamedValue, N> &names, uint32_t value) {
    for (const NamedValue &named : names) {
        if (named.value == value) {
            return named.name;
        }
    }
    return "?";
}

// The value named `name` in `names`, or nothing.
template <size_t N>
constexpr std::optional<uint32_t> valueNamed(const std::array<NamedValue, N> &names, std::string_view name) {
    for (const NamedValue &named : names) {
        if (named.name == name) {
            return named.value;
        }
    }
    return std::nullopt;
}

// "02:00:00:00:00:01": six bytes, lower-case hex, colons between.
std::string macText(const uint8_t *mac);
// The MAC of exactly that form, upper-case hex allowed; nothing for any other text.
std::optional<std::array<uint8_t, 6>> parseMac(std::string_view text);

}  // namespace mgmt
