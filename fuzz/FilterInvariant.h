#pragma once
// The one check every fuzz target and the soak make of the filters: the switch holds exactly the filters
// the daemon's state implies, element for element, and the client table keeps its counts.

#include <optional>
#include <set>
#include <string>

#include "switchsim/Switch.h"

namespace fuzz {

// The filters the daemon's state implies now: the snooping filters while snooping is on, the deny-all
// filter of every guarded port, the filter of every learned address on a guarded port that no static
// binding covers, every static binding's by its kind, and the exempt VLANs'. Where the port rules cannot
// tell (a port beyond the switch's own, a flag stored without asking the service), what the daemon
// remembers of the service's answers decides.
std::set<switchsim::Filter> impliedFilters();

// Nothing when the switch holds exactly the implied filters, every binding remembers its filter as the
// port rules say, and the client table agrees with its counts; else what is wrong, beginning with `when`.
std::optional<std::string> invariantBroken(const std::string &when);
// Ends the run, as a crash would, with what is wrong when the invariant is broken.
void requireInvariant(const char *when);

}  // namespace fuzz
