#include "ConfigRoundTrip.h"

#include <algorithm>
#include <array>

#include "FilterInvariant.h"
#include "core/MainLoop.h"
#include "mgmt/PortVlanSettings.h"
#include "mgmt_protocol/ConfigDifference.h"
#include "relay_option/InfoOptionConfig.h"
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
    const bool interfaceId = (input.byte() & 1) != 0;
    const uint32_t format = 1 + input.byte() % 5;
    std::string value;
    if (format == FORMAT_USER_DEFINED) {
        for (uint8_t pieces = input.byte() % 5; pieces > 0; --pieces) {
            value += kTemplatePieces[input.byte() % kTemplatePieces.size()];
        }
    } else {
        // Any bytes for the addresses; printable characters for a text, which the command line writes.
        const size_t length = format == FORMAT_STRING ? input.byte() % kOptionValueSize : 16;
        for (size_t i = 0; i < length; ++i) {
            const uint8_t byte = input.byte();
            value += static_cast<char>(format == FORMAT_STRING ? ' ' + byte % 95 : byte);
        }
    }
    setRelayOptionFormat(interfaceId, format, value);
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
    const VlanBitmap requested = vlanBitmapOf({static_cast<VlanId>(1 + input.be16() % kHighestVlan)});
    VlanBitmap failed{};
    ip6_source_guard_vlanlist_config(input.byte() & 1, &requested, &failed);
}

// Settings only: clients are learned, not configured, and do not survive as text.
void configure(Input &input) {
    using Step = void (*)(Input &);
    static constexpr Step kSteps[] = {
        [](Input &in) { (in.byte() & 1) != 0 ? dhcp6snoopingStart() : dhcp6snoopingStop(); },
        [](Input &in) { dhcp6snoopingFastRemoveCfg(in.byte() & 1); },
        [](Input &in) { dhcp6snooping_port_mode(portOf(in.byte()), in.byte() & 1); },
        [](Input &in) { set_ip6_source_guard_port_mode(portOf(in.byte()), 1 + in.byte() % 4); },
        [](Input &in) { dhcp6snooping_port_maxclients(portOf(in.byte()), in.be16()); },
        [](Input &in) { dhcp6snooping_vlan_maxclients(vlanOf(in.byte()), in.be16()); },
        [](Input &in) {
            if ((in.byte() & 1) != 0) {
                setOption(in);
            } else {
                const bool on = (in.byte() & 1) != 0;
                enableRelayOption((in.byte() & 1) != 0, on);
            }
        },
        setExemptVlan,
        addBinding,
    };
    while (!input.empty()) {
        kSteps[input.byte() % std::size(kSteps)](input);
    }
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

std::optional<std::string> enteredDiffers(const std::string &configured,
                                          const std::vector<mgmt::ConfigLineError> &errors,
                                          const std::string &entered) {
    if (!errors.empty()) {
        return "line " + std::to_string(errors.front().lineNumber) + " \"" + errors.front().line +
               "\" was refused: " + errors.front().reason;
    }
    if (withBindingLinesSorted(entered) != withBindingLinesSorted(configured)) {
        return "configured:\n" + configured + "entered again:\n" + entered;
    }
    return std::nullopt;
}

std::optional<std::string> playConfigRoundTrip(Input &input) {
    switchsim::Switch &sw = fuzzSwitch();
    configure(input);
    if (auto broken = invariantBroken("configured")) {
        resetAll(/*filtersMustBeGone=*/false);
        return broken;
    }
    const std::string configured = runningConfig();
    const auto filters = sw.installedFilters();
    resetAll(/*filtersMustBeGone=*/true);

    const auto errors = switchsim::applyConfigText(sw, configured, dhcp6snoopingServeNextMessage);
    const std::string entered = runningConfig();
    const bool sameFilters = sw.installedFilters() == filters;
    resetAll(/*filtersMustBeGone=*/true);

    if (auto differs = enteredDiffers(configured, errors, entered)) {
        return differs;
    }
    if (!sameFilters) {
        return "the filters differ after entering:\n" + configured;
    }
    return std::nullopt;
}

std::optional<std::string> playConfigReplace(Input &input) {
    switchsim::Switch &sw = fuzzSwitch();
    const auto [bytes, length] = input.take(input.byte());
    Input wantedInput(bytes, length);
    configure(wantedInput);
    const std::string wanted = runningConfig();
    const auto wantedFilters = sw.installedFilters();
    resetAll(/*filtersMustBeGone=*/true);

    configure(input);
    const std::string current = runningConfig();
    const std::string difference = mgmt::configDifference(current, wanted);
    const auto errors = switchsim::applyConfigText(sw, difference, dhcp6snoopingServeNextMessage);
    const std::string replaced = runningConfig();
    const bool sameFilters = sw.installedFilters() == wantedFilters;
    auto broken = invariantBroken("replaced");
    resetAll(/*filtersMustBeGone=*/true);

    if (broken) {
        return broken;
    }
    if (auto differs = enteredDiffers(wanted, errors, replaced)) {
        return "replacing\n" + current + "by the differences\n" + difference + *differs;
    }
    if (!sameFilters) {
        return "the filters differ from the wanted configuration's after replacing\n" + current + "by\n" +
               wanted;
    }
    return std::nullopt;
}

}  // namespace fuzz
