#pragma once
// The host platform's own settings: which bridge is the switch, where the management socket lives and who
// may use it, and whether the daemon's trace lines reach the system log. They belong to the platform, not
// to the daemon, and are read from a file of the platform's.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hostplatform {

inline constexpr char kSettingsPath[] = "/etc/dhcp6snooping/platform.conf";
// Names another settings file, for test beds that run several switches on one host.
inline constexpr char kSettingsPathVariable[] = "DHCP6SNOOPING_PLATFORM_CONF";

struct HostSettings {
    std::string bridge = "br0";
    std::string socketPath = "/run/dhcp6snooping/mgmt.sock";
    std::string socketGroup;  // empty: root alone may manage the daemon
    bool trace = false;
    // The configuration the daemon starts with, in the running-configuration syntax; one that does not
    // exist is an empty one.
    std::string bootConfig = "/etc/dhcp6snooping/dhcp6snooping.conf";
    // The learned clients, kept across restarts.
    std::string bindingDatabase = "/var/lib/dhcp6snooping/bindings";
    // The counters for Prometheus' node_exporter, replaced every metricsInterval seconds; empty: none.
    std::string metricsFile;
    uint32_t metricsInterval = 15;
    // The AgentX master agent (snmpd) to serve the MIB module through, as net-snmp names a transport:
    // a Unix socket's path ("/var/agentx/master") or "tcp:host:port"; empty: no SNMP.
    std::string agentxSocket;
};
inline constexpr uint32_t kLongestMetricsInterval = 3600;

// Reads "key = value" lines (paths must be absolute); "#" starts a comment. Nothing, with the reason in
// `error`, for an unknown key or a bad value.
std::optional<HostSettings> parseSettings(std::string_view text, std::string &error);

// The settings from the file that the environment names, or else from kSettingsPath; the defaults when
// that file does not exist.
std::optional<HostSettings> loadSettings(std::string &error);

}  // namespace hostplatform
