#include "source_guard/StaticBindRows.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int32_t kRefused = -1;

}  // namespace

extern "C" {

StaticBindRow staticBindRowTable[kStaticBindRows];

int32_t ip6v6_source_guard_bind_for_snmp_add(uint32_t firstSlot, Ipv6Address ip, const uint8_t *mac,
                                             uint32_t port, uint32_t vlan) {
    for (uint32_t slot = firstSlot; slot < kStaticBindRows; ++slot) {
        StaticBindRow &row = staticBindRowTable[slot];
        if (row.inUse != 0) {
            continue;
        }
        std::memcpy(row.ip, ip.octets, sizeof row.ip);
        if (mac != nullptr) {
            std::memcpy(row.mac, mac, sizeof row.mac);
        } else {
            std::ranges::fill(row.mac, 0);
        }
        row.port = port;
        row.vlan = vlan;
        row.inUse = 1;
        return 0;
    }
    return kRefused;
}

int32_t ip6v6_source_guard_bind_for_snmp_delete(Ipv6Address ip) {
    for (StaticBindRow &row : staticBindRowTable) {
        if (std::memcmp(row.ip, ip.octets, sizeof row.ip) == 0) {
            row = {};
            return 0;
        }
    }
    return kRefused;
}

int32_t ip6v6_source_guard_bind_for_snmp_delete_all(void) {
    std::ranges::fill(staticBindRowTable, StaticBindRow{});
    return 0;
}
}
