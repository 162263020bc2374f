#include "snooping/BindingFilter.h"

#include <cstring>

#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "source_guard/SourceGuardMode.h"
#include "source_guard/StaticBindList.h"

namespace {

Ipv6Address addressOf(const ClientAddress &record) {
    Ipv6Address address;
    std::memcpy(address.octets, record.address, sizeof address.octets);
    return address;
}

}  // namespace

bool bindingHasFilter(const ClientEntry &entry, const ClientAddress &record, uint32_t guardPortIndex) {
    return record.prefixLength == kAddressPrefixLength && isTablePort(guardPortIndex) &&
           portIpSourceGuardMode[portSlot(guardPortIndex)] != SOURCE_GUARD_NONE &&
           staticBindCovers(entry.mac, record.address) == 0;
}

void bindingFilterInstall(const ClientEntry &entry, const ClientAddress &record) {
    dhcp6snoopingFilterInstall(FILTER_PORT_IP_MAC_VLAN, addressOf(record), entry.mac, entry.portIndex,
                               entry.vlanId);
}

void bindingFilterRemove(const ClientEntry &entry, const ClientAddress &record) {
    dhcp6snoopingFilterRemove(FILTER_PORT_IP_MAC_VLAN, addressOf(record), entry.mac, entry.portIndex,
                              entry.vlanId);
}
