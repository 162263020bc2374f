#pragma once
// The per-port and per-VLAN snooping settings and the operator's view of the learned clients. These
// operations, with the source-guard mode setter, are the only writers of the settings tables: the remote
// calls, the MIB, the reset, the tools and the tests all go through them, so every channel applies the same
// rules. Setters bound a port by the table size (224), getters by the switch's port count.

#include <cstddef>
#include <cstdint>

#include "core/SharedTypes.h"

extern "C" {

// The two global flags: snooping on or off, and whether "port-down-action fast-remove" is configured.
struct GlobalInfo {
    uint32_t onOff;
    uint32_t portDownAction;
};
static_assert(sizeof(GlobalInfo) == 8);

// One address or prefix of a client as the command line shows it: the first 20 bytes of its record.
struct ClientAddressSummary {
    uint8_t address[16];
    uint32_t prefixLength;
};
static_assert(sizeof(ClientAddressSummary) == 20);
static_assert(offsetof(ClientAddressSummary, prefixLength) == 16);

// Most addresses that one step of the client walk hands out.
inline constexpr uint32_t kClientSummaryLimit = 10;

// Trusts (1) or distrusts (0) a port. -1 for a port outside 1..224, another value, or trusting a port under
// IPv6 source guard. The port's learned clients stay.
int32_t dhcp6snooping_port_mode(uint32_t port, uint32_t trust);
int32_t dhcp6snooping_port_mode_get(uint32_t port, uint32_t *trust);

// The most clients, 0..2048, that may be counted on a port; lowering it below the count removes nobody.
int32_t dhcp6snooping_port_maxclients(uint32_t port, uint32_t maximum);
int32_t dhcp6snooping_port_maxclients_get(uint32_t port, uint32_t *maximum, uint32_t *count);

// The same for a VLAN, 1..4094.
int32_t dhcp6snooping_vlan_maxclients(uint32_t vlanId, uint32_t maximum);
int32_t dhcp6snooping_vlan_maxclients_get(uint32_t vlanId, uint32_t *maximum, uint32_t *count);

// Every VLAN of the set gets its default limit back and its count zeroed; its clients stay, and the client
// table never lowers a count that is already 0 when they leave. Returns 0.
int32_t dhcp6snooping_vlan_reset(const VlanBitmap *vlans);

int32_t dhcp6snoopingGlobalInfoGet(GlobalInfo *info);
// Stores the port-down action as given. Returns 0.
int32_t dhcp6snoopingFastRemoveCfg(uint32_t value);

// One step of a walk over the acknowledged clients in MAC order: the first client after `mac` (all zero:
// the first client) is written back into `mac` with its VLAN, port and up to 10 addresses with their valid
// lifetimes left (when `summaries` and `lifetimes` are given). -1 when no client is left or the MAC, VLAN,
// port or count output is missing.
int32_t dhcp6snooping_get_nextclients_ext(uint8_t *mac, uint32_t *vlanId, uint32_t *port, uint32_t *count,
                                          ClientAddressSummary *summaries, uint32_t *lifetimes);
}
