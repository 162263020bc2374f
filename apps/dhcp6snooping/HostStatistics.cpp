#include "HostStatistics.h"

#include "HostFacts.h"
#include "StatisticsListing.h"
#include "core/FrameStatistics.h"

namespace hoststats {

mgmt::Statistics statistics() {
    mgmt::Statistics result = listing::statistics(hostplatform::bridgePorts());
    const hostplatform::GuardDrops guardDrops;
    for (auto &port : result.ports) {
        port.guardDropped = port.port != 0 ? guardDrops.onPort(port.name) : 0;
    }
    const auto losses = hostplatform::packetPathLosses();
    result.ringDropped = losses.ringDropped;
    result.notHandedOver = losses.notHandedOver;
    return result;
}

void clear() {
    dhcp6snoopingCountersClear();
    hostplatform::clearHostCounts();
}

}  // namespace hoststats
