#pragma once
// The source-guard filter of one learned binding: a /128 address of a client gets a forward filter of its
// own on a guarded port, unless a static binding already serves it.

#include <cstdint>

#include "snooping/ClientTable.h"

// True when `record` of `entry` has its own filter while the port `guardPortIndex` decides the guard mode
// (normally the client's recorded port).
bool bindingHasFilter(const ClientEntry &entry, const ClientAddress &record, uint32_t guardPortIndex);

// Install or remove that filter for the client's MAC, port and VLAN; failures are traced by the filter layer.
void bindingFilterInstall(const ClientEntry &entry, const ClientAddress &record);
void bindingFilterRemove(const ClientEntry &entry, const ClientAddress &record);
