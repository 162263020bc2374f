#pragma once
// The daemon's layer over the filter resource service: counted install and removal of forward filters,
// the filters switched with snooping, and a port's deny-all-IPv6 filter.

#include <cstdint>

#include "core/SharedTypes.h"

// Which forward filter: what it matches and which service call installs and removes it.
enum FilterKind : uint32_t {
    FILTER_GLOBAL_IP = 1,         // IPv6 source, any port
    FILTER_GLOBAL_IP_MAC = 2,     // source MAC + IPv6 source, any port
    FILTER_PORT_IP_MAC = 3,       // port + source MAC + IPv6 source
    FILTER_PORT_IP_MAC_VLAN = 4,  // port + source MAC + IPv6 source + VLAN
};

extern "C" {

// Forward filters installed minus forward filters removed through this layer, successful calls only.
// A filter installed again (on every renewal) counts again.
extern uint32_t installedFilterCount;

// Ask the service to install or remove a forward filter of `kind`, handing it only the arguments that
// the kind matches on. `mac` may be null for FILTER_GLOBAL_IP. Returns the service's result (0 = done);
// a failure is traced with the count before the attempt and leaves the count alone. An unknown kind is
// refused with -1 like a failure, without asking the service.
int32_t dhcp6snoopingFilterInstall(uint32_t kind, Ipv6Address address, const uint8_t *mac, uint32_t port,
                                   uint32_t vlan);
int32_t dhcp6snoopingFilterRemove(uint32_t kind, Ipv6Address address, const uint8_t *mac, uint32_t port,
                                  uint32_t vlan);

// The DHCPv6 and neighbour-discovery filters that go with snooping being on. Results of the service are
// ignored; both return 0.
int32_t dhcp6snoopingGlobalFilterInstall(void);
int32_t dhcp6snoopingGlobalFilterRemove(void);

// Deny all IPv6 traffic on a port: returns the service's result. Lifting it always answers 0.
int32_t ip6_source_guard_intstall_deny_all_ip_traffic_frm(uint32_t port);
int32_t ip6_source_guard_remove_deny_all_ip_traffic_frm(uint32_t port);
}
