#pragma once
// Configuration text entered in the daemon's own process, through the remote calls its command line would
// make: the boot configuration at start, and the command line's requests to check a text or to enter it
// whole or not at all.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/ConfigInterpreter.h"

namespace hostplatform {

// A remote call served by the daemon's registered wrappers in this process, as if it had come on the
// socket: its reply, with the outputs written in; nothing when it is too large for the daemon's buffer.
std::optional<mgmt::DecodedRemoteCall> callInProcess(uint32_t callNumber,
                                                     const std::vector<mgmt::Bytes> &arguments);

// Enters `text` line by line; the lines refused, the others entered.
std::vector<mgmt::ConfigLineError> enterConfigText(std::string_view text);

// The lines that entering `text` would refuse, found by entering it on a copy of the daemon in a child
// process, which changes nothing here: no setting, no filter, no log line. With `fromDefaults` the copy is
// reset first, so that the text is checked as the whole configuration.
std::vector<mgmt::ConfigLineError> checkConfigText(std::string_view text, bool fromDefaults = false);

// Enters `text` only when the check refuses none of its lines; the lines refused otherwise.
std::vector<mgmt::ConfigLineError> enterConfigTextWhole(std::string_view text);

// Makes the daemon's configuration exactly `text`, without the reset, which would forget every learned
// client: `text` is checked as a whole configuration on a copy, then only the differences are entered (the
// settings it leaves out returned to their defaults, its new lines added), all in one event-loop turn, so
// that the filters change in one transaction. Should a difference be refused, what was there is restored.
// The lines refused, by their number in `text`, or the refused difference.
std::vector<mgmt::ConfigLineError> replaceConfigText(std::string_view text);

// The daemon's running configuration, or nothing when it gave none.
std::optional<std::string> runningConfigText();

// One refused line as the command line prints it: "line N: LINE: REASON".
std::string describe(const mgmt::ConfigLineError &error);

}  // namespace hostplatform
