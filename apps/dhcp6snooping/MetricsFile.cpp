#include "MetricsFile.h"

#include <sys/stat.h>
#include <syslog.h>

#include <ctime>

#include "AtomicFile.h"
#include "HostFacts.h"
#include "HostLifecycle.h"
#include "HostStatistics.h"
#include "MetricsText.h"
#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "snooping/ClientTable.h"
#include "source_guard/StaticBindings.h"

namespace metrics {
namespace {

const std::time_t kStarted = std::time(nullptr);

std::optional<double> secondsSinceWritten(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::difftime(std::time(nullptr), status.st_mtim.tv_sec);
}

Gauges currentGauges() {
    Gauges gauges;
    for (const auto &port : hostplatform::bridgePorts()) {
        gauges.clientsByPort.emplace_back(port.name,
                                          isTablePort(port.port) ? portClientCount[portSlot(port.port)] : 0);
    }
    for (uint32_t vlan = 1; vlan < kVlanTableSize; ++vlan) {
        if (vlanClientCount[vlan] != 0) {
            gauges.clientsByVlan.emplace_back(vlan, vlanClientCount[vlan]);
        }
    }
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        gauges.bindings += entry->addresses.count;
    }
    gauges.staticBindings = static_cast<uint32_t>(ip6v6_source_guard_bind_entry_num_get());
    gauges.filtersInstalled = installedFilterCount;
    gauges.bindingDatabaseAgeSeconds = secondsSinceWritten(hostplatform::hostSettings().bindingDatabase);
    gauges.startTimeSeconds = static_cast<double>(kStarted);
    gauges.version = DHCP6SNOOPING_VERSION;
    return gauges;
}

}  // namespace

std::string currentMetrics() {
    return metricsText(hoststats::statistics(), currentGauges());
}

void keepWritten(const std::string &path, uint32_t intervalSeconds) {
    static uint32_t secondsLeft = 0;
    static bool failing = false;
    hostplatform::everySecond([path, intervalSeconds] {
        if (secondsLeft > 1) {
            --secondsLeft;
            return;
        }
        secondsLeft = intervalSeconds;
        std::string error;
        if (hostplatform::replaceFile(path, currentMetrics(), error)) {
            failing = false;
        } else if (!failing) {
            failing = true;
            hostplatform::logLine(LOG_ERR, "the metrics file " + path + " cannot be written: " + error);
        }
    });
}

}  // namespace metrics
