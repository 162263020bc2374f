// Source-guard operations at full size, on a 24-port switch whose VLAN 10 holds every port: a static binding
// added and deleted beside 512 others while 2048 acknowledged clients sit on guarded ports, and a guard-mode
// change on a port with 100 clients. The switch only counts the filter calls; each benchmark checks after
// its loop that the filters it claims were requested.

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "snooping/ClientTable.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/Switch.h"

namespace {

constexpr uint32_t kVlan = 10;
constexpr uint32_t kPorts = 24;

Ipv6Address addressOf(uint32_t n, uint8_t network) {
    Ipv6Address address{{0x20, 0x01, 0x0d, 0xb8, network}};
    address.octets[13] = static_cast<uint8_t>(n >> 16);
    address.octets[14] = static_cast<uint8_t>(n >> 8);
    address.octets[15] = static_cast<uint8_t>(n);
    return address;
}

// The daemon on a switch that only counts filter calls, every client port guarded.
struct GuardedSwitch {
    GuardedSwitch() {
        std::vector<uint32_t> ports;
        for (uint32_t port = 1; port <= kPorts; ++port) {
            ports.push_back(port);
        }
        sw.addVlan(kVlan, ports);
        sw.keepAddressFilters(false);
        dhcp6snoopingStartup("/sbin/dhcp6snooping");
        for (uint32_t port = 2; port <= kPorts; ++port) {
            set_ip6_source_guard_port_mode(port, SOURCE_GUARD_IPV6_MAC_VLAN);
        }
    }

    // The daemon's state outlives the switch: the next benchmark must not find these clients and bindings.
    ~GuardedSwitch() {
        clientDeleteAll();
        ip6v6_source_guard_bind_node_delete_all();
    }
    GuardedSwitch(const GuardedSwitch &) = delete;
    GuardedSwitch &operator=(const GuardedSwitch &) = delete;

    // `count` acknowledged clients on `port`, each with one address of network 1.
    static void learnClients(uint32_t first, uint32_t count, uint32_t port) {
        for (uint32_t n = first; n < first + count; ++n) {
            const uint8_t mac[6] = {0x02,
                                    0,
                                    0,
                                    static_cast<uint8_t>(n >> 16),
                                    static_cast<uint8_t>(n >> 8),
                                    static_cast<uint8_t>(n)};
            ClientEntry *entry = clientFindOrCreate(mac);
            entry->portIndex = port;
            entry->vlanId = kVlan;
            clientCount(entry);
            entry->acked = 1;
            ClientAddress record{};
            std::memcpy(record.address, addressOf(n, 1).octets, sizeof record.address);
            record.prefixLength = 128;
            record.validLifetime = 3600;
            addressListAppend(&entry->addresses, &record, sizeof record);
        }
    }

    void requireFilters(benchmark::State &state, uint64_t before, uint64_t each) const {
        if (sw.addressFilterCallCount() - before != each * static_cast<uint64_t>(state.iterations())) {
            state.SkipWithError("the daemon did not request every filter");
        }
        state.SetItemsProcessed(state.iterations());
    }

    switchsim::Switch sw;
};

// Adding a binding for a learned address and deleting it again: its own filter, the learned one withdrawn
// and given back, each over 512 other bindings and 2048 clients.
void BM_StaticBindingAddAndDeleteBeside512With2048Clients(benchmark::State &state) {
    GuardedSwitch sim;
    for (uint32_t port = 2; port <= 9; ++port) {
        GuardedSwitch::learnClients((port - 2) * 256, 256, port);
    }
    for (uint32_t n = 0; n < 512; ++n) {
        ip6v6_source_guard_bind_node_add(addressOf(n, 2), nullptr, 20, kVlan);
    }
    const Ipv6Address learned = addressOf(1000, 1);
    const uint64_t before = sim.sw.addressFilterCallCount();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(ip6v6_source_guard_bind_node_add(learned, nullptr, 5, kVlan));
        benchmark::DoNotOptimize(ip6v6_source_guard_bind_node_delete(learned));
    }
    sim.requireFilters(state, before, 4);
}
BENCHMARK(BM_StaticBindingAddAndDeleteBeside512With2048Clients)->Unit(benchmark::kMicrosecond);

// Switching a port with 100 clients off and on again: its learned filters removed and installed.
void BM_GuardModeOffAndOnForAPortWith100Clients(benchmark::State &state) {
    GuardedSwitch sim;
    GuardedSwitch::learnClients(0, 100, 3);
    const uint64_t before = sim.sw.addressFilterCallCount();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE));
        benchmark::DoNotOptimize(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6));
    }
    sim.requireFilters(state, before, 200);
}
BENCHMARK(BM_GuardModeOffAndOnForAPortWith100Clients)->Unit(benchmark::kMicrosecond);

}  // namespace
