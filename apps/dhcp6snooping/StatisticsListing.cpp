#include "StatisticsListing.h"

#include <algorithm>

#include "core/FrameStatistics.h"

namespace listing {
namespace {

mgmt::PortStatistics countersOf(uint32_t port, const std::string &name) {
    mgmt::PortStatistics record{port, name, 0, {}};
    if (const uint64_t *counters = dhcp6snoopingCounters(port)) {
        std::copy_n(counters, mgmt::kCounterCount, record.counters.begin());
    }
    return record;
}

}  // namespace

mgmt::Statistics statistics(const std::vector<mgmt::NamedPort> &ports) {
    mgmt::Statistics result;
    const mgmt::PortStatistics unknown = countersOf(0, "");
    if (std::ranges::any_of(unknown.counters, [](uint64_t value) { return value != 0; })) {
        result.ports.push_back(unknown);
    }
    for (const auto &port : ports) {
        result.ports.push_back(countersOf(port.port, port.name));
    }
    return result;
}

}  // namespace listing
