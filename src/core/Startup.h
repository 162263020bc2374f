#pragma once
// The daemon's start-up and its process main.

#include <cstdint>

inline constexpr int32_t kStartupFailed = -1001;

extern "C" {

// Prepares the global state, opens the message queue and registers every hook with the platform, in
// that order. Returns 0, or -1001 when the state or the queue cannot be set up.
int32_t dhcp6snoopingStartup(const char *programPath);

// The process's main: start-up, then the main loop for ever. Returns -1001 when start-up fails.
int dhcp6snoopingMain(int argc, char *argv[]);
}
