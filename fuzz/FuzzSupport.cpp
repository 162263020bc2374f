#include "FuzzSupport.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <numeric>
#include <random>

#include "core/GlobalState.h"
#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "running_config/RunningConfig.h"
#include "snooping/BulkRemoval.h"
#include "snooping/ClientTable.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
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
    ip6_source_guard_vlan_filters_release();
    ip6v6_source_guard_bind_for_snmp_delete_all();
    dhcp6snoopingFastRemoveCfg(1);
    for (const bool interfaceId : {false, true}) {
        enableRelayOption(interfaceId, false);
        setRelayOptionFormat(interfaceId, FORMAT_DEFAULT);
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

std::optional<std::string> playRandomInputs(int count, size_t size,
                                            const std::function<std::optional<std::string>(Input &)> &play) {
    std::mt19937 random(20261123);
    std::vector<uint8_t> bytes(size);
    for (int number = 0; number < count; ++number) {
        std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<uint8_t>(random()); });
        Input input(bytes.data(), bytes.size());
        if (const auto failure = play(input)) {
            return "input " + std::to_string(number) + ": " + *failure;
        }
    }
    return std::nullopt;
}

ChildOutcome inChildProcess(const std::function<bool(std::string &text)> &work) {
    int ends[2];
    if (pipe(ends) != 0) {
        return {false, "no pipe to a child process"};
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        std::string text;
        const bool succeeded = work(text);
        const bool written = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(succeeded && written ? 0 : 1);
    }
    close(ends[1]);
    ChildOutcome outcome;
    char chunk[4096];
    for (ssize_t got = 0; (got = read(ends[0], chunk, sizeof chunk)) > 0;) {
        outcome.text.append(chunk, static_cast<size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return outcome;
}

VlanBitmap vlanBitmapOf(std::initializer_list<VlanId> vlans) {
    VlanBitmap bitmap{};
    for (const VlanId vlan : vlans) {
        vlanBitmapAdd(bitmap, vlan);
    }
    return bitmap;
}

int32_t setRelayOptionFormat(bool interfaceId, uint32_t format, std::string_view value) {
    InfoOptionConfig record{};
    const InfoOptionFields fields = interfaceId ? interfaceIdFields(record) : remoteIdFields(record);
    fields.format = format;
    std::copy_n(value.begin(), std::min<size_t>(value.size(), kOptionValueSize), fields.value);
    return dhcp6snoopingGlobalDhcp6InfoCfg(interfaceId ? SELECT_INTERFACE_ID_FORMAT : SELECT_REMOTE_ID_FORMAT,
                                           &record);
}

int32_t enableRelayOption(bool interfaceId, bool on) {
    InfoOptionConfig record{};
    record.interfaceIdEnable = record.remoteIdEnable = on ? 1 : 0;
    return dhcp6snoopingGlobalDhcp6InfoCfg(interfaceId ? SELECT_INTERFACE_ID_ENABLE : SELECT_REMOTE_ID_ENABLE,
                                           &record);
}

int32_t removeClients(uint32_t kind, uint32_t port, uint32_t vlan, const uint8_t *mac,
                      const uint8_t *address) {
    DeleteSelector selector{kind, vlan, port, {}, {}, {}};
    if (mac != nullptr) {
        std::copy_n(mac, sizeof selector.mac, selector.mac);
    }
    if (address != nullptr) {
        std::copy_n(address, sizeof selector.address, selector.address);
    }
    return dhcp6snoopingDeleteByData(selector);
}

std::string runningConfig() {
    static std::vector<char> buffer(size_t{1} << 20);  // kept: states are compared once a message
    buffer[0] = '\0';
    auto remaining = static_cast<uint32_t>(buffer.size());
    require(dhcp6snoopingBuildRunningConfig(buffer.data(), &remaining) == 0);
    return buffer.data();
}

DaemonState daemonState(const switchsim::Switch &sw) {
    std::vector<uint8_t> tables;
    tables.reserve(size_t{1} << 16);
    const auto add = [&tables](const auto &...table) {
        (tables.insert(tables.end(), reinterpret_cast<const uint8_t *>(&table),
                       reinterpret_cast<const uint8_t *>(&table) + sizeof table),
         ...);
    };
    add(dhcp6snoopingOnOff, dhcp6snoopingPortDownAction, portTrustMode, portIpSourceGuardMode, portMaxNum,
        portClientCount, vlanMaxNum, vlanClientCount, infoOptionConfig, staticBindCount, staticBindRowTable);
    return {
        runningConfig(), tables,
        std::vector<uint32_t>(std::begin(ipv6SourceGuardDisabledVlan), std::end(ipv6SourceGuardDisabledVlan)),
        sw.installedFilters()};
}

bool clientTableConsistent() {
    uint32_t perPort[kPortTableSize] = {};
    uint32_t perVlan[kVlanTableSize] = {};
    uint32_t clients = 0;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        ++clients;
        if (macIsZero(entry->mac) || (entry->addresses.count != 0 && entry->acked == 0)) {
            return false;
        }
        perPort[portSlot(entry->portIndex)] += entry->counted;
        perVlan[entry->vlanId] += entry->counted;
    }
    return clients + clientNodePool.freeList.count == kMaxClients &&
           std::equal(std::begin(portClientCount), std::end(portClientCount), std::begin(perPort)) &&
           std::equal(std::begin(vlanClientCount), std::end(vlanClientCount), std::begin(perVlan),
                      std::less_equal<>());
}

}  // namespace fuzz
