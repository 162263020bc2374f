#pragma once
// Switching DHCPv6 snooping as a whole on and off.

extern "C" {

// Turns snooping on: the DHCPv6 and neighbour-discovery filters go in and the packet registrations hand
// frames to the daemon alone. Nothing happens when it is on already. Returns 0.
int dhcp6snoopingStart(void);

// Turns snooping off: the filters go, the switch forwards DHCPv6 frames itself again, and every learned
// client is forgotten with its counts and filters. Nothing happens when it is off already. Returns 0.
int dhcp6snoopingStop(void);
}
