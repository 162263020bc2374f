#pragma once
// A churn soak on the fuzz switch: up to 2048 clients over simulated time, from a seeded generator. Clients
// come, renew, move between ports and VLANs, release, decline and expire; links flap; the operator changes
// static bindings, guard modes, exempt VLANs and the relay options, switches snooping off and on and resets
// the configuration. After every step the switch must hold exactly the filters the daemon's state implies,
// the counts must agree with the table, and every block the daemon took from the platform must belong to
// a client, a binding or a template; after every step that changes the configuration, its running
// configuration entered on a daemon at its defaults (in a child process) must come back the same.

#include <cstdint>
#include <optional>
#include <string>

namespace fuzz {

struct SoakFigures {
    uint32_t steps = 0;
    uint32_t simulatedSeconds = 0;
    uint32_t exchanges = 0;  // SOLICIT, REQUEST and REPLY of a new or moving client
    uint32_t renewals = 0;
    uint32_t configurationChanges = 0;  // each one followed by a round trip of the running configuration
    uint32_t peakClients = 0;
    uint32_t peakFilters = 0;
};

// Plays `simulatedSeconds` of churn from `seed`, then resets. Returns what went wrong first, or nothing;
// `figures` says how much was done either way.
std::optional<std::string> playSoak(uint32_t simulatedSeconds, uint32_t seed, SoakFigures &figures);

}  // namespace fuzz
