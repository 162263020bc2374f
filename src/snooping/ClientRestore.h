#pragma once
// Clients taken back from what a platform kept of the client table across a restart of the daemon.

#include <cstdint>

#include "snooping/AddressList.h"

extern "C" {

// Takes back a client as acknowledged, recorded on `portIndex` in `vlanId` with the `count` records at
// `addresses` (each validLifetime the seconds left to it), counted on its port and VLAN, with the filter of
// every binding that the port's guard mode asks for, as a REPLY would have left it. Records without a
// second left are left out. Answers 0; -1 when snooping is off, `mac` or `addresses` is null, the MAC is
// zero or has a client already, the port or the VLAN is not usable, the port is trusted, the port's or the
// VLAN's client limit is reached, no record is left, or the table is full.
int32_t clientRestore(const uint8_t *mac, uint32_t vlanId, uint32_t portIndex, const ClientAddress *addresses,
                      uint32_t count);
}
