#pragma once
// A fixed store of 512 binding rows that the MIB view of the bindings and the command line use to stage
// bindings by row. It only stores and clears rows; which row stands for which binding is its users' choice.

#include <cstddef>
#include <cstdint>

#include "core/SharedTypes.h"

inline constexpr uint32_t kStaticBindRows = 512;

extern "C" {

struct StaticBindRow {
    uint32_t inUse;  // 1 in use, 0 free
    uint8_t ip[16];
    uint8_t mac[6];
    uint8_t reserved[2];
    uint32_t port;
    uint32_t vlan;
};
static_assert(sizeof(StaticBindRow) == 36);
static_assert(offsetof(StaticBindRow, ip) == 4);
static_assert(offsetof(StaticBindRow, mac) == 20);
static_assert(offsetof(StaticBindRow, port) == 28);
static_assert(offsetof(StaticBindRow, vlan) == 32);

extern StaticBindRow staticBindRowTable[kStaticBindRows];

// Stores a binding in the first free row from `firstSlot` on. 0, or -1 when the slot is outside 0..511 or
// no row is free from there.
int32_t ip6v6_source_guard_bind_for_snmp_add(uint32_t firstSlot, Ipv6Address ip, const uint8_t *mac,
                                             uint32_t port, uint32_t vlan);
// Clears the first row, used or not, that holds `ip`. -1 when none does.
int32_t ip6v6_source_guard_bind_for_snmp_delete(Ipv6Address ip);
// Clears every row. Returns 0.
int32_t ip6v6_source_guard_bind_for_snmp_delete_all(void);
}
