#pragma once
// The daemon's MIB module at the switch's MIB agent.

#include <cstdint>

inline constexpr char kMibModuleName[] = "vrkL2Dhcp6Snooping";

extern "C" {

// Registers the module with its object list. Returns 0 whatever the agent answered.
int32_t dhcp6snoopingMibRegister(void);
}
