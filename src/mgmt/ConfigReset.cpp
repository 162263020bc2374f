#include "mgmt/ConfigReset.h"

#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "platform/PlatformVariables.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"

namespace {

constexpr char kVlanNotReleased[] = "\r\n Failed to free ACL resouce for vlan %d .\n";
constexpr int32_t kRefused = -1;

bool isSetFormat(uint32_t format) {
    return format == FORMAT_IPV4_ADDRESS || format == FORMAT_IPV6_ADDRESS || format == FORMAT_STRING ||
           format == FORMAT_USER_DEFINED;
}

bool guarded(uint32_t mode) {
    return mode >= SOURCE_GUARD_IPV6 && mode <= SOURCE_GUARD_IPV6_MAC_VLAN;
}

// The relay options back to the default format, then off, Remote-ID first.
int32_t resetRelayOptions() {
    int32_t sum = 0;
    const auto set = [&sum](uint32_t selector, void (*fill)(InfoOptionConfig &)) {
        InfoOptionConfig record{};
        fill(record);
        sum += dhcp6snoopingGlobalDhcp6InfoCfg(selector, &record);
    };
    if (isSetFormat(infoOptionConfig.remoteIdFormat)) {
        set(SELECT_REMOTE_ID_FORMAT, [](InfoOptionConfig &r) { r.remoteIdFormat = FORMAT_DEFAULT; });
    }
    if (infoOptionConfig.remoteIdEnable != 0) {
        set(SELECT_REMOTE_ID_ENABLE, [](InfoOptionConfig &) {});
    }
    if (isSetFormat(infoOptionConfig.interfaceIdFormat)) {
        set(SELECT_INTERFACE_ID_FORMAT, [](InfoOptionConfig &r) { r.interfaceIdFormat = FORMAT_DEFAULT; });
    }
    if (infoOptionConfig.interfaceIdEnable != 0) {
        set(SELECT_INTERFACE_ID_ENABLE, [](InfoOptionConfig &) {});
    }
    return sum;
}

int32_t resetVlansAndPorts() {
    int32_t sum = 0;
    for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        if (vlanMaxNum[vlan] != kDefaultClientLimit && vlan_exist(vlan) != 0) {
            sum += dhcp6snooping_vlan_maxclients(vlan, kDefaultClientLimit);
        }
    }
    for (PortIndex port = 1; port <= gul_max_port_num && isTablePort(port); ++port) {
        const uint32_t slot = portSlot(port);
        if (smdVDPortExist(port) == 0 ||
            (portTrustMode[slot] != 1 && portMaxNum[slot] == kDefaultClientLimit &&
             portIpSourceGuardMode[slot] == SOURCE_GUARD_NONE)) {
            continue;
        }
        if (portTrustMode[slot] == 1) {
            sum += dhcp6snooping_port_mode(port, 0);
        }
        if (guarded(portIpSourceGuardMode[slot])) {
            sum += set_ip6_source_guard_port_mode(port, SOURCE_GUARD_NONE);
        }
        if (portMaxNum[slot] != kDefaultClientLimit) {
            sum += dhcp6snooping_port_maxclients(port, kDefaultClientLimit);
        }
    }
    return sum;
}

}  // namespace

extern "C" int32_t dhcp6snooping_reset_config(void) {
    VlanBitmap requested{};
    VlanBitmap failed{};
    if (staticBindList.next != &staticBindList) {
        // The bindings' filters go while the ports are still guarded.
        ip6v6_source_guard_bind_node_delete_all();
    }
    for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        vlanBitmapAdd(requested, vlan);
    }
    const int32_t vlansReleased = ip6_source_guard_vlanlist_config(kExemptVlansRemove, &requested, &failed);
    // A filter whose flag was cleared without the service being asked has no owner left but the reset.
    ip6_source_guard_vlan_filters_release();
    if (vlansReleased != 0) {
        for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
            if (vlanBitmapHas(failed, vlan)) {
                vosPrintf(kVlanNotReleased, static_cast<int>(vlan));
            }
        }
        return kRefused;
    }
    int32_t sum = resetRelayOptions();
    sum += resetVlansAndPorts();
    if (dhcp6snoopingPortDownAction == 0) {
        sum += dhcp6snoopingFastRemoveCfg(1);
    }
    if (dhcp6snoopingOnOff != 0) {
        sum += dhcp6snoopingStop();
    }
    return sum;
}
