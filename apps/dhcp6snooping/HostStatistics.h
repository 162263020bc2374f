#pragma once
// The statistics of the daemon on a Linux host: its counters for every port of the bridge, with what the
// platform counts itself (source guard's drops in nftables, the packet path's losses).

#include "mgmt_protocol/Statistics.h"

namespace hoststats {

mgmt::Statistics statistics();
// Every count back to 0, the daemon's and the platform's.
void clear();

}  // namespace hoststats
