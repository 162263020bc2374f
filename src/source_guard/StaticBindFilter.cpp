#include "source_guard/StaticBindFilter.h"

#include <cstring>

#include "core/SharedTypes.h"
#include "platform/FilterLayer.h"

namespace {

Ipv6Address addressOf(const StaticBindEntry &binding) {
    Ipv6Address address;
    std::memcpy(address.octets, binding.ip, sizeof address.octets);
    return address;
}

}  // namespace

uint32_t staticBindFilterKind(const StaticBindEntry &binding) {
    if (binding.port != 0) {
        return binding.vlan != 0 ? FILTER_PORT_IP_MAC_VLAN : FILTER_PORT_IP_MAC;
    }
    return macIsZero(binding.mac) ? FILTER_GLOBAL_IP : FILTER_GLOBAL_IP_MAC;
}

void staticBindFilterInstall(StaticBindEntry &binding) {
    if (dhcp6snoopingFilterInstall(staticBindFilterKind(binding), addressOf(binding), binding.mac,
                                   binding.port, binding.vlan) == 0) {
        binding.filterInstalled = 1;
    }
}

void staticBindFilterRemove(StaticBindEntry &binding) {
    if (dhcp6snoopingFilterRemove(staticBindFilterKind(binding), addressOf(binding), binding.mac,
                                  binding.port, binding.vlan) == 0) {
        binding.filterInstalled = 0;
    }
}
