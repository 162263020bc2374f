#pragma once
// Configuration text entered in the daemon's own process, through the remote calls its command line would
// make: the boot configuration at start, and the command line's requests to check a text or to enter it
// whole or not at all.

#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/ConfigInterpreter.h"

namespace hostplatform {

// Enters `text` line by line; the lines refused, the others entered.
std::vector<mgmt::ConfigLineError> enterConfigText(std::string_view text);

// The lines that entering `text` would refuse, found by entering it on a copy of the daemon in a child
// process, which changes nothing here: no setting, no filter, no log line.
std::vector<mgmt::ConfigLineError> checkConfigText(std::string_view text);

// Enters `text` only when the check refuses none of its lines; the lines refused otherwise.
std::vector<mgmt::ConfigLineError> enterConfigTextWhole(std::string_view text);

// One refused line as the command line prints it: "line N: LINE: REASON".
std::string describe(const mgmt::ConfigLineError &error);

}  // namespace hostplatform
