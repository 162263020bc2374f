#pragma once
// The operator's static IPv6 source-guard bindings: adding, checking, listing and deleting them with their
// filters, and the learned filters that a binding takes over while it exists and gives back when it goes.
// The list keeps no two bindings with the same address and no two with the same non-zero MAC.

#include <cstddef>
#include <cstdint>

#include "core/SharedTypes.h"

extern "C" {

// A binding as the get operations hand it out; bytes 22 and 23 are left as the caller had them.
struct StaticBindRecord {
    uint8_t ip[16];
    uint8_t mac[6];
    uint8_t unwritten[2];
    uint32_t port;
    uint32_t vlan;
};
static_assert(sizeof(StaticBindRecord) == 32);
static_assert(offsetof(StaticBindRecord, mac) == 16);
static_assert(offsetof(StaticBindRecord, port) == 24);
static_assert(offsetof(StaticBindRecord, vlan) == 28);

// Most records one page of ip6v6_source_guard_bind_node_get hands out.
inline constexpr uint32_t kStaticBindPage = 64;

// Adds a binding of `ip`, optionally to a MAC (null or all zero: none), a port (0: every port) and a VLAN
// (0: none). 0 when added; 2 when a binding with the same address, MAC and port exists; -1 when another
// binding has the address or the non-zero MAC, or when memory runs out. The learned filters it covers are
// withdrawn, and its own filter is installed while its port (for port 0: any port) is guarded.
int32_t ip6v6_source_guard_bind_node_add(Ipv6Address ip, const uint8_t *mac, uint32_t port, uint32_t vlan);
// Deletes the binding of `ip` with its filter and gives back the filters of the learned addresses it
// covered that no other binding covers. -1 when there is none.
int32_t ip6v6_source_guard_bind_node_delete(Ipv6Address ip);
// Deletes every binding, newest first; returns how many.
int32_t ip6v6_source_guard_bind_node_delete_all(void);
// 0 when exactly this binding (address, MAC, port) exists, else -1.
int32_t ip6v6_source_guard_bind_node_check(Ipv6Address ip, const uint8_t *mac, uint32_t port);
// One page of the list, newest first: the bindings from position `first` (the newest is 1), at most 64,
// their number in *count and, when more follow, the position to ask for next in *next (else 0).
int32_t ip6v6_source_guard_bind_node_get(uint16_t first, uint16_t *next, uint16_t *count,
                                         StaticBindRecord *records);
// The binding of `ip`; -1 when there is none.
int32_t ip6v6_source_guard_bind_node_get_by_ip(Ipv6Address ip, StaticBindRecord *record);
// The number of bindings.
int32_t ip6v6_source_guard_bind_entry_num_get(void);
}
