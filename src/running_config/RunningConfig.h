#pragma once
// The daemon's section of the switch's running configuration.

#include <cstdint>

extern "C" {

// Appends the command lines that recreate the daemon's non-default settings to `text` and lowers
// *remaining by what it appended. Returns 0, or 0xFFFFFFFF when the section was not written whole.
uint32_t dhcp6snoopingBuildRunningConfig(char *text, uint32_t *remaining);
}
