#include "ConfigRoundTrip.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/MainLoop.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "running_config/RunningConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/ConfigInterpreter.h"

namespace fuzz {
namespace {

constexpr uint32_t kHighestVlan = 4094;
constexpr std::array<std::string_view, 8> kTemplatePieces = {"%sysname",  "%port", "%cvlan", "%switchmac",
                                                             "%portname", "-",     "relay",  "%slot"};

void setOption(Input &input) {
    InfoOptionConfig record{};
    const bool interfaceId = (input.byte() & 1) != 0;
    uint32_t &format = interfaceId ? record.interfaceIdFormat : record.remoteIdFormat;
    uint8_t *value = interfaceId ? record.interfaceIdValue : record.remoteIdValue;
    format = 1 + input.byte() % 5;
    if (format == FORMAT_USER_DEFINED) {
        std::string text;
        for (uint8_t pieces = input.byte() % 5; pieces > 0; --pieces) {
            text += kTemplatePieces[input.byte() % kTemplatePieces.size()];
        }
        std::memcpy(value, text.c_str(), text.size() + 1);
    } else {
        // Any bytes for the addresses; printable characters for a text, which the command line writes.
        const size_t length = format == FORMAT_STRING ? input.byte() % kOptionValueSize : 16;
        for (size_t i = 0; i < length; ++i) {
            const uint8_t byte = input.byte();
            value[i] = format == FORMAT_STRING ? static_cast<uint8_t>(' ' + byte % 95) : byte;
        }
    }
    dhcp6snoopingGlobalDhcp6InfoCfg(interfaceId ? SELECT_INTERFACE_ID_FORMAT : SELECT_REMOTE_ID_FORMAT,
                                    &record);
}

void enableOption(Input &input) {
    InfoOptionConfig record{};
    record.interfaceIdEnable = record.remoteIdEnable = input.byte() & 1;
    dhcp6snoopingGlobalDhcp6InfoCfg(
        (input.byte() & 1) != 0 ? SELECT_INTERFACE_ID_ENABLE : SELECT_REMOTE_ID_ENABLE, &record);
}

// A binding in one of the forms the running configuration writes whole: an address alone, or with a MAC,
// with a MAC and a port, or with a MAC, a port and a VLAN.
void addBinding(Input &input) {
    Ipv6Address ip{{0x20, 0x01, 0x0d, 0xb8}};
    ip.octets[15] = input.byte();
    std::array<uint8_t, 6> mac = {0x02, 0, 0, 0, input.byte(), input.byte()};
    const uint8_t form = input.byte() % 4;
    const uint32_t port = form >= 2 ? portOf(input.byte()) : 0;
    const uint32_t vlan = form == 3 ? 1 + input.be16() % kHighestVlan : 0;
    ip6v6_source_guard_bind_node_add(ip, form == 0 ? nullptr : mac.data(), port, vlan);
}

void setExemptVlan(Input &input) {
    VlanBitmap requested{};
    VlanBitmap failed{};
    vlanBitmapAdd(requested, static_cast<VlanId>(1 + input.be16() % kHighestVlan));
    ip6_source_guard_vlanlist_config(input.byte() & 1, &requested, &failed);
}

// Settings only: clients are learned, not configured, and do not survive as text.
void configure(Input &input) {
    while (!input.empty()) {
        switch (input.byte() % 9) {
            case 0:
                (input.byte() & 1) != 0 ? dhcp6snoopingStart() : dhcp6snoopingStop();
                break;
            case 1:
                dhcp6snoopingFastRemoveCfg(input.byte() & 1);
                break;
            case 2:
                dhcp6snooping_port_mode(portOf(input.byte()), input.byte() & 1);
                break;
            case 3:
                set_ip6_source_guard_port_mode(portOf(input.byte()), 1 + input.byte() % 4);
                break;
            case 4:
                dhcp6snooping_port_maxclients(portOf(input.byte()), input.be16());
                break;
            case 5:
                dhcp6snooping_vlan_maxclients(vlanOf(input.byte()), input.be16());
                break;
            case 6:
                (input.byte() & 1) != 0 ? setOption(input) : enableOption(input);
                break;
            case 7:
                setExemptVlan(input);
                break;
            default:
                addBinding(input);
                break;
        }
    }
}

std::string runningConfig() {
    std::vector<char> buffer(size_t{1} << 20);
    auto remaining = static_cast<uint32_t>(buffer.size());
    require(dhcp6snoopingBuildRunningConfig(buffer.data(), &remaining) == 0);
    return buffer.data();
}

}  // namespace

std::string withBindingLinesSorted(const std::string &text) {
    static constexpr std::string_view kBindingLine = "ipv6-source-guard bind ip ";
    std::vector<std::string> bindings;
    std::string rest;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size() - 1) + 1;
        std::string line = text.substr(start, end - start);
        (line.starts_with(kBindingLine) ? bindings.emplace_back() : rest) += line;
        start = end;
    }
    std::sort(bindings.begin(), bindings.end());
    for (const std::string &line : bindings) {
        rest += line;
    }
    return rest;
}

std::optional<std::string> playConfigRoundTrip(Input &input) {
    switchsim::Switch &sw = fuzzSwitch();
    configure(input);
    const std::string configured = runningConfig();
    const auto filters = sw.installedFilters();
    resetAll(/*filtersMustBeGone=*/true);

    const auto errors = switchsim::applyConfigText(sw, configured, dhcp6snoopingServeNextMessage);
    const std::string entered = runningConfig();
    const bool sameFilters = sw.installedFilters() == filters;
    resetAll(/*filtersMustBeGone=*/true);

    if (!errors.empty()) {
        return "line " + std::to_string(errors.front().lineNumber) + " \"" + errors.front().line +
               "\" was refused: " + errors.front().reason;
    }
    if (withBindingLinesSorted(entered) != withBindingLinesSorted(configured)) {
        return "configured:\n" + configured + "entered again:\n" + entered;
    }
    if (!sameFilters) {
        return "the filters differ after entering:\n" + configured;
    }
    return std::nullopt;
}

}  // namespace fuzz
