#pragma once
// VLANs exempted from IPv6 source guard: each one has a VLAN-only forward filter that lets all its IPv6
// traffic pass, deny-all filters notwithstanding. The set does not depend on the port modes.

#include <cstdint>

#include "core/SharedTypes.h"

// The operation of ip6_source_guard_vlanlist_config that takes VLANs out of the set; any other adds them.
inline constexpr uint32_t kExemptVlansRemove = 1;

extern "C" {

// Per VLAN id: 1 exempt, 0 not. Only VLANs 1 to 4094 are ever looked at by the list operations.
extern uint32_t ipv6SourceGuardDisabledVlan[kVlanTableSize];

// Adds the VLANs of `requested` to the set, or with operation 1 takes them out, each only once the filter
// service has accepted its filter. A VLAN already in the requested state is left alone; one whose filter
// is refused keeps its state and is added to `failed`, which is never cleared. 0 when every VLAN ended as
// requested, else -1.
int32_t ip6_source_guard_vlanlist_config(uint32_t operation, const VlanBitmap *requested, VlanBitmap *failed);
// Makes the set exactly the `count` VLANs of `ids`: a VLAN that leaves or joins it has its flag changed first
// and its filter removed or installed after, and keeps the new flag whatever the filter service answers. The
// result is that of the last filter call, or 0 when no VLAN changed.
int32_t ip6_source_guard_vlanlist_replace(const uint16_t *ids, uint32_t count);
// The exempt VLANs as a set. Returns 0.
int32_t no_ip6_source_guard_vlanlist_get(VlanBitmap *vlans);
// The VLAN's flag as the result; -1 for a VLAN id above 4095.
int32_t no_ip6_source_guard_vlan_get(uint32_t vlanId);
// Stores the flag as given, asking the filter service for nothing. 0, or -1 for a VLAN id above 4095.
int32_t operate_no_ip6_source_guard_vlan(uint32_t vlanId, uint32_t flag);

// 1 while the filter service holds the VLAN's filter for the daemon (it last answered 0 to installing it and
// has not since answered 0 to removing it), else 0. A flag can be stored without asking the service, so the
// flags alone do not say which filters the daemon owns.
uint32_t ip6_source_guard_vlan_filter_held(uint32_t vlanId);
// Asks the service to remove every filter it holds for a VLAN whose flag is 0, so that none is left without
// an owner. Returns the number the service removed.
int32_t ip6_source_guard_vlan_filters_release(void);
}
