#pragma once
// The operator's static IPv6 source-guard bindings, and the tests that tell whether a learned address is
// already served by one of them (a covered address gets no filter of its own).

#include <cstdint>

extern "C" {

// One binding. The list is circular around a head element that is not a binding, newest binding first.
struct StaticBindEntry {
    StaticBindEntry *next;
    StaticBindEntry *prev;
    uint8_t ip[16];  // network byte order
    uint8_t mac[6];  // all zero = no MAC
    uint32_t port;   // 0 = every port
    uint32_t vlan;   // 0 = no VLAN
    // 1 while the filter service holds the binding's filter: the service last answered 0 to installing it
    // and has not since answered 0 to removing it. The port predicates only look at the switch's own ports,
    // so a binding whose filter a guarded port beyond them installed could not tell otherwise that its
    // filter must go with it.
    uint32_t filterInstalled;
};

// The head: linked to itself while there is no binding.
extern StaticBindEntry staticBindList;
extern uint32_t staticBindCount;

// 1 when some binding names `address`, or has a MAC equal to the client's `mac`; else 0.
uint32_t staticBindCovers(const uint8_t *mac, const uint8_t *address);
// The same test over every binding but `binding`.
uint32_t staticBindCoversOther(const uint8_t *mac, const uint8_t *address, const StaticBindEntry *binding);

// Links `binding` in as the newest, or unlinks it; both keep staticBindCount. The entry's memory stays the
// caller's.
void staticBindInsertNewest(StaticBindEntry *binding);
void staticBindUnlink(StaticBindEntry *binding);
}
