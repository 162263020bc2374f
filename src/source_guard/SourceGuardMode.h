#pragma once
// The IPv6 source-guard mode of a port.

#include <cstdint>

enum SourceGuardMode : uint32_t {
    SOURCE_GUARD_IPV6 = 1,
    SOURCE_GUARD_IPV6_MAC = 2,
    SOURCE_GUARD_IPV6_MAC_VLAN = 3,
    SOURCE_GUARD_NONE = 4,
};
