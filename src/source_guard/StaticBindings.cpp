#include "source_guard/StaticBindings.h"

#include <cstring>

#include "core/DebugTrace.h"
#include "platform/VosApi.h"
#include "snooping/BindingFilter.h"
#include "snooping/ClientTable.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindFilter.h"
#include "source_guard/StaticBindList.h"

namespace {

constexpr char kNoMemory[] = "\r\nip6v6_source_guard_bind_node_add failed:malloc failed:no enough memory!";
constexpr int32_t kRefused = -1;
constexpr int32_t kIdentical = 2;
constexpr uint8_t kNoMac[kMacSize] = {};

enum class Match { None, Identical, Conflict };

const uint8_t *macOrNone(const uint8_t *mac) {
    return mac != nullptr ? mac : kNoMac;
}

// How an existing binding meets a new one: the same address, MAC and port are the same binding; the same
// address, or the same non-zero MAC, may not be bound twice.
Match compare(const StaticBindEntry &binding, const Ipv6Address &ip, const uint8_t *mac, uint32_t port) {
    const bool sameIp = std::memcmp(binding.ip, ip.octets, sizeof binding.ip) == 0;
    const bool sameMac = std::memcmp(binding.mac, mac, kMacSize) == 0;
    if (sameIp && sameMac && binding.port == port) {
        return Match::Identical;
    }
    if (sameIp || (!macIsZero(binding.mac) && sameMac)) {
        return Match::Conflict;
    }
    return Match::None;
}

// The first binding, newest first, that the new one matches.
Match firstMatch(const Ipv6Address &ip, const uint8_t *mac, uint32_t port) {
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        if (const Match match = compare(*binding, ip, mac, port); match != Match::None) {
            return match;
        }
    }
    return Match::None;
}

StaticBindEntry *findByIp(const uint8_t *ip) {
    for (StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        if (std::memcmp(binding->ip, ip, sizeof binding->ip) == 0) {
            return binding;
        }
    }
    return nullptr;
}

// A binding has its filter while its port is guarded, or, for every port, while any port is.
bool hasFilter(const StaticBindEntry &binding) {
    return binding.port != 0 ? ip6_source_guard_port_enabled(binding.port) != 0
                             : ip6_source_guard_any_port_enabled() != 0;
}

// A learned address that the binding covers: the address itself, or any address of the binding's MAC.
// Only addresses ever have filters, never delegated prefixes.
bool covers(const uint8_t *bindingIp, const uint8_t *bindingMac, const ClientEntry &entry,
            const ClientAddress &record) {
    if (record.prefixLength != kAddressPrefixLength) {
        return false;
    }
    return std::memcmp(record.address, bindingIp, sizeof record.address) == 0 ||
           (!macIsZero(bindingMac) && std::memcmp(entry.mac, bindingMac, kMacSize) == 0);
}

// The learned filters a new binding takes over leave the switch.
void withdrawCovered(const uint8_t *ip, const uint8_t *mac) {
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        if (ip6_source_guard_port_enabled(entry->portIndex) == 0) {
            continue;
        }
        for (uint32_t i = 0; i < entry->addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            if (covers(ip, mac, *entry, record)) {
                bindingFilterRemove(*entry, record);
            }
        }
    }
}

// The learned filters a leaving binding covered come back, for acknowledged clients that no other binding
// still covers.
void giveBackCovered(const StaticBindEntry &binding) {
    for (const ClientEntry &entry : clientNodePool.nodes) {
        if (macIsZero(entry.mac) || entry.acked != 1 || ip6_source_guard_port_enabled(entry.portIndex) == 0) {
            continue;
        }
        for (uint32_t i = 0; i < entry.addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry.addresses, i);
            if (covers(binding.ip, binding.mac, entry, record) &&
                staticBindCoversOther(entry.mac, record.address, &binding) == 0) {
                bindingFilterInstall(entry, record);
            }
        }
    }
}

// A leaving binding takes its filter along, also one that a guarded port beyond the switch's own installed,
// which the port predicates do not see.
void remove(StaticBindEntry *binding) {
    if (hasFilter(*binding) || binding->filterInstalled != 0) {
        staticBindFilterRemove(*binding);
    }
    giveBackCovered(*binding);
    staticBindUnlink(binding);
    vosFree(binding);
}

StaticBindRecord recordOf(const StaticBindEntry &binding, const StaticBindRecord &previous) {
    StaticBindRecord record = previous;
    std::memcpy(record.ip, binding.ip, sizeof record.ip);
    std::memcpy(record.mac, binding.mac, sizeof record.mac);
    record.port = binding.port;
    record.vlan = binding.vlan;
    return record;
}

}  // namespace

extern "C" {

int32_t ip6v6_source_guard_bind_node_add(Ipv6Address ip, const uint8_t *mac, uint32_t port, uint32_t vlan) {
    mac = macOrNone(mac);
    switch (firstMatch(ip, mac, port)) {
        case Match::Identical:
            return kIdentical;
        case Match::Conflict:
            return kRefused;
        case Match::None:
            break;
    }
    withdrawCovered(ip.octets, mac);
    auto *binding = static_cast<StaticBindEntry *>(vosCalloc(1, sizeof(StaticBindEntry)));
    if (binding == nullptr) {
        dhcp6snooping_debug_printf(kNoMemory);
        return kRefused;
    }
    std::memcpy(binding->ip, ip.octets, sizeof binding->ip);
    std::memcpy(binding->mac, mac, sizeof binding->mac);
    binding->port = port;
    binding->vlan = vlan;
    staticBindInsertNewest(binding);
    if (hasFilter(*binding)) {
        staticBindFilterInstall(*binding);
    }
    return 0;
}

int32_t ip6v6_source_guard_bind_node_delete(Ipv6Address ip) {
    StaticBindEntry *binding = findByIp(ip.octets);
    if (binding == nullptr) {
        return kRefused;
    }
    remove(binding);
    return 0;
}

int32_t ip6v6_source_guard_bind_node_delete_all(void) {
    int32_t removed = 0;
    while (staticBindList.next != &staticBindList) {
        remove(staticBindList.next);
        ++removed;
    }
    return removed;
}

int32_t ip6v6_source_guard_bind_node_check(Ipv6Address ip, const uint8_t *mac, uint32_t port) {
    return firstMatch(ip, macOrNone(mac), port) == Match::Identical ? 0 : kRefused;
}

int32_t ip6v6_source_guard_bind_node_get(uint16_t first, uint16_t *next, uint16_t *count,
                                         StaticBindRecord *records) {
    if (next == nullptr || count == nullptr || records == nullptr) {
        return kRefused;
    }
    *next = 0;
    *count = 0;
    uint32_t position = 1;
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next, ++position) {
        if (position < first) {
            continue;
        }
        if (*count == kStaticBindPage) {
            *next = static_cast<uint16_t>(position);
            break;
        }
        records[*count] = recordOf(*binding, records[*count]);
        ++*count;
    }
    return 0;
}

int32_t ip6v6_source_guard_bind_node_get_by_ip(Ipv6Address ip, StaticBindRecord *record) {
    const StaticBindEntry *binding = findByIp(ip.octets);
    if (binding == nullptr || record == nullptr) {
        return kRefused;
    }
    *record = recordOf(*binding, *record);
    return 0;
}

int32_t ip6v6_source_guard_bind_entry_num_get(void) {
    return static_cast<int32_t>(staticBindCount);
}
}
