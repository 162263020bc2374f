#include "MetricsText.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace metrics {
namespace {

constexpr std::string_view kPrefix = "dhcp6snooping_";

// Each group of counters is one metric, in CounterGroup order, the counter's key its label.
struct GroupMetric {
    std::string_view name;
    std::string_view label;
    std::string_view help;
};
constexpr std::array<GroupMetric, 4> kGroupMetrics = {{
    {"frames_passed_total", "type", "DHCPv6 frames sent on, by ingress port and message type."},
    {"frames_dropped_total", "reason", "Frames dropped, by ingress port and reason."},
    {"binding_events_total", "event", "What became of learned bindings and clients, by client port."},
    {"filter_service_events_total", "event", "Filter-service requests and their failures, by port."},
}};

// A label value with the characters the format escapes escaped.
std::string escaped(std::string_view value) {
    std::string text;
    for (const char c : value) {
        if (c == '\\' || c == '"') {
            text += '\\';
            text += c;
        } else if (c == '\n') {
            text += "\\n";
        } else {
            text += c;
        }
    }
    return text;
}

// name="value", the value escaped.
std::string label(std::string_view name, std::string_view value) {
    std::string text(name);
    text.append("=\"").append(escaped(value)).append("\"");
    return text;
}

std::string portLabel(const mgmt::PortStatistics &port) {
    return label("port", port.port == 0 ? "none" : port.name);
}

class Writer {
  public:
    void family(std::string_view name, std::string_view type, std::string_view help) {
        text_.append("# HELP ").append(kPrefix).append(name).append(" ").append(help).append("\n");
        text_.append("# TYPE ").append(kPrefix).append(name).append(" ").append(type).append("\n");
    }
    void sample(std::string_view name, std::string_view labels, std::string_view value) {
        text_.append(kPrefix).append(name);
        if (!labels.empty()) {
            text_.append("{").append(labels).append("}");
        }
        text_.append(" ").append(value).append("\n");
    }
    [[nodiscard]] const std::string &text() const { return text_; }

  private:
    std::string text_;
};

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

}  // namespace

std::string metricsText(const mgmt::Statistics &statistics, const Gauges &gauges) {
    Writer out;
    for (size_t group = 0; group < kGroupMetrics.size(); ++group) {
        const GroupMetric &metric = kGroupMetrics[group];
        out.family(metric.name, "counter", metric.help);
        for (const auto &port : statistics.ports) {
            for (size_t i = 0; i < mgmt::kCounterCount; ++i) {
                if (static_cast<size_t>(mgmt::kCounterNames[i].group) == group) {
                    out.sample(
                        metric.name,
                        portLabel(port).append(",").append(label(metric.label, mgmt::kCounterNames[i].key)),
                        std::to_string(port.counters[i]));
                }
            }
        }
    }
    out.family("source_guard_dropped_frames_total", "counter", "Frames source guard dropped, by port.");
    for (const auto &port : statistics.ports) {
        if (port.port != 0) {
            out.sample("source_guard_dropped_frames_total", portLabel(port),
                       std::to_string(port.guardDropped));
        }
    }
    out.family("receive_ring_dropped_frames_total", "counter",
               "Frames the receive ring dropped before the daemon read them.");
    out.sample("receive_ring_dropped_frames_total", "", std::to_string(statistics.ringDropped));
    out.family("frames_not_handed_over_total", "counter",
               "Frames received that were not for the daemon (not on the port's VLAN, not DHCPv6).");
    out.sample("frames_not_handed_over_total", "", std::to_string(statistics.notHandedOver));

    out.family("clients", "gauge", "Clients recorded, by port.");
    for (const auto &[port, clients] : gauges.clientsByPort) {
        out.sample("clients", label("port", port), std::to_string(clients));
    }
    out.family("vlan_clients", "gauge", "Clients recorded, by VLAN.");
    for (const auto &[vlan, clients] : gauges.clientsByVlan) {
        out.sample("vlan_clients", label("vlan", std::to_string(vlan)), std::to_string(clients));
    }
    out.family("bindings", "gauge", "Addresses and prefixes learned from the clients' REPLYs.");
    out.sample("bindings", "", std::to_string(gauges.bindings));
    out.family("static_bindings", "gauge", "Static source-guard bindings.");
    out.sample("static_bindings", "", std::to_string(gauges.staticBindings));
    out.family("filters_installed", "gauge", "Address filters installed, renewals included.");
    out.sample("filters_installed", "", std::to_string(gauges.filtersInstalled));
    if (gauges.bindingDatabaseAgeSeconds) {
        out.family("binding_database_age_seconds", "gauge",
                   "Seconds since the binding database was written.");
        out.sample("binding_database_age_seconds", "", number(*gauges.bindingDatabaseAgeSeconds));
    }
    out.family("start_time_seconds", "gauge", "When the daemon started, in seconds since the Unix epoch.");
    out.sample("start_time_seconds", "", number(gauges.startTimeSeconds));
    out.family("build_info", "gauge", "The daemon's version, in its label; always 1.");
    out.sample("build_info", label("version", gauges.version), "1");
    return out.text();
}

}  // namespace metrics
