#pragma once
// Sending snooped frames on: the switch traps DHCPv6 frames to the daemon, so every frame that passes the
// decision leaves through these two operations.

#include <cstdint>

#include "snooping/SnoopPacket.h"

extern "C" {

// Toward the servers: with options 18 and 37 added when they are enabled (the frame may then be dropped),
// out of the one trusted port behind which the destination MAC was learned, else flooded to the VLAN's
// other ports. `ingress` is the 0-based receiving port. Returns 0, or -1 when the
// packet service refused the frame.
int32_t dhcp6snoopingSendToServers(SnoopPacket *packet, uint16_t vlanId, uint32_t ingress,
                                   uint32_t payloadOffset);

// Toward the client: out of the port or link aggregation where the destination MAC was learned, else
// flooded. Same results.
int32_t dhcp6snoopingSendToClient(SnoopPacket *packet, uint16_t vlanId, uint32_t ingress);
}
