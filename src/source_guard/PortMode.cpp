#include "source_guard/PortMode.h"

#include <algorithm>

#include "core/DebugTrace.h"
#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "platform/PlatformVariables.h"
#include "snooping/BindingFilter.h"
#include "snooping/ClientTable.h"
#include "source_guard/StaticBindFilter.h"

namespace {

constexpr char kDenyAllFailed[] =
    " turn on ip6v6_source_guard failed because ip6_source_guard_intstall_deny_all_ip_traffic_frm "
    "failed.\r\n";
constexpr int32_t kRefused = -1;

bool guarded(uint32_t mode) {
    return mode >= SOURCE_GUARD_IPV6 && mode <= SOURCE_GUARD_IPV6_MAC_VLAN;
}

// True when some port of the switch but `except` (0: none excepted) is guarded.
bool anyGuardedBut(uint32_t except) {
    const uint32_t ports = std::min(gul_max_port_num, kPortTableSize);
    for (PortIndex port = 1; port <= ports; ++port) {
        if (port != except && guarded(portIpSourceGuardMode[portSlot(port)])) {
            return true;
        }
    }
    return false;
}

enum class Change { Install, Remove };

// The learned addresses of `port`, in MAC order, that have a filter while the port is guarded.
void clientFilters(uint32_t port, Change change) {
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        if (entry->portIndex != port) {
            continue;
        }
        for (uint32_t i = 0; i < entry->addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            if (bindingHasFilter(*entry, record, port)) {
                change == Change::Install ? bindingFilterInstall(*entry, record)
                                          : bindingFilterRemove(*entry, record);
            }
        }
    }
}

bool bindingServes(const StaticBindEntry &binding, uint32_t port, uint32_t everyPort) {
    return binding.port == 0 ? everyPort != 0 : binding.port == port;
}

}  // namespace

extern "C" {

int32_t set_ip6_source_guard_port_mode(uint32_t port, uint32_t mode) {
    if (!isTablePort(port) || portTrustMode[portSlot(port)] != 0 || mode == 0 || mode > SOURCE_GUARD_NONE) {
        return kRefused;
    }
    uint32_t &stored = portIpSourceGuardMode[portSlot(port)];
    if (mode == stored) {
        return 0;
    }
    const uint32_t firstGuarded = ip6_source_guard_other_port_enabled(port) == 0 ? 1 : 0;
    if (guarded(mode)) {
        stored = mode;
        const int32_t result = ip6_source_guard_intstall_deny_all_ip_traffic_frm(port);
        if (result != 0) {
            dhcp6snooping_debug_printf(kDenyAllFailed);
            return result;
        }
        ip6_source_guard_bind_filters_install(port, firstGuarded);
        ip6_source_guard_client_filters_install(port);
        return 0;
    }
    ip6_source_guard_client_filters_remove(port);
    ip6_source_guard_bind_filters_remove(port, firstGuarded);
    ip6_source_guard_remove_deny_all_ip_traffic_frm(port);
    stored = SOURCE_GUARD_NONE;
    return 0;
}

int32_t get_ip6_source_guard_port_mode(uint32_t port, uint32_t *mode) {
    if (!isTablePort(port) || mode == nullptr) {
        return kRefused;
    }
    *mode = portIpSourceGuardMode[portSlot(port)];
    return 0;
}

uint32_t ip6_source_guard_port_enabled(uint32_t port) {
    return isTablePort(port) && port <= gul_max_port_num && guarded(portIpSourceGuardMode[portSlot(port)])
               ? 1
               : 0;
}

uint32_t ip6_source_guard_other_port_enabled(uint32_t port) {
    return anyGuardedBut(port) ? 1 : 0;
}

uint32_t ip6_source_guard_any_port_enabled(void) {
    return anyGuardedBut(0) ? 1 : 0;
}

int32_t ip6_source_guard_client_filters_install(uint32_t port) {
    clientFilters(port, Change::Install);
    return 0;
}

int32_t ip6_source_guard_client_filters_remove(uint32_t port) {
    clientFilters(port, Change::Remove);
    return 0;
}

int32_t ip6_source_guard_bind_filters_install(uint32_t port, uint32_t everyPort) {
    for (StaticBindEntry *binding = staticBindList.prev; binding != &staticBindList;
         binding = binding->prev) {
        if (bindingServes(*binding, port, everyPort)) {
            staticBindFilterInstall(*binding);
        }
    }
    return 0;
}

int32_t ip6_source_guard_bind_filters_remove(uint32_t port, uint32_t everyPort) {
    for (StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        if (bindingServes(*binding, port, everyPort)) {
            staticBindFilterRemove(*binding);
        }
    }
    return 0;
}
}
