#pragma once
// The switch's command line, as far as running-configuration text goes: each line is turned into the remote
// call its command issues, carried to the daemon through the management queue, so that a configuration
// survives the way it does on a switch, as text saved and entered again.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "switchsim/Switch.h"

namespace switchsim {

// A line that was refused: unknown to the command line, with a bad argument, or answered non-zero by the
// daemon.
struct ConfigLineError {
    uint32_t lineNumber = 0;  // counted from 1
    std::string line;
    std::string reason;
};

// Enters the lines of `text` one by one ("\r\n" or "\n" apart; empty lines and "!" comments are skipped) and
// lets the daemon serve each call with `serveNextMessage`. A refused line is reported and the lines after it
// are entered all the same, as a terminal session would go on.
std::vector<ConfigLineError> applyConfigText(Switch &sw, std::string_view text, void (*serveNextMessage)());

}  // namespace switchsim
