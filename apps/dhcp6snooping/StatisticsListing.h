#pragma once
// The daemon's counters as the command line and the metrics read them: one record a port, and one for the
// frames of no port the daemon knows when it counted any.

#include <vector>

#include "mgmt_protocol/PlatformLists.h"
#include "mgmt_protocol/Statistics.h"

namespace listing {

// The counters of `ports`, each record with the port's number and name; what the platform counts itself
// (source guard's drops, the packet path's losses) is left at 0 for the platform to fill in.
mgmt::Statistics statistics(const std::vector<mgmt::NamedPort> &ports);

}  // namespace listing
