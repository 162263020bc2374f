#pragma once
// The once-a-second aging of learned bindings and the removal of a port's clients when its link goes
// down.

#include <cstdint>

extern "C" {

// Registered for every 1000 ms. Returns 0.
int32_t dhcp6snoopingTimerCallback(void);
// Called on every link change of a port; status 0 means the link went down. Returns 0.
int32_t dhcp6snoopingLinkChange(uint32_t portIndex, uint32_t status);
}
