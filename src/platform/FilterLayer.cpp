#include "platform/FilterLayer.h"

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "platform/FrmApi.h"

namespace {

constexpr char kInstallFailed[] =
    "dhcpv6 snooping install filter failed. Total filters installed:%d(inluding renew times).\r\n";
constexpr char kRemoveFailed[] =
    "dhcpv6 snooping remove filter failed. Total filters installed:%d(inluding renew times).\r\n";
constexpr int32_t kUnknownKind = -1;
constexpr uint8_t kNoMac[6] = {};

struct FilterRequest {
    const uint8_t *address;
    const uint8_t *mac;
    uint32_t port;
    uint32_t vlan;
};

using ServiceCall = int32_t (*)(const FilterRequest &);

// The install and remove calls of one kind, each given exactly the fields that the kind matches on.
struct KindCalls {
    ServiceCall install;
    ServiceCall remove;
};

constexpr KindCalls kKindCalls[] = {
    {// FILTER_GLOBAL_IP
     [](const FilterRequest &r) { return FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(r.address); },
     [](const FilterRequest &r) { return FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(r.address); }},
    {// FILTER_GLOBAL_IP_MAC
     [](const FilterRequest &r) { return FRM_InstallGlobalForwardIp6AddrFilterResource(r.mac, r.address); },
     [](const FilterRequest &r) { return FRM_RemoveGlobalForwardIp6AddrFilterResource(r.mac, r.address); }},
    {// FILTER_PORT_IP_MAC
     [](const FilterRequest &r) { return FRM_InstallForwardIp6AddrFilterResource(r.port, r.mac, r.address); },
     [](const FilterRequest &r) { return FRM_RemoveForwardIp6AddrFilterResource(r.port, r.mac, r.address); }},
    {// FILTER_PORT_IP_MAC_VLAN
     [](const FilterRequest &r) {
         return FRM_InstallForwardIp6AddrFilterResource_new(r.port, r.mac, r.address, r.vlan);
     },
     [](const FilterRequest &r) {
         return FRM_RemoveForwardIp6AddrFilterResource_new(r.port, r.mac, r.address, r.vlan);
     }},
};

enum class Direction { Install, Remove };

int32_t requestFilter(Direction direction, uint32_t kind, const Ipv6Address &address, const uint8_t *mac,
                      uint32_t port, uint32_t vlan) {
    // A missing MAC reaches the service as the all-zero MAC, which means "no MAC" to it.
    const FilterRequest request{address.octets, mac != nullptr ? mac : kNoMac, port, vlan};
    int32_t result = kUnknownKind;
    if (kind >= FILTER_GLOBAL_IP && kind <= FILTER_PORT_IP_MAC_VLAN) {
        const KindCalls &calls = kKindCalls[kind - FILTER_GLOBAL_IP];
        result = direction == Direction::Install ? calls.install(request) : calls.remove(request);
    }
    // Filters of every port count under port 0.
    const PortIndex countedPort = kind >= FILTER_PORT_IP_MAC ? port : 0;
    countEvent(countedPort, direction == Direction::Install ? mgmt::Counter::FilterInstalls
                                                            : mgmt::Counter::FilterRemovals);
    if (result != 0) {
        countEvent(countedPort, direction == Direction::Install ? mgmt::Counter::FilterInstallFailures
                                                                : mgmt::Counter::FilterRemovalFailures);
        dhcp6snooping_debug_printf(direction == Direction::Install ? kInstallFailed : kRemoveFailed,
                                   static_cast<int>(installedFilterCount));
        return result;
    }
    if (direction == Direction::Install) {
        ++installedFilterCount;
    } else {
        --installedFilterCount;
    }
    return 0;
}

}  // namespace

extern "C" {

uint32_t installedFilterCount = 0;

int32_t dhcp6snoopingFilterInstall(uint32_t kind, Ipv6Address address, const uint8_t *mac, uint32_t port,
                                   uint32_t vlan) {
    return requestFilter(Direction::Install, kind, address, mac, port, vlan);
}

int32_t dhcp6snoopingFilterRemove(uint32_t kind, Ipv6Address address, const uint8_t *mac, uint32_t port,
                                  uint32_t vlan) {
    return requestFilter(Direction::Remove, kind, address, mac, port, vlan);
}

int32_t dhcp6snoopingGlobalFilterInstall(void) {
    FRM_OperateDhcp6FilterResource(FILTER_OP_ENABLE);
    FRM_InstallGlobalForwardIcmp6NdFilterResource();
    return 0;
}

int32_t dhcp6snoopingGlobalFilterRemove(void) {
    FRM_OperateDhcp6FilterResource(FILTER_OP_DISABLE);
    FRM_RemoveGlobalForwardIcmp6NdFilterResource();
    return 0;
}

int32_t ip6_source_guard_intstall_deny_all_ip_traffic_frm(uint32_t port) {
    return FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, port);
}

int32_t ip6_source_guard_remove_deny_all_ip_traffic_frm(uint32_t port) {
    FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_DISABLE, port);
    return 0;
}
}
