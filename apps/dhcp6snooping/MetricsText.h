#pragma once
// The daemon's counters and gauges in Prometheus' text exposition format, for node_exporter's textfile
// collector: every metric named dhcp6snooping_*, counters ending in _total, times in seconds.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mgmt_protocol/Statistics.h"

namespace metrics {

struct Gauges {
    std::vector<std::pair<std::string, uint32_t>> clientsByPort;  // port name, clients
    std::vector<std::pair<uint32_t, uint32_t>> clientsByVlan;     // VLAN, clients; VLANs with none left out
    uint64_t bindings = 0;                                        // learned
    uint32_t staticBindings = 0;
    uint32_t filtersInstalled = 0;
    std::optional<double> bindingDatabaseAgeSeconds;  // none while there is no database
    double startTimeSeconds = 0;                      // since the Unix epoch
    std::string version;
};

std::string metricsText(const mgmt::Statistics &statistics, const Gauges &gauges);

}  // namespace metrics
