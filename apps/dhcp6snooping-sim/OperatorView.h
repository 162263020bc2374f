#pragma once
// The daemon's tables as an operator reads them: the clients with their bindings, the client counts and the
// filters in place.

#include <cstdint>
#include <vector>

#include "snooping/ClientTable.h"
#include "switchsim/Switch.h"

// The learned clients, in MAC order.
std::vector<const ClientEntry *> clientsInMacOrder();

// One row per client (MAC, VLAN, port, state), each address or prefix under it with its valid lifetime
// left at `now`.
void printClientTable(uint32_t now);
// The ports and VLANs that count clients.
void printClientCounts();
void printFilters(const switchsim::Switch &sw);
