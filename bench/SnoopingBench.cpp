// The packet path and the aging pass on a 24-port switch: VLAN 10 holds every port, the server sits behind
// trusted port 1, clients on guarded port 3. The switch counts the frames sent and the filter calls instead
// of keeping them, so that only the daemon's own work is measured; after its loop every benchmark checks
// that the frames went out and the filters were requested, and fails otherwise. Beside them run the floors:
// copying and checksumming the same frame, and one lookup in a table of 2048 clients.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "CopyAndChecksumFloor.h"
#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "snooping/Aging.h"
#include "snooping/ClientTable.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/PortMode.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

namespace {

using namespace switchsim::dhcp6;
using Mac = switchsim::MacAddress;

constexpr uint32_t kVlan = 10;
constexpr uint32_t kServerPort = 1;
constexpr uint32_t kClientPort = 3;
constexpr uint32_t kSourceMacOffset = 6;
const Mac kServer = switchsim::mac("00:00:5e:00:53:ff");
const Mac kClient = switchsim::mac("02:00:00:00:00:01");

// 2048 distinct client MACs in random order.
std::vector<Mac> randomClients() {
    std::mt19937 random(2048);
    std::vector<Mac> macs(kMaxClients);
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        macs[n] = {0x02, static_cast<uint8_t>(random()), static_cast<uint8_t>(random()),
                   0,    static_cast<uint8_t>(n >> 8),   static_cast<uint8_t>(n)};
    }
    std::shuffle(macs.begin(), macs.end(), random);
    return macs;
}

// A frame where the packet service puts it: 2 bytes past a 4-byte boundary.
class AlignedFrame {
  public:
    explicit AlignedFrame(const BuiltFrame &built)
        : storage_(std::make_unique<uint8_t[]>(built.bytes.size() + 2)),
          length_(static_cast<uint32_t>(built.bytes.size())),
          info_(built.info) {
        std::memcpy(frame(), built.bytes.data(), length_);
    }
    uint8_t *frame() { return storage_.get() + 2; }
    [[nodiscard]] uint32_t length() const { return length_; }
    void setMac(uint32_t offset, const Mac &mac) { std::memcpy(frame() + offset, mac.data(), mac.size()); }
    int32_t receive(uint32_t port) {
        PktRecvTag tag{};
        tag.vlanId = kVlan;
        tag.portIndex = port;
        return dhcp6snoopingRegPktProcess(frame(), length_, tag, info_);
    }

  private:
    std::unique_ptr<uint8_t[]> storage_;
    uint32_t length_;
    PktRecvInfo info_;
};

AlignedFrame solicitFrom(const Mac &client) {
    return AlignedFrame(buildDhcp6Frame(fromClient(SOLICIT, client, clientId(duidLl(client)))));
}

// The REPLY granting two addresses, to `client`.
BuiltFrame replyFrameTo(const Mac &client) {
    const auto granted = iaNa(1, 300, 480,
                              join({iaAddress(switchsim::ipv6("2001:db8::1"), 600, 900),
                                    iaAddress(switchsim::ipv6("2001:db8::2"), 600, 900)}));
    return buildDhcp6Frame(fromServer(REPLY, kServer, client, join({clientId(duidLl(client)), granted})));
}

AlignedFrame replyTo(const Mac &client) {
    return AlignedFrame(replyFrameTo(client));
}

// A switch with the daemon started, snooping on, port 1 trusted and port 3 guarded.
struct SnoopingSwitch {
    SnoopingSwitch() {
        std::vector<uint32_t> ports;
        for (uint32_t port = 1; port <= 24; ++port) {
            ports.push_back(port);
        }
        sw.addVlan(kVlan, ports);
        sw.learnMac(kServer, kVlan, kServerPort);
        sw.learnMac(kClient, kVlan, kClientPort);
        sw.keepSentFrames(false);
        sw.keepAddressFilters(false);
        dhcp6snoopingStartup("/sbin/dhcp6snooping");
        dhcp6snooping_port_mode(kServerPort, 1);
        set_ip6_source_guard_port_mode(kClientPort, SOURCE_GUARD_IPV6_MAC_VLAN);
        dhcp6snoopingStart();
    }

    // The daemon's state outlives the switch: the next benchmark must not find these clients.
    ~SnoopingSwitch() { dhcp6snoopingStop(); }
    SnoopingSwitch(const SnoopingSwitch &) = delete;
    SnoopingSwitch &operator=(const SnoopingSwitch &) = delete;

    // Each client sends a SOLICIT on port 3 and is recorded.
    void record(const std::vector<Mac> &clients) {
        AlignedFrame solicit = solicitFrom(kClient);
        for (const Mac &client : clients) {
            solicit.setMac(kSourceMacOffset, client);
            solicit.receive(kClientPort);
        }
    }

    // From here on the frames sent and the filters requested are the measured work.
    void startCounting() {
        sentBefore = sw.sentFrameCount();
        filtersBefore = sw.addressFilterCallCount();
    }

    // Work between the measured iterations: neither timed nor counted.
    template <typename Work>
    void untimed(benchmark::State &state, Work work) {
        state.PauseTiming();
        const uint64_t sent = sw.sentFrameCount();
        const uint64_t filters = sw.addressFilterCallCount();
        work();
        sentBefore += sw.sentFrameCount() - sent;
        filtersBefore += sw.addressFilterCallCount() - filters;
        state.ResumeTiming();
    }

    // Fails the benchmark unless every iteration sent one frame and requested `filtersEach` filters.
    void requireWork(benchmark::State &state, uint64_t filtersEach) const {
        const auto iterations = static_cast<uint64_t>(state.iterations());
        if (sw.sentFrameCount() - sentBefore != iterations ||
            sw.addressFilterCallCount() - filtersBefore != filtersEach * iterations) {
            state.SkipWithError("the daemon did not send every frame or request every filter");
        }
        state.SetItemsProcessed(state.iterations());
    }

    switchsim::Switch sw;
    uint64_t sentBefore = 0;
    uint64_t filtersBefore = 0;
};

// SOLICITs of the 2048 clients of a full table, in turn, each flooded to the VLAN's 23 other ports.
void BM_SolicitFromKnownClientOfAFullTable(benchmark::State &state) {
    SnoopingSwitch sim;
    const std::vector<Mac> clients = randomClients();
    sim.record(clients);
    AlignedFrame solicit = solicitFrom(kClient);
    size_t next = 0;
    sim.startCounting();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        solicit.setMac(kSourceMacOffset, clients[next]);
        next = (next + 1) % clients.size();
        benchmark::DoNotOptimize(solicit.receive(kClientPort));
    }
    sim.requireWork(state, 0);
}
BENCHMARK(BM_SolicitFromKnownClientOfAFullTable);

// Every SOLICIT comes from a MAC not seen before; the table is emptied, untimed, whenever it is full.
void BM_SolicitFromNewClient(benchmark::State &state) {
    SnoopingSwitch sim;
    const std::vector<Mac> clients = randomClients();
    AlignedFrame solicit = solicitFrom(kClient);
    size_t next = 0;
    sim.startCounting();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        if (next == clients.size()) {
            sim.untimed(state, [] { clientDeleteAll(); });
            next = 0;
        }
        solicit.setMac(kSourceMacOffset, clients[next++]);
        benchmark::DoNotOptimize(solicit.receive(kClientPort));
    }
    sim.requireWork(state, 0);
}
BENCHMARK(BM_SolicitFromNewClient);

// The first REPLY of each of 2048 waiting clients: two new bindings and two new filters. The clients are
// recorded again, untimed, once all have their addresses.
void BM_FirstReplyWithTwoAddressesOnGuardedPort(benchmark::State &state) {
    SnoopingSwitch sim;
    const std::vector<Mac> clients = randomClients();
    AlignedFrame reply = replyTo(kClient);
    size_t next = clients.size();
    sim.startCounting();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        if (next == clients.size()) {
            sim.untimed(state, [&] {
                clientDeleteAll();
                sim.record(clients);
            });
            next = 0;
        }
        reply.setMac(0, clients[next++]);
        benchmark::DoNotOptimize(reply.receive(kServerPort));
    }
    sim.requireWork(state, 2);
}
BENCHMARK(BM_FirstReplyWithTwoAddressesOnGuardedPort);

// A renewal REPLY with the same two addresses for a client of a full table: merged, both filters again.
void BM_RenewalReplyWithTwoAddressesOnGuardedPort(benchmark::State &state) {
    SnoopingSwitch sim;
    std::vector<Mac> clients = randomClients();
    clients.back() = kClient;
    sim.record(clients);
    AlignedFrame reply = replyTo(kClient);
    reply.receive(kServerPort);
    sim.startCounting();
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(reply.receive(kServerPort));
    }
    sim.requireWork(state, 2);
}
BENCHMARK(BM_RenewalReplyWithTwoAddressesOnGuardedPort);

// One aging pass over a full table of acknowledged clients with 10 bindings each, none expiring.
void BM_AgingPassOver2048ClientsWith10Bindings(benchmark::State &state) {
    SnoopingSwitch sim;
    const std::vector<Mac> clients = randomClients();
    sim.record(clients);
    for (const Mac &mac : clients) {
        ClientEntry *entry = clientFind(mac.data());
        entry->acked = 1;
        for (uint8_t b = 0; b < 10; ++b) {
            ClientAddress record{};
            record.address[15] = b;
            record.prefixLength = 128;
            record.validLifetime = 0xFFFFFFFF;
            addressListAppend(&entry->addresses, &record, sizeof record);
        }
    }
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(dhcp6snoopingTimerAge());
    }
    uint32_t left = 0;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        left += entry->addresses.count;
    }
    if (left != kMaxClients * 10) {
        state.SkipWithError("the aging pass lost bindings that had not run out");
    }
}
BENCHMARK(BM_AgingPassOver2048ClientsWith10Bindings)->Unit(benchmark::kMicrosecond);

void BM_FloorCopyAndChecksumOfTheReply(benchmark::State &state) {
    const switchsim::Switch sw;
    measureCopyAndChecksum(state, replyFrameTo(kClient));
}
BENCHMARK(BM_FloorCopyAndChecksumOfTheReply);

void BM_FloorOneLookupInAFullTable(benchmark::State &state) {
    SnoopingSwitch sim;
    const std::vector<Mac> clients = randomClients();
    sim.record(clients);
    size_t next = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(clientFind(clients[next].data()));
        next = (next + 1) % clients.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FloorOneLookupInAFullTable);

}  // namespace
