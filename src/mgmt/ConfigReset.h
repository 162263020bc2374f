#pragma once
// Returning the whole snooping and source-guard configuration to its defaults in one operation.

#include <cstdint>

extern "C" {

// Undoes every setting that differs from its default through the operation that changes it singly, so that
// filters and counts follow as for one command each: static bindings, exempt VLANs, the relay options, VLAN
// limits of existing VLANs, trust, guard and limits of existing ports, the port-down action, and snooping.
// Returns -1 when an exempt VLAN cannot be released (each one is printed on the console, and nothing after
// the VLANs is touched); otherwise the sum of the results of the operations called.
int32_t dhcp6snooping_reset_config(void);
}
