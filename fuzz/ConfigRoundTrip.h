#pragma once
// A configuration must survive as text: whatever the daemon is configured to, its running configuration
// entered again on a daemon at its defaults gives the same running configuration and the same filters.
// The configurations come from bytes, so the same check runs as a unit test (from a seeded generator) and
// as a fuzz target (from the input).

#include "FuzzSupport.h"
#include "mgmt_protocol/ConfigInterpreter.h"

namespace fuzz {

// The running configuration with its static-binding lines sorted. The binding list keeps the newest binding
// first and the text lists the bindings in that order, so entering the text builds the list the other way
// round; the order means nothing (a binding is found by its address), so texts are compared without it.
std::string withBindingLinesSorted(const std::string &text);

// What differs when the text `configured`, entered on a daemon at its defaults, was answered with `errors`
// and left the daemon writing `entered`; nothing when it came back whole.
std::optional<std::string> enteredDiffers(const std::string &configured,
                                          const std::vector<mgmt::ConfigLineError> &errors,
                                          const std::string &entered);

// Configures the daemon as the input describes, takes its running configuration and filters, resets it to
// the defaults, enters the text through the switch's command line and compares; then resets again. Returns
// what differed, or nothing when the configuration came back whole.
std::optional<std::string> playConfigRoundTrip(Input &input);

// Configures the daemon as the first part of the input describes and keeps its running configuration and
// filters as the wanted ones; resets it, configures it from the rest, and enters only the differences from
// that configuration to the wanted one (mgmt::configDifference). The daemon must then write the wanted
// text, hold the wanted filters and keep the filter invariant. Returns what differed.
std::optional<std::string> playConfigReplace(Input &input);

}  // namespace fuzz
