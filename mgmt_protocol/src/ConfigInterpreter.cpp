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

#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/RefusalText.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "mgmt_protocol/Vocabulary.h"
#include "platform/SwitchHelperApi.h"

namespace mgmt {
namespace {

constexpr uint32_t kDefaultFormat = *valueNamed(kOptionFormatNames, "default");
constexpr uint32_t kNoGuard = *valueNamed(kGuardModeNames, "none");

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

// A client limit: "max-clients: 5000 is above 2048".
uint32_t clientLimit(std::string_view text) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || end != text.data() + text.size() ||
        (error != std::errc{} && error != std::errc::result_out_of_range)) {
        throw Refusal("max-clients: " + std::string(text) + " is not a number");
    }
    if (error != std::errc{} || value > kMostClients) {
        throw Refusal("max-clients: " + std::string(text) + " is above " + std::to_string(kMostClients));
    }
    return value;
}

uint32_t vlanId(std::string_view text) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value < kLowestVlan ||
        value > kHighestVlan) {
        throw Refusal("vlan: " + std::string(text) + " is not a VLAN from 1 to " +
                      std::to_string(kHighestVlan));
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
    const auto mac = parseMac(text);
    if (!mac) {
        throw Refusal("not a MAC address: " + std::string(text));
    }
    return {mac->begin(), mac->end()};
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

// The words of `line` one blank apart, as typed with any number of blanks or tabs between them; a quoted
// text, which ends its line, is kept as it is from its first quote on.
std::string singleBlanks(std::string_view line) {
    const size_t quote = std::min(line.find('"'), line.size());
    std::string words;
    for (const char c : line.substr(0, quote)) {
        const bool blank = c == ' ' || c == '\t';
        if (!blank || (!words.empty() && words.back() != ' ')) {
            words += blank ? ' ' : c;
        }
    }
    return words.append(line.substr(quote));
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
        // "default X" gives X its default value, which for every setting with a value is what "no X" does;
        // fast removal at port down is on by default.
        std::string undone;
        if (line == "default dhcpv6-snooping port-down-action fast-remove") {
            line = "dhcpv6-snooping port-down-action fast-remove";
        } else if (line.starts_with("default ")) {
            undone = "no " + std::string(line.substr(std::string_view("default ").size()));
            line = undone;
        }
        if (port_) {
            portLine(line);
        } else if (vlan_) {
            vlanLine(line);
        } else {
            globalLine(line);
        }
    }

  private:
    // Makes the call; a refusal is told as a sentence about `subject`.
    void call(uint32_t callNumber, const std::vector<Bytes> &arguments, std::string_view subject) {
        const auto result = callDaemon_(callNumber, arguments);
        if (!result) {
            throw Refusal(std::string(subject) + ": the daemon did not answer");
        }
        if (*result != 0) {
            throw Refusal(refusalSentence(callNumber, *result, subject));
        }
    }

    void globalLine(std::string_view line) {
        if (line == "dhcpv6-snooping") {
            call(kStartSnooping, {}, line);
        } else if (line == "no dhcpv6-snooping") {
            call(kStopSnooping, {}, line);
        } else if (line == "no dhcpv6-snooping port-down-action fast-remove") {
            call(kSetFastRemove, {bytesOf(uint32_t{0})}, line);
        } else if (line == "dhcpv6-snooping port-down-action fast-remove") {
            call(kSetFastRemove, {bytesOf(uint32_t{1})}, line);
        } else if (takePrefix(line, "no dhcpv6-snooping information ")) {
            informationOptionOff(line);
        } else if (takePrefix(line, "ipv6-source-guard bind vlan ")) {
            exemptVlans(line, kExemptVlansRemove);
        } else if (takePrefix(line, "no ipv6-source-guard bind ip ")) {
            binding(line, kDeleteBinding);
        } else if (takePrefix(line, "interface ethernet")) {
            port_ = interfacePort(line);
            portName_ =
                "port " + std::string(line.substr(std::min(line.find_first_not_of(' '), line.size())));
        } else if (takePrefix(line, "vlan ")) {
            vlan_ = vlanId(line);
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
        const Bytes port = bytesOf(*port_);
        if (line == "exit") {
            port_.reset();
        } else if (line == "dhcpv6-snooping trust" || line == "no dhcpv6-snooping trust") {
            call(kSetPortTrust, {port, bytesOf(uint32_t{line.starts_with("no ") ? 0U : 1U})}, portName_);
        } else if (takePrefix(line, "dhcpv6-snooping max-clients ")) {
            call(kSetPortMaxClients, {port, bytesOf(clientLimit(line))}, portName_);
        } else if (line == "no dhcpv6-snooping max-clients") {
            call(kSetPortMaxClients, {port, bytesOf(kMostClients)}, portName_);
        } else if (line == "no ipv6-source-guard") {
            call(kSetGuardMode, {port, bytesOf(kNoGuard)}, portName_);
        } else if (takePrefix(line, "ipv6-source-guard ")) {
            const auto mode = valueNamed(kGuardModeNames, line);
            if (!mode || *mode == kNoGuard) {
                throw Refusal("unknown source-guard mode");
            }
            call(kSetGuardMode, {port, bytesOf(*mode)}, portName_);
        } else {
            throw Refusal("unknown interface command");
        }
    }

    void vlanLine(std::string_view line) {
        if (line == "exit") {
            vlan_.reset();
        } else if (takePrefix(line, "dhcpv6-snooping max-clients ")) {
            call(kSetVlanMaxClients, {bytesOf(*vlan_), bytesOf(clientLimit(line))}, vlanName());
        } else if (line == "no dhcpv6-snooping max-clients") {
            call(kSetVlanMaxClients, {bytesOf(*vlan_), bytesOf(kMostClients)}, vlanName());
        } else {
            throw Refusal("unknown VLAN command");
        }
    }

    // "option 18", "option 37", or "<interface-id|remote-id> <format> <value>".
    void informationOption(std::string_view line) {
        Bytes record(kInfoOptionConfigSize, 0);
        if (line == "option 18" || line == "option 37") {
            const bool interfaceId = line == "option 18";
            storeAt(record, (interfaceId ? kInterfaceIdFields : kRemoteIdFields).enable, uint32_t{1});
            call(kSetInfoOption,
                 {bytesOf(interfaceId ? OptionSelect::kInterfaceIdEnable : OptionSelect::kRemoteIdEnable),
                  record},
                 line);
            return;
        }
        const std::string_view option = word(line);
        if (option != "interface-id" && option != "remote-id") {
            throw Refusal("unknown information option");
        }
        const bool interfaceId = option == "interface-id";
        const OptionFields &fields = interfaceId ? kInterfaceIdFields : kRemoteIdFields;
        const std::string_view format = word(line);
        const auto formatNumber = valueNamed(kOptionFormatNames, format);
        Bytes value;
        if (format == "ipv4-address") {
            value = address(AF_INET, line, 4);
        } else if (format == "ipv6-address") {
            value = address(AF_INET6, line, 16);
        } else if (format == "string" || format == "user-defined") {
            const std::string text = quoted(line);
            if (text.size() >= kOptionValueBytes) {
                throw Refusal("the text is longer than 128 characters");
            }
            if (const auto unknown = unknownTemplateKeyword(text); unknown && format == "user-defined") {
                throw Refusal(std::string(option) + " user-defined: " + *unknown +
                              " is not a template keyword");
            }
            value.assign(text.begin(), text.end());
        } else {
            throw Refusal("unknown format");
        }
        storeAt(record, fields.format, *formatNumber);
        std::ranges::copy(value, record.begin() + static_cast<long>(fields.value));
        call(
            kSetInfoOption,
            {bytesOf(interfaceId ? OptionSelect::kInterfaceIdFormat : OptionSelect::kRemoteIdFormat), record},
            std::string(option) + " " + std::string(format) + " " + std::string(line));
    }

    // "option 18", "option 37" switched off, or "interface-id", "remote-id" back to the default format.
    void informationOptionOff(std::string_view line) {
        Bytes record(kInfoOptionConfigSize, 0);
        OptionSelect select{};
        if (line == "option 18" || line == "option 37") {
            select = line == "option 18" ? OptionSelect::kInterfaceIdEnable : OptionSelect::kRemoteIdEnable;
        } else if (line == "interface-id" || line == "remote-id") {
            const bool interfaceId = line == "interface-id";
            select = interfaceId ? OptionSelect::kInterfaceIdFormat : OptionSelect::kRemoteIdFormat;
            storeAt(record, (interfaceId ? kInterfaceIdFields : kRemoteIdFields).format, kDefaultFormat);
        } else {
            throw Refusal("unknown information option");
        }
        call(kSetInfoOption, {bytesOf(select), record}, line);
    }

    void exemptVlans(std::string_view list, uint32_t operation) {
        std::vector<uint16_t> ids(kHighestVlan + 1);
        if (Str2ShortArray(std::string(list).c_str(), ids.data(), kHighestVlan, kLowestVlan, kHighestVlan) !=
            0) {
            throw Refusal("not a VLAN list");
        }
        Bytes requested(kVlanBitmapSize, 0);
        for (size_t i = 0; ids[i] != 0; ++i) {
            setVlanBit(requested, ids[i]);
        }
        call(kConfigureExemptVlans, {bytesOf(operation), requested, Bytes(kVlanBitmapSize, 0)},
             "ipv6-source-guard bind vlan " + std::string(list));
    }

    // "<address> [mac <mac> [interface ethernet <port> [vlan <vlan>]]]", added or deleted by `callNumber`.
    void binding(std::string_view line, uint32_t callNumber) {
        const std::string_view ipText = word(line);
        const Bytes ip = address(AF_INET6, ipText, 16);
        const std::string subject = "binding " + std::string(ipText);
        const bool unspecified = std::all_of(ip.begin(), ip.end(), [](uint8_t b) { return b == 0; });
        const bool loopback =
            std::all_of(ip.begin(), ip.end() - 1, [](uint8_t b) { return b == 0; }) && ip.back() == 1;
        if (callNumber == kAddBinding && (unspecified || loopback || ip[0] == 0xFF)) {
            throw Refusal(subject + ": not a unicast address a host can send from");
        }
        Bytes mac(6);
        uint32_t port = 0;
        uint32_t vlan = 0;
        if (takePrefix(line, "mac ")) {
            mac = macAddress(word(line));
            if (takePrefix(line, "interface ethernet ")) {
                // Written after a blank here, as the platform's own interface lines may have it.
                port = portNamed(std::string(" ").append(word(line)));
                if (takePrefix(line, "vlan ")) {
                    vlan = vlanId(word(line));
                }
            }
        }
        if (!line.empty()) {
            throw Refusal("unexpected words: " + std::string(line));
        }
        // A binding is deleted by its address alone; the rest of its line is read all the same.
        call(callNumber,
             callNumber == kDeleteBinding ? std::vector<Bytes>{ip}
                                          : std::vector<Bytes>{ip, mac, bytesOf(port), bytesOf(vlan)},
             subject);
    }

    // The port of an "interface ethernet" line, named as the platform writes it there: with a blank before
    // the name on one platform, without on another. A name that stands right after "ethernet" where the
    // platform wants a blank is refused with the reason.
    [[nodiscard]] uint32_t interfacePort(std::string_view name) const {
        if (const auto port = findPort_(name)) {
            return *port;
        }
        if (findPort_(std::string(" ").append(name))) {
            throw Refusal("a blank must stand between ethernet and the port name");
        }
        return portNamed(name);
    }

    [[nodiscard]] uint32_t portNamed(std::string_view name) const {
        if (const auto port = findPort_(name)) {
            return *port;
        }
        throw Refusal("no such port: " +
                      std::string(name.substr(std::min(name.find_first_not_of(' '), name.size()))));
    }

    [[nodiscard]] std::string vlanName() const { return "vlan " + std::to_string(*vlan_); }

    const CallDaemon &callDaemon_;
    const FindPort &findPort_;
    std::optional<uint32_t> port_;
    std::string portName_;  // "port swp3", as refusals name it
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
            interpreter.enter(singleBlanks(line));
        } catch (const Refusal &refusal) {
            errors.push_back({lineNumber, std::string(line), refusal.what()});
        }
    }
    return errors;
}

}  // namespace mgmt
