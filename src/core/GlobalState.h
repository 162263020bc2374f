#pragma once
// The daemon's global switches and its per-port and per-VLAN tables. They live for the whole process;
// per-port tables are indexed by PortIndex - 1, per-VLAN tables by the VLAN id.

#include <cstdint>

#include "core/SharedTypes.h"

inline constexpr uint16_t kDefaultClientLimit = 2048;

extern "C" {

// 1 while snooping is on; changed only by switching snooping on and off.
extern uint32_t dhcp6snoopingOnOff;
// 1 = trusted port, 0 = untrusted.
extern uint32_t portTrustMode[kPortTableSize];
// A SourceGuardMode; SOURCE_GUARD_NONE when the port is not guarded.
extern uint32_t portIpSourceGuardMode[kPortTableSize];
// Most counted clients recorded on a port, 0..2048, and how many are counted now.
extern uint16_t portMaxNum[kPortTableSize];
extern uint16_t portClientCount[kPortTableSize];
// Most counted clients recorded in a VLAN, 0..2048, and how many are counted now.
extern uint16_t vlanMaxNum[kVlanTableSize];
extern uint16_t vlanClientCount[kVlanTableSize];
// 1 when "port-down-action fast-remove" is configured; only stored and reported.
extern uint32_t dhcp6snoopingPortDownAction;
// Non-zero: a port whose link goes down loses its clients.
extern uint32_t portDownRemoveSwitch;

// Fills the client pool and puts the per-port and per-VLAN defaults in place at start-up. Returns 0.
int dhcp6snooping_init(void);
}
