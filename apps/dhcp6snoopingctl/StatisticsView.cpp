#include "StatisticsView.h"

#include <algorithm>

#include "Commands.h"
#include "mgmt_protocol/Statistics.h"

namespace ctl {
namespace {

using nlohmann::json;

constexpr std::string_view kGuardDropped = "source_guard_dropped";

// The counters by group, every key present; and source guard's drops.
json countersJson(const mgmt::PortStatistics &port) {
    json shown(json::value_t::object);
    for (size_t i = 0; i < mgmt::kCounterCount; ++i) {
        const auto &name = mgmt::kCounterNames[i];
        shown[std::string(mgmt::groupKey(name.group))][std::string(name.key)] = port.counters[i];
    }
    shown[std::string(kGuardDropped)] = port.guardDropped;
    return shown;
}

json portJson(const mgmt::PortStatistics &port) {
    json shown = countersJson(port);
    shown["port"] = port.port;
    shown["name"] = port.name;
    return shown;
}

std::string inWords(std::string key) {
    std::ranges::replace(key, '_', ' ');
    return key;
}

// The lines of one port's (or the total's) counters that are not 0.
void countersText(const json &counters, std::string &text) {
    bool any = false;
    for (const auto group : mgmt::kGroupKeys) {
        std::string line;
        for (const auto &[key, value] : counters[std::string(group)].items()) {
            if (value.get<uint64_t>() != 0) {
                line += (line.empty() ? "" : ", ") + inWords(key) + " " + value.dump();
            }
        }
        if (!line.empty()) {
            text += "  " + std::string(group) + ": " + line + "\n";
            any = true;
        }
    }
    if (counters[std::string(kGuardDropped)].get<uint64_t>() != 0) {
        text += "  dropped by source guard: " + counters[std::string(kGuardDropped)].dump() + "\n";
        any = true;
    }
    if (!any) {
        text += "  nothing counted\n";
    }
}

}  // namespace

json statisticsView(DaemonLink &daemon, const std::optional<std::string> &port) {
    const auto [result, data] = daemon.platformRequest(mgmt::kStatisticsMessage);
    const auto statistics =
        mgmt::decodeStatistics({reinterpret_cast<const uint8_t *>(data.data()), data.size()});
    if (result != 0 || !statistics) {
        throw CommandFailure("the daemon gave no statistics");
    }
    if (port) {
        const auto found = std::ranges::find(statistics->ports, *port, &mgmt::PortStatistics::name);
        if (found == statistics->ports.end() || found->port == 0) {
            throw UsageError("no such port: " + *port);
        }
        return portJson(*found);
    }
    json ports = json::array();
    for (const auto &each : statistics->ports) {
        ports.push_back(portJson(each));
    }
    return {{"total", countersJson(mgmt::totalOf(*statistics))},
            {"receive_ring_dropped", statistics->ringDropped},
            {"not_handed_over", statistics->notHandedOver},
            {"ports", ports}};
}

std::string statisticsText(const json &value) {
    std::string text;
    if (value.contains("port")) {
        text += "port " + value["name"].get<std::string>() + "\n";
        countersText(value, text);
        return text;
    }
    text += "every port\n";
    countersText(value["total"], text);
    text += "  lost before the daemon: " + value["receive_ring_dropped"].dump() +
            " dropped by the receive ring, " + value["not_handed_over"].dump() + " not for the daemon\n";
    for (const auto &each : value["ports"]) {
        text += each["port"].get<uint32_t>() == 0 ? std::string("no known port\n")
                                                  : "port " + each["name"].get<std::string>() + "\n";
        countersText(each, text);
    }
    return text;
}

}  // namespace ctl
