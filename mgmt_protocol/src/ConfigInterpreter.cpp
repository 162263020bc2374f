// The command line for running-configuration text. It knows the daemon only as a command-line process
// would: by its remote-call numbers and the byte layouts of their arguments.

#include "mgmt_protocol/ConfigInterpreter.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "core/GlobalState.h"
#include "core/SharedTypes.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "platform/SwitchHelperApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/SourceGuardMode.h"

namespace mgmt {
namespace {

constexpr uint32_t kExemptVlansAdd = 0;
constexpr uint32_t kHighestVlan = 4094;
constexpr uint32_t kMaxValue = 0xFFFFFFFFU;

// Why a line was refused; caught per line.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <typename T>
Bytes bytesOf(const T &value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

uint32_t number(std::string_view text, uint32_t lowest, uint32_t highest) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < lowest ||
        value > highest) {
        throw Refusal("not a number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                      ": " + std::string(text));
    }
    return value;
}

Bytes address(int family, std::string_view text, size_t size) {
    Bytes bytes(size);
    if (inet_pton(family, std::string(text).c_str(), bytes.data()) != 1) {
        throw Refusal("not an address: " + std::string(text));
    }
    return bytes;
}

Bytes macAddress(std::string_view text) {
    std::array<uint8_t, 6> mac{};
    int used = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", mac.data(), &mac[1], &mac[2],
                    &mac[3], &mac[4], &mac[5], &used) != 6 ||
        static_cast<size_t>(used) != copy.size()) {
        throw Refusal("not a MAC address: " + copy);
    }
    return {mac.begin(), mac.end()};
}

// The text between the first and the last double quote of `rest`, which must end the line.
std::string quoted(std::string_view rest) {
    if (rest.size() < 2 || rest.front() != '"' || rest.back() != '"') {
        throw Refusal("a quoted text is missing");
    }
    return std::string(rest.substr(1, rest.size() - 2));
}

// Takes the word before the next space off the front of `rest`.
std::string_view word(std::string_view &rest) {
    const size_t space = std::min(rest.find(' '), rest.size());
    const std::string_view taken = rest.substr(0, space);
    rest.remove_prefix(std::min(space + 1, rest.size()));
    return taken;
}

bool takePrefix(std::string_view &line, std::string_view prefix) {
    if (!line.starts_with(prefix)) {
        return false;
    }
    line.remove_prefix(prefix.size());
    return true;
}

class Interpreter {
  public:
    Interpreter(const CallDaemon &callDaemon, const FindPort &findPort)
        : callDaemon_(callDaemon), findPort_(findPort) {}

    void enter(std::string_view line) {
        if (port_) {
            portLine(line);
        } else if (vlan_) {
            vlanLine(line);
        } else {
            globalLine(line);
        }
    }

  private:
    void call(uint32_t callNumber, const std::vector<Bytes> &arguments) {
        const auto result = callDaemon_(callNumber, arguments);
        if (!result) {
            throw Refusal("the daemon did not answer");
        }
        if (*result != 0) {
            throw Refusal("the daemon answered " + std::to_string(*result));
        }
    }

    void globalLine(std::string_view line) {
        if (line == "dhcpv6-snooping") {
            call(kStartSnooping, {});
        } else if (line == "no dhcpv6-snooping") {
            call(kStopSnooping, {});
        } else if (line == "no dhcpv6-snooping port-down-action fast-remove") {
            call(kSetFastRemove, {bytesOf(uint32_t{0})});
        } else if (line == "dhcpv6-snooping port-down-action fast-remove") {
            call(kSetFastRemove, {bytesOf(uint32_t{1})});
        } else if (takePrefix(line, "no dhcpv6-snooping information ")) {
            informationOptionOff(line);
        } else if (takePrefix(line, "ipv6-source-guard bind vlan ")) {
            exemptVlans(line, kExemptVlansRemove);
        } else if (takePrefix(line, "no ipv6-source-guard bind ip ")) {
            binding(line, kDeleteBinding);
        } else if (takePrefix(line, "interface ethernet")) {
            port_ = portNamed(line);
        } else if (takePrefix(line, "vlan ")) {
            vlan_ = number(line, 1, kHighestVlan);
        } else if (takePrefix(line, "dhcpv6-snooping information ")) {
            informationOption(line);
        } else if (takePrefix(line, "no ipv6-source-guard bind vlan ")) {
            exemptVlans(line, kExemptVlansAdd);
        } else if (takePrefix(line, "ipv6-source-guard bind ip ")) {
            binding(line, kAddBinding);
        } else {
            throw Refusal("unknown command");
        }
    }

    void portLine(std::string_view line) {
        static constexpr std::array<std::string_view, 3> kGuardModes = {"ipv6", "ipv6-mac", "ipv6-mac-vlan"};
        const Bytes port = bytesOf(*port_);
        if (line == "exit") {
            port_.reset();
        } else if (line == "dhcpv6-snooping trust" || line == "no dhcpv6-snooping trust") {
            call(kSetPortTrust, {port, bytesOf(uint32_t{line.starts_with("no ") ? 0U : 1U})});
        } else if (takePrefix(line, "dhcpv6-snooping max-clients ")) {
            call(kSetPortMaxClients, {port, bytesOf(number(line, 0, kMaxValue))});
        } else if (line == "no dhcpv6-snooping max-clients") {
            call(kSetPortMaxClients, {port, bytesOf(uint32_t{kDefaultClientLimit})});
        } else if (line == "no ipv6-source-guard") {
            call(kSetGuardMode, {port, bytesOf(uint32_t{SOURCE_GUARD_NONE})});
        } else if (takePrefix(line, "ipv6-source-guard ")) {
            const auto *mode = std::find(kGuardModes.begin(), kGuardModes.end(), line);
            if (mode == kGuardModes.end()) {
                throw Refusal("unknown source-guard mode");
            }
            call(kSetGuardMode, {port, bytesOf(static_cast<uint32_t>(mode - kGuardModes.begin() + 1))});
        } else {
            throw Refusal("unknown interface command");
        }
    }

    void vlanLine(std::string_view line) {
        if (line == "exit") {
            vlan_.reset();
        } else if (takePrefix(line, "dhcpv6-snooping max-clients ")) {
            call(kSetVlanMaxClients, {bytesOf(*vlan_), bytesOf(number(line, 0, kMaxValue))});
        } else if (line == "no dhcpv6-snooping max-clients") {
            call(kSetVlanMaxClients, {bytesOf(*vlan_), bytesOf(uint32_t{kDefaultClientLimit})});
        } else {
            throw Refusal("unknown VLAN command");
        }
    }

    // "option 18", "option 37", or "<interface-id|remote-id> <format> <value>".
    void informationOption(std::string_view line) {
        InfoOptionConfig record{};
        if (line == "option 18" || line == "option 37") {
            const bool interfaceId = line == "option 18";
            (interfaceId ? record.interfaceIdEnable : record.remoteIdEnable) = 1;
            call(kSetInfoOption,
                 {bytesOf(uint32_t{interfaceId ? SELECT_INTERFACE_ID_ENABLE : SELECT_REMOTE_ID_ENABLE}),
                  bytesOf(record)});
            return;
        }
        const std::string_view option = word(line);
        if (option != "interface-id" && option != "remote-id") {
            throw Refusal("unknown information option");
        }
        const bool interfaceId = option == "interface-id";
        uint32_t &storedFormat = interfaceId ? record.interfaceIdFormat : record.remoteIdFormat;
        uint8_t *storedValue = interfaceId ? record.interfaceIdValue : record.remoteIdValue;
        const std::string_view format = word(line);
        Bytes value;
        if (format == "ipv4-address") {
            storedFormat = FORMAT_IPV4_ADDRESS;
            value = address(AF_INET, line, 4);
        } else if (format == "ipv6-address") {
            storedFormat = FORMAT_IPV6_ADDRESS;
            value = address(AF_INET6, line, 16);
        } else if (format == "string" || format == "user-defined") {
            storedFormat = format == "string" ? FORMAT_STRING : FORMAT_USER_DEFINED;
            const std::string text = quoted(line);
            if (text.size() >= kOptionValueSize) {
                throw Refusal("the text is longer than 128 characters");
            }
            value.assign(text.begin(), text.end());
        } else {
            throw Refusal("unknown format");
        }
        std::copy(value.begin(), value.end(), storedValue);
        call(kSetInfoOption,
             {bytesOf(uint32_t{interfaceId ? SELECT_INTERFACE_ID_FORMAT : SELECT_REMOTE_ID_FORMAT}),
              bytesOf(record)});
    }

    // "option 18", "option 37" switched off, or "interface-id", "remote-id" back to the default format.
    void informationOptionOff(std::string_view line) {
        InfoOptionConfig record{};
        uint32_t select = 0;
        if (line == "option 18" || line == "option 37") {
            select = line == "option 18" ? SELECT_INTERFACE_ID_ENABLE : SELECT_REMOTE_ID_ENABLE;
        } else if (line == "interface-id" || line == "remote-id") {
            const bool interfaceId = line == "interface-id";
            select = interfaceId ? SELECT_INTERFACE_ID_FORMAT : SELECT_REMOTE_ID_FORMAT;
            (interfaceId ? record.interfaceIdFormat : record.remoteIdFormat) = FORMAT_DEFAULT;
        } else {
            throw Refusal("unknown information option");
        }
        call(kSetInfoOption, {bytesOf(select), bytesOf(record)});
    }

    void exemptVlans(std::string_view list, uint32_t operation) {
        std::vector<uint16_t> ids(kHighestVlan + 1);
        if (Str2ShortArray(std::string(list).c_str(), ids.data(), kHighestVlan, 1, kHighestVlan) != 0) {
            throw Refusal("not a VLAN list");
        }
        VlanBitmap requested{};
        for (size_t i = 0; ids[i] != 0; ++i) {
            vlanBitmapAdd(requested, ids[i]);
        }
        call(kConfigureExemptVlans, {bytesOf(operation), bytesOf(requested), bytesOf(VlanBitmap{})});
    }

    // "<address> [mac <mac> [interface ethernet <port> [vlan <vlan>]]]", added or deleted by `callNumber`.
    void binding(std::string_view line, uint32_t callNumber) {
        const Bytes ip = address(AF_INET6, word(line), 16);
        Bytes mac(6);
        uint32_t port = 0;
        uint32_t vlan = 0;
        if (takePrefix(line, "mac ")) {
            mac = macAddress(word(line));
            if (takePrefix(line, "interface ethernet ")) {
                port = portNamed(word(line));
                if (takePrefix(line, "vlan ")) {
                    vlan = number(word(line), 1, kHighestVlan);
                }
            }
        }
        if (!line.empty()) {
            throw Refusal("unexpected words: " + std::string(line));
        }
        // A binding is deleted by its address alone; the rest of its line is read all the same.
        call(callNumber, callNumber == kDeleteBinding
                             ? std::vector<Bytes>{ip}
                             : std::vector<Bytes>{ip, mac, bytesOf(port), bytesOf(vlan)});
    }

    [[nodiscard]] uint32_t portNamed(std::string_view name) const {
        if (const auto port = findPort_(name)) {
            return *port;
        }
        throw Refusal("no such port: " + std::string(name));
    }

    const CallDaemon &callDaemon_;
    const FindPort &findPort_;
    std::optional<uint32_t> port_;
    std::optional<uint32_t> vlan_;
};

}  // namespace

std::vector<ConfigLineError> applyConfigText(std::string_view text, const CallDaemon &callDaemon,
                                             const FindPort &findPort) {
    Interpreter interpreter(callDaemon, findPort);
    std::vector<ConfigLineError> errors;
    uint32_t lineNumber = 0;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++lineNumber;
        // Indented or not, as an operator may type it.
        const size_t first = line.find_first_not_of(" \t");
        line.remove_prefix(std::min(first, line.size()));
        line.remove_suffix(line.size() - std::min(line.size(), line.find_last_not_of(" \t\r") + 1));
        if (line.empty() || line.starts_with('!')) {
            continue;
        }
        try {
            interpreter.enter(line);
        } catch (const Refusal &refusal) {
            errors.push_back({lineNumber, std::string(line), refusal.what()});
        }
    }
    return errors;
}

}  // namespace mgmt
