#pragma once
// The simulated switch's command line for running-configuration text: each line's remote call is carried
// to the daemon through the management queue, and ports are found by the names the switch gives them.

#include <string_view>
#include <vector>

#include "mgmt_protocol/ConfigInterpreter.h"
#include "switchsim/Switch.h"

namespace switchsim {

// Enters `text` (see mgmt::applyConfigText) and lets the daemon serve each call with `serveNextMessage`.
std::vector<mgmt::ConfigLineError> applyConfigText(Switch &sw, std::string_view text,
                                                   void (*serveNextMessage)());

}  // namespace switchsim
