#pragma once
// The handlers the MIB agent calls for the module's objects, one per group kind, each answering the modes
// of MibRequestMode for its objects and 0 for any other mode.

#include <cstddef>
#include <cstdint>

#include "platform/CcdApi.h"

extern "C" {

// The nine scalars: the snooping switch, the port-down action, the exempt-VLAN list and the six settings of
// the information options.
uint32_t dhcp6snoopingMibScalarHandler(uint32_t mode, MibRequest *request);
// The port table (trust, client limit, source-guard mode) and the VLAN table (client limit).
uint32_t dhcp6snoopingMibPortHandler(uint32_t mode, MibRequest *request);
uint32_t dhcp6snoopingMibVlanHandler(uint32_t mode, MibRequest *request);
// The learned clients, read only.
uint32_t dhcp6snoopingMibClientHandler(uint32_t mode, MibRequest *request);
// The static bindings, created and destroyed through the row status column.
uint32_t dhcp6snoopingMibBindHandler(uint32_t mode, MibRequest *request);
}

// A lease time left as the client table shows it, from the largest unit present: "1d1h1m1s", "1h0m0s",
// "1m1s", "59s".
void dhcp6snoopingMibLeaseText(uint32_t seconds, char *text, size_t size);
