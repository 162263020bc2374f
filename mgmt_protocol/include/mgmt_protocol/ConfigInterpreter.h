#pragma once
// The switch's command line, as far as running-configuration text goes: each line is turned into the remote
// call its command issues, so that a configuration survives the way it does on a switch, as text saved and
// entered again. How a call reaches the daemon and how port names are found are the caller's.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {

// A line that was refused: unknown to the command line, with a bad argument, or answered non-zero by the
// daemon.
struct ConfigLineError {
    uint32_t lineNumber = 0;  // counted from 1
    std::string line;
    std::string reason;
};

// Makes one remote call and answers the daemon's result, or nothing when the daemon did not answer.
using CallDaemon =
    std::function<std::optional<int32_t>(uint32_t callNumber, const std::vector<Bytes> &arguments)>;
// The port that the switch names so after "interface ethernet", blanks before the name as the switch writes
// them there (a binding line's port comes with one blank before it), or nothing when there is none.
using FindPort = std::function<std::optional<uint32_t>(std::string_view name)>;

// Enters the lines of `text` one by one ("\r\n" or "\n" apart; empty lines and "!" comments are skipped).
// A refused line is reported and the lines after it are entered all the same, as a terminal session would
// go on.
std::vector<ConfigLineError> applyConfigText(std::string_view text, const CallDaemon &callDaemon,
                                             const FindPort &findPort);

}  // namespace mgmt
