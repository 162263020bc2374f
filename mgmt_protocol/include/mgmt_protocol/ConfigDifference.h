#pragma once
// What it takes to turn one running configuration into another by entering only what differs, so that a
// daemon's configuration can be replaced without the reset, which forgets every learned client.

#include <optional>
#include <string>
#include <string_view>

namespace mgmt {

// The line that returns the setting of `line` to its default: of a global line when `inBlock` is false,
// else of a line inside an interface or VLAN block. Nothing for a line that sets nothing.
std::optional<std::string> undoingLine(std::string_view line, bool inBlock);

// Running-configuration text that takes a daemon configured as `current` to `wanted`: the undoing line of
// each line of `current` that `wanted` lacks, then each line of `wanted` that `current` lacks, in their
// order, each inside its interface or VLAN block. Lines are compared as the command line reads them:
// without their indentation, blank lines and "!" comments.
std::string configDifference(std::string_view current, std::string_view wanted);

// What differs between two running configurations, on one line for a log: each line `before` has and
// `after` lacks with "-" before it, each line `after` adds with "+", grouped by block as
// "interface ethernet swp1: -dhcpv6-snooping max-clients 5 +dhcpv6-snooping max-clients 10", the groups
// (global lines first) separated by "; ". Empty when nothing differs.
std::string configChangeSummary(std::string_view before, std::string_view after);

}  // namespace mgmt
