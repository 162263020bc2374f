#pragma once
// The once-a-second aging of learned bindings and the removal of a port's clients when its link goes
// down.

#include <cstdint>

extern "C" {

// Registered for every 1000 ms; runs the aging pass whether snooping is on or off. Returns 0.
int32_t dhcp6snoopingTimerCallback(void);
// Counts every binding's valid lifetime and every unacknowledged client's pending lifetime down by the
// time since the client was last looked at; removes expired bindings with their filters and clients left
// with nothing. Returns 0.
int32_t dhcp6snoopingTimerAge(void);
// Called on every link change of a port; status 0 means the link went down, which removes the port's
// clients. Returns 0.
int32_t dhcp6snoopingLinkChange(uint32_t portIndex, uint32_t status);
}
