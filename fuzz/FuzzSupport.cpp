#include "FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
#include "source_guard/StaticBindings.h"

namespace fuzz {

uint8_t Input::byte() {
    if (size_ == 0) {
        return 0;
    }
    --size_;
    return *data_++;
}

uint16_t Input::be16() {
    const uint8_t high = byte();
    return static_cast<uint16_t>(high << 8 | byte());
}

std::pair<const uint8_t *, size_t> Input::take(size_t wanted) {
    const size_t length = std::min(wanted, size_);
    const uint8_t *start = data_;
    data_ += length;
    size_ -= length;
    return {start, length};
}

uint32_t portOf(uint8_t selector) {
    return 1 + selector % kPorts;
}

uint32_t vlanOf(uint8_t selector) {
    return 1 + selector % kVlans;
}

switchsim::Switch &fuzzSwitch() {
    static switchsim::Switch sw;
    static const bool started = [] {
        std::vector<uint32_t> all;
        for (uint32_t port = 1; port <= kPorts; ++port) {
            all.push_back(port);
        }
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

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void resetAll(bool filtersMustBeGone) {
    switchsim::Switch &sw = fuzzSwitch();
    sw.clearFaults();
    sw.setModuleLogLevel(kDhcp6SnoopingModuleId, 0);
    dhcp6snoopingStop();
    for (uint32_t port = 1; port <= kPorts; ++port) {
        set_ip6_source_guard_port_mode(port, SOURCE_GUARD_NONE);
        dhcp6snooping_port_mode(port, 0);
        dhcp6snooping_port_maxclients(port, kMaxClients);
    }
    VlanBitmap vlans{};
    for (uint32_t vlan = 1; vlan <= kVlans; ++vlan) {
        vlanBitmapAdd(vlans, vlan);
        dhcp6snooping_vlan_maxclients(vlan, kMaxClients);
    }
    dhcp6snooping_vlan_reset(&vlans);
    ip6v6_source_guard_bind_node_delete_all();
    VlanBitmap everyVlan{};
    for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        vlanBitmapAdd(everyVlan, vlan);
    }
    VlanBitmap failed{};
    ip6_source_guard_vlanlist_config(kExemptVlansRemove, &everyVlan, &failed);
    InfoOptionConfig defaults{};
    defaults.interfaceIdFormat = defaults.remoteIdFormat = FORMAT_DEFAULT;
    for (const uint32_t selector : {SELECT_REMOTE_ID_ENABLE, SELECT_INTERFACE_ID_ENABLE,
                                    SELECT_REMOTE_ID_FORMAT, SELECT_INTERFACE_ID_FORMAT}) {
        dhcp6snoopingGlobalDhcp6InfoCfg(selector, &defaults);
    }
    infoOptionConfig.strategy = STRATEGY_REPLACE;
    if (filtersMustBeGone) {
        for (const std::string &filter : sw.installedFilters()) {
            std::fprintf(stderr, "left behind: %s\n", filter.c_str());
        }
        require(sw.installedFilters().empty());
    }
    sw.clearInstalledFilters();
    sw.clearMacTable();
    sw.clearRecords();
}

}  // namespace fuzz
