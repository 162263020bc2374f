#include "FuzzSupport.h"

#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindRows.h"
#include "source_guard/StaticBindings.h"

namespace fuzz {

switchsim::Switch &fuzzSwitch() {
    static switchsim::Switch sw;
    static const bool started = [] {
        std::vector<uint32_t> all(kPorts);
        std::iota(all.begin(), all.end(), 1U);
        for (uint32_t vlan = 1; vlan <= kVlans; ++vlan) {
            sw.addVlan(vlan, all);
        }
        sw.addAggregation(kAggregation, {kPorts - 1, kPorts});
        return dhcp6snoopingStartup("/sbin/dhcp6snooping") == 0;
    }();
    require(started);
    return sw;
}

void serve() {
    fuzzSwitch().runUntilIdle(dhcp6snoopingServeNextMessage);
}

void resetAll(bool filtersMustBeGone) {
    switchsim::Switch &sw = fuzzSwitch();
    sw.clearFaults();
    sw.setModuleLogLevel(kDhcp6SnoopingModuleId, 0);
    dhcp6snoopingStop();
    // Remote calls reach every port of the tables, not only those of the switch.
    for (uint32_t port = 1; port <= kPortTableSize; ++port) {
        set_ip6_source_guard_port_mode(port, SOURCE_GUARD_NONE);
        dhcp6snooping_port_mode(port, 0);
        dhcp6snooping_port_maxclients(port, kMaxClients);
    }
    // Every bit set (those of VLANs outside 1..4094 are ignored): every VLAN gets its default limit back.
    VlanBitmap everyVlan{};
    std::memset(everyVlan.bits, 0xFF, sizeof everyVlan.bits);
    VlanBitmap failed{};
    dhcp6snooping_vlan_reset(&everyVlan);
    ip6v6_source_guard_bind_node_delete_all();
    ip6_source_guard_vlanlist_config(kExemptVlansRemove, &everyVlan, &failed);
    // A flag stored without its filter cannot be released through the filter service.
    for (uint32_t vlan = 0; vlan < kVlanTableSize; ++vlan) {
        operate_no_ip6_source_guard_vlan(vlan, 0);
    }
    ip6v6_source_guard_bind_for_snmp_delete_all();
    dhcp6snoopingFastRemoveCfg(1);
    InfoOptionConfig defaults{};
    defaults.interfaceIdFormat = defaults.remoteIdFormat = FORMAT_DEFAULT;
    for (const uint32_t selector : {SELECT_REMOTE_ID_ENABLE, SELECT_INTERFACE_ID_ENABLE,
                                    SELECT_REMOTE_ID_FORMAT, SELECT_INTERFACE_ID_FORMAT}) {
        dhcp6snoopingGlobalDhcp6InfoCfg(selector, &defaults);
    }
    infoOptionConfig.strategy = STRATEGY_REPLACE;
    if (filtersMustBeGone) {
        for (const switchsim::Filter &filter : sw.installedFilters()) {
            std::fprintf(stderr, "left behind: %s\n", filter.text().c_str());
        }
        require(sw.installedFilters().empty());
    }
    sw.clearInstalledFilters();
    sw.clearMacTable();
    sw.clearRecords();
}

}  // namespace fuzz
