#pragma once
// The daemon's counters as the statistics commands show them: every port's and their sum, or one port's.

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "DaemonLink.h"

namespace ctl {

// Every port's counters with their sum ("total") and what the packet path lost, or, when `port` names a
// port, that port's counters alone. It throws for a port the daemon does not know.
nlohmann::json statisticsView(DaemonLink &daemon, const std::optional<std::string> &port);
// The view as text: the counters that are not 0, a line per group.
std::string statisticsText(const nlohmann::json &value);

}  // namespace ctl
