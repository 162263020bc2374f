#include "Views.h"

#include <arpa/inet.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <sstream>

#include "core/SharedTypes.h"
#include "mgmt/PortVlanSettings.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "relay_option/InfoOptionConfig.h"
#include "source_guard/StaticBindings.h"

namespace ctl {
namespace {

using nlohmann::json;

using namespace mgmt;  // NOLINT(google-build-using-namespace): the remote-call numbers

constexpr uint32_t kHighestVlan = 4094;
constexpr std::array<const char *, 5> kGuardModes = {"?", "ipv6", "ipv6-mac", "ipv6-mac-vlan", "none"};
constexpr std::array<const char *, 6> kFormats = {"?",       "ipv4-address", "ipv6-address",
                                                  "default", "string",       "user-defined"};

std::string addressText(const uint8_t *address) {
    char text[INET6_ADDRSTRLEN] = {};
    inet_ntop(AF_INET6, address, text, sizeof text);
    return text;
}

std::string macText(const uint8_t *mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text;
}

template <size_t N>
const char *named(const std::array<const char *, N> &names, uint32_t value) {
    return value < names.size() ? names[value] : names[0];
}

// The template of an option in the user-defined format, as the running configuration writes it: the
// settings record holds only the parsed fields.
std::string templateText(const std::string &runningConfig, const char *option) {
    const std::string start = std::string("dhcpv6-snooping information ") + option + " user-defined \"";
    const size_t at = runningConfig.find(start);
    if (at == std::string::npos) {
        return "";
    }
    const size_t from = at + start.size();
    const size_t end = runningConfig.find('\n', from);
    const std::string_view line(runningConfig.data() + from, std::min(end, runningConfig.size()) - from);
    return std::string(line.substr(0, line.rfind('"')));
}

json optionView(uint32_t enable, uint32_t format, const uint8_t *value) {
    json option = {{"enabled", enable != 0}, {"format", named(kFormats, format)}};
    if (format == FORMAT_IPV4_ADDRESS) {
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, value, text, sizeof text);
        option["value"] = text;
    } else if (format == FORMAT_IPV6_ADDRESS) {
        option["value"] = addressText(value);
    } else if (format == FORMAT_STRING || format == FORMAT_USER_DEFINED) {
        option["value"] = std::string(reinterpret_cast<const char *>(value),
                                      strnlen(reinterpret_cast<const char *>(value), kOptionValueSize));
    }
    return option;
}

std::string portNameOr(DaemonLink &daemon, uint32_t port) {
    const auto names = daemon.portNames();
    return port >= 1 && port <= names.size() ? names[port - 1] : std::to_string(port);
}

}  // namespace

json globalView(DaemonLink &daemon) {
    const auto info = valueOf<GlobalInfo>(
        daemon.require(kGlobalInfoGet, {bytesOf(GlobalInfo{})}, "the global settings").arguments.at(0));
    const auto options = valueOf<InfoOptionConfig>(
        daemon.require(kInfoOptionGet, {bytesOf(InfoOptionConfig{})}, "the option settings").arguments.at(0));
    const auto bindings = valueOf<uint32_t>(
        daemon.require(kBindingCount, {bytesOf(uint32_t{0})}, "the binding count").arguments.at(0));
    json value = {
        {"snooping", info.onOff != 0},
        {"port_down_fast_remove", info.portDownAction != 0},
        {"static_bindings", bindings},
        {"interface_id",
         optionView(options.interfaceIdEnable, options.interfaceIdFormat, options.interfaceIdValue)},
        {"remote_id", optionView(options.remoteIdEnable, options.remoteIdFormat, options.remoteIdValue)}};
    if (options.interfaceIdFormat == FORMAT_USER_DEFINED || options.remoteIdFormat == FORMAT_USER_DEFINED) {
        const std::string text = daemon.runningConfig();
        for (const char *option : {"interface-id", "remote-id"}) {
            json &shown = value[option == std::string("interface-id") ? "interface_id" : "remote_id"];
            if (shown["format"] == "user-defined") {
                shown["value"] = templateText(text, option);
            }
        }
    }
    return value;
}

json portsView(DaemonLink &daemon) {
    const auto [result, data] = daemon.platformRequest(mgmt::kPortListMessage);
    const auto list = mgmt::decodePortList({reinterpret_cast<const uint8_t *>(data.data()), data.size()});
    if (result != 0 || !list) {
        throw CommandFailure("the daemon gave no list of its ports");
    }
    json ports = json::array();
    for (const auto &port : *list) {
        ports.push_back({{"port", port.port},
                         {"name", port.name},
                         {"trusted", port.trusted},
                         {"source_guard", named(kGuardModes, port.guardMode)},
                         {"max_clients", port.maxClients},
                         {"clients", port.clients}});
    }
    return ports;
}

json vlansView(DaemonLink &daemon) {
    const auto [result, data] = daemon.platformRequest(mgmt::kVlanListMessage);
    const auto list = mgmt::decodeVlanList({reinterpret_cast<const uint8_t *>(data.data()), data.size()});
    if (result != 0 || !list) {
        throw CommandFailure("the daemon gave no list of its VLANs");
    }
    json vlans = json::array();
    for (const auto &vlan : *list) {
        vlans.push_back({{"vlan", vlan.vlan}, {"max_clients", vlan.maxClients}, {"clients", vlan.clients}});
    }
    return vlans;
}

json clientsView(DaemonLink &daemon) {
    json clients = json::array();
    std::array<uint8_t, 6> mac{};
    for (;;) {
        const auto step =
            daemon.call(kClientWalk, {mgmt::Bytes(mac.begin(), mac.end()), bytesOf(uint32_t{0}),
                                      bytesOf(uint32_t{0}), bytesOf(uint32_t{0}),
                                      mgmt::Bytes(sizeof(ClientAddressSummary) * kClientSummaryLimit),
                                      mgmt::Bytes(sizeof(uint32_t) * kClientSummaryLimit)});
        if (!step || step->result != 0) {
            return clients;  // the walk is over
        }
        std::copy_n(step->arguments.at(0).begin(), mac.size(), mac.begin());
        const auto count = std::min(valueOf<uint32_t>(step->arguments.at(3)), kClientSummaryLimit);
        json addresses = json::array();
        for (uint32_t i = 0; i < count; ++i) {
            ClientAddressSummary summary{};
            std::memcpy(&summary, step->arguments.at(4).data() + i * sizeof summary, sizeof summary);
            uint32_t left = 0;
            std::memcpy(&left, step->arguments.at(5).data() + i * sizeof left, sizeof left);
            addresses.push_back({{"address", addressText(summary.address)},
                                 {"prefix_length", summary.prefixLength},
                                 {"valid_seconds_left", left}});
        }
        const auto port = valueOf<uint32_t>(step->arguments.at(2));
        clients.push_back({{"mac", macText(mac.data())},
                           {"vlan", valueOf<uint32_t>(step->arguments.at(1))},
                           {"port", port},
                           {"port_name", portNameOr(daemon, port)},
                           {"addresses", addresses}});
    }
}

json bindingsView(DaemonLink &daemon) {
    json bindings = json::array();
    uint16_t first = 1;
    while (first != 0) {
        const auto page = daemon.require(kBindingPage,
                                         {bytesOf(first), bytesOf(uint16_t{0}), bytesOf(uint16_t{0}),
                                          mgmt::Bytes(sizeof(StaticBindRecord) * kStaticBindPage)},
                                         "the static bindings");
        const auto count = std::min<uint32_t>(valueOf<uint16_t>(page.arguments.at(2)), kStaticBindPage);
        for (uint32_t i = 0; i < count; ++i) {
            StaticBindRecord record{};
            std::memcpy(&record, page.arguments.at(3).data() + i * sizeof record, sizeof record);
            json binding = {{"address", addressText(record.ip)}};
            if (std::any_of(std::begin(record.mac), std::end(record.mac), [](uint8_t b) { return b != 0; })) {
                binding["mac"] = macText(record.mac);
            }
            if (record.port != 0) {
                binding["port"] = record.port;
                binding["port_name"] = portNameOr(daemon, record.port);
            }
            if (record.vlan != 0) {
                binding["vlan"] = record.vlan;
            }
            bindings.push_back(binding);
        }
        first = valueOf<uint16_t>(page.arguments.at(1));
    }
    return bindings;
}

json exemptVlansView(DaemonLink &daemon) {
    const auto bitmap = valueOf<VlanBitmap>(
        daemon.require(kExemptVlansGet, {bytesOf(VlanBitmap{})}, "the exempt VLANs").arguments.at(0));
    json vlans = json::array();
    for (uint32_t vlan = 1; vlan <= kHighestVlan; ++vlan) {
        if (vlanBitmapHas(bitmap, static_cast<VlanId>(vlan))) {
            vlans.push_back(vlan);
        }
    }
    return vlans;
}

json storageView(DaemonLink &daemon) {
    const auto [result, text] = daemon.platformRequest(mgmt::kStoragePathsMessage);
    if (result != 0) {
        throw CommandFailure("the daemon did not say where it keeps its files");
    }
    json value = json::object();
    std::istringstream lines(text);
    for (std::string name, path; lines >> name >> path;) {
        json file = {{"path", path}};
        struct stat facts {};
        file["exists"] = stat(path.c_str(), &facts) == 0;
        if (file["exists"].get<bool>()) {
            file["age_seconds"] = std::max<int64_t>(0, std::time(nullptr) - facts.st_mtime);
            file["bytes"] = facts.st_size;
        }
        std::replace(name.begin(), name.end(), '-', '_');
        value[name] = file;
    }
    return value;
}

std::string viewText(const std::string &view, const json &value) {
    std::string text;
    const auto line = [&text](const std::string &s) { text += s + "\n"; };
    if (view == "global") {
        line(std::string("snooping: ") + (value["snooping"].get<bool>() ? "on" : "off"));
        line(std::string("port-down action: ") +
             (value["port_down_fast_remove"].get<bool>() ? "fast-remove" : "keep clients"));
        line("static bindings: " + value["static_bindings"].dump());
        for (const char *option : {"interface_id", "remote_id"}) {
            const auto &o = value[option];
            line(std::string(option) + ": " + (o["enabled"].get<bool>() ? "on" : "off") + ", format " +
                 o["format"].get<std::string>() +
                 (o.contains("value") ? " \"" + o["value"].get<std::string>() + "\"" : ""));
        }
    } else if (view == "ports") {
        line("port            trusted  source-guard   max-clients  clients");
        for (const auto &p : value) {
            char row[128];
            std::snprintf(row, sizeof row, "%-15s %-8s %-14s %11u  %7u", p["name"].get<std::string>().c_str(),
                          p["trusted"].get<bool>() ? "yes" : "no",
                          p["source_guard"].get<std::string>().c_str(), p["max_clients"].get<uint32_t>(),
                          p["clients"].get<uint32_t>());
            line(row);
        }
    } else if (view == "vlans") {
        line("vlan  max-clients  clients");
        for (const auto &v : value) {
            char row[64];
            std::snprintf(row, sizeof row, "%4u  %11u  %7u", v["vlan"].get<uint32_t>(),
                          v["max_clients"].get<uint32_t>(), v["clients"].get<uint32_t>());
            line(row);
        }
    } else if (view == "clients") {
        for (const auto &c : value) {
            line(c["mac"].get<std::string>() + " vlan " + c["vlan"].dump() + " port " +
                 c["port_name"].get<std::string>());
            for (const auto &a : c["addresses"]) {
                line("  " + a["address"].get<std::string>() + "/" + a["prefix_length"].dump() + "  " +
                     a["valid_seconds_left"].dump() + " s left");
            }
        }
    } else if (view == "bindings") {
        for (const auto &b : value) {
            line(b["address"].get<std::string>() +
                 (b.contains("mac") ? " mac " + b["mac"].get<std::string>() : "") +
                 (b.contains("port_name") ? " port " + b["port_name"].get<std::string>() : "") +
                 (b.contains("vlan") ? " vlan " + b["vlan"].dump() : ""));
        }
    } else if (view == "exempt-vlans") {
        for (const auto &v : value) {
            line(v.dump());
        }
    } else if (view == "storage") {
        for (const auto &[name, file] : value.items()) {
            line(name + ": " + file["path"].get<std::string>() +
                 (file["exists"].get<bool>() ? ", written " + file["age_seconds"].dump() + " s ago, " +
                                                   file["bytes"].dump() + " bytes"
                                             : ", not written yet"));
        }
    }
    return text;
}

}  // namespace ctl
