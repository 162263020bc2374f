#pragma once
// A sequence of everything that moves IPv6 source-guard filters, played on the fuzz switch: clients learned
// through whole exchanges, releases, moves, aging, bulk removal and links going down, port modes and trust,
// static bindings added and deleted, exempt VLANs, snooping off and on. After every step the filters the
// switch holds must be exactly those the daemon's state implies, and every port count must match the table.
// The same sequences run as a unit test (from a seeded generator) and as a fuzz target (from the input).

#include <functional>

#include "FuzzSupport.h"

namespace fuzz {

// Plays the steps the input describes from the defaults, then resets. Returns what went wrong first, or
// nothing when every step left the switch and the table as the state implies.
std::optional<std::string> playSourceGuardSequence(Input &input);
// The same, calling `afterStep` after every step, before the check.
std::optional<std::string> playObservedSourceGuardSequence(Input &input,
                                                           const std::function<void()> &afterStep);

}  // namespace fuzz
