#include "Views.h"

#include <arpa/inet.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/Vocabulary.h"

namespace ctl {
namespace {

using nlohmann::json;

using namespace mgmt;  // NOLINT(google-build-using-namespace): the list records and their words

constexpr uint32_t kDefaultFormat = *valueNamed(kOptionFormatNames, "default");

std::string addressText(const uint8_t *address) {
    char text[INET6_ADDRSTRLEN] = {};
    inet_ntop(AF_INET6, address, text, sizeof text);
    return text;
}

// What a list request's reply carries, read by `decode`; it throws when the daemon gave none.
template <typename Decode>
auto listOf(DaemonLink &daemon, uint16_t type, Decode decode, const char *what) {
    const auto [result, data] = daemon.platformRequest(type);
    auto list = decode(std::span<const uint8_t>(reinterpret_cast<const uint8_t *>(data.data()), data.size()));
    if (result != 0 || !list) {
        throw CommandFailure(std::string("the daemon gave no list of its ") + what);
    }
    return std::move(*list);
}

json optionView(const OptionSettings &option) {
    json shown = {{"enabled", option.enabled},
                  {"format", std::string(nameOf(kOptionFormatNames, option.format))}};
    if (option.format != kDefaultFormat) {
        shown["value"] = option.value;
    }
    return shown;
}

std::string portNameOr(DaemonLink &daemon, uint32_t port) {
    const auto names = daemon.portNames();
    return port >= 1 && port <= names.size() ? names[port - 1] : std::to_string(port);
}

}  // namespace

json globalView(DaemonLink &daemon) {
    const auto global = listOf(daemon, kGlobalMessage, decodeGlobal, "global settings");
    return {{"snooping", global.snooping},
            {"port_down_fast_remove", global.fastRemove},
            {"trace", global.trace},
            {"static_bindings", global.staticBindings},
            {"interface_id", optionView(global.interfaceId)},
            {"remote_id", optionView(global.remoteId)}};
}

json portsView(DaemonLink &daemon) {
    json ports = json::array();
    for (const auto &port : listOf(daemon, kPortListMessage, decodePortList, "ports")) {
        ports.push_back({{"port", port.port},
                         {"name", port.name},
                         {"trusted", port.trusted},
                         {"source_guard", std::string(nameOf(kGuardModeNames, port.guardMode))},
                         {"max_clients", port.maxClients},
                         {"clients", port.clients}});
    }
    return ports;
}

json vlansView(DaemonLink &daemon) {
    json vlans = json::array();
    for (const auto &vlan : listOf(daemon, kVlanListMessage, decodeVlanList, "VLANs")) {
        vlans.push_back({{"vlan", vlan.vlan}, {"max_clients", vlan.maxClients}, {"clients", vlan.clients}});
    }
    return vlans;
}

// One client as JSON. Built field by field: the table's clients pass through here by the thousand, and
// objects made from initializer lists copy every member on the way.
json clientJson(const ClientView &client, const std::string &portName) {
    json addresses(json::value_t::array);
    auto &list = addresses.get_ref<json::array_t &>();
    list.reserve(client.addresses.size());
    for (const auto &address : client.addresses) {
        json shown(json::value_t::object);
        auto &fields = shown.get_ref<json::object_t &>();
        fields.emplace("address", addressText(address.address.data()));
        fields.emplace("prefix_length", address.prefixLength);
        fields.emplace("valid_seconds_left", address.validSecondsLeft);
        list.push_back(std::move(shown));
    }
    json shown(json::value_t::object);
    auto &fields = shown.get_ref<json::object_t &>();
    fields.emplace("mac", macText(client.mac.data()));
    fields.emplace("waiting", client.waiting);
    fields.emplace("vlan", client.vlan);
    fields.emplace("port", client.port);
    fields.emplace("port_name", portName);
    fields.emplace("addresses", std::move(addresses));
    return shown;
}

void printClients(DaemonLink &daemon, std::ostream &out, bool asJson, int indent) {
    const auto clients = daemon.clients();
    const auto names = daemon.portNames();
    const auto portName = [&names](uint32_t port) {
        return port >= 1 && port <= names.size() ? names[port - 1] : std::to_string(port);
    };
    // One client's JSON at a time: the list of a full table never stands whole in memory as objects.
    const char *separator = asJson ? "[" : "";
    for (const auto &client : clients) {
        const json shown = clientJson(client, portName(client.port));
        if (asJson) {
            out << separator << (indent < 0 ? "" : "\n") << std::setw(std::max(indent, 0)) << shown;
            separator = ",";
        } else {
            out << viewText("clients", json::array({shown}));
        }
    }
    if (asJson) {
        out << (clients.empty() ? "[" : indent < 0 ? "" : "\n") << "]\n";
    }
}

json bindingsView(DaemonLink &daemon) {
    json bindings = json::array();
    for (const auto &binding : listOf(daemon, kBindingListMessage, decodeBindingList, "static bindings")) {
        json shown = {{"address", addressText(binding.address.data())}};
        if (std::ranges::any_of(binding.mac, [](uint8_t b) { return b != 0; })) {
            shown["mac"] = macText(binding.mac.data());
        }
        if (binding.port != 0) {
            shown["port"] = binding.port;
            shown["port_name"] = portNameOr(daemon, binding.port);
        }
        if (binding.vlan != 0) {
            shown["vlan"] = binding.vlan;
        }
        bindings.push_back(shown);
    }
    return bindings;
}

json exemptVlansView(DaemonLink &daemon) {
    return listOf(daemon, kExemptVlanListMessage, decodeExemptVlanList, "exempt VLANs");
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
        line(std::string("debug trace: ") + (value["trace"].get<bool>() ? "on" : "off"));
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
                 c["port_name"].get<std::string>() +
                 (c["waiting"].get<bool>() ? " (waiting for its REPLY)" : ""));
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
