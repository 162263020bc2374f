// The packet path and the aging pass on a 24-port switch: VLAN 10 holds every port, the server sits behind
// trusted port 1, clients on port 3. The switch counts the frames sent and the filter calls instead of
// keeping them, so that only the daemon's own work is measured.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "core/GlobalState.h"
#include "core/Startup.h"
#include "snooping/Aging.h"
#include "snooping/ClientTable.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/SourceGuardMode.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

namespace {

using namespace switchsim::dhcp6;

constexpr uint32_t kVlan = 10;
constexpr uint32_t kClientPort = 3;
const auto kServer = switchsim::mac("00:00:5e:00:53:ff");
const auto kClient = switchsim::mac("02:00:00:00:00:01");

// A switch with the daemon started and snooping on.
struct SnoopingSwitch {
    SnoopingSwitch() {
        std::vector<uint32_t> ports;
        for (uint32_t port = 1; port <= 24; ++port) {
            ports.push_back(port);
        }
        sw.addVlan(kVlan, ports);
        sw.learnMac(kServer, kVlan, 1);
        sw.learnMac(kClient, kVlan, kClientPort);
        sw.keepSentFrames(false);
        sw.keepAddressFilters(false);
        dhcp6snoopingStartup("/sbin/dhcp6snooping");
        portTrustMode[0] = 1;
        dhcp6snoopingStart();
    }
    switchsim::Switch sw;
};

// A frame where the packet service puts it: 2 bytes past a 4-byte boundary.
class AlignedFrame {
  public:
    explicit AlignedFrame(const BuiltFrame &built)
        : storage_(std::make_unique<uint8_t[]>(built.bytes.size() + 2)),
          length_(built.bytes.size()),
          info_(built.info) {
        std::memcpy(frame(), built.bytes.data(), length_);
    }
    uint8_t *frame() { return storage_.get() + 2; }
    int32_t receive(uint32_t port) {
        PktRecvTag tag{};
        tag.vlanId = kVlan;
        tag.portIndex = port;
        return dhcp6snoopingRegPktProcess(frame(), static_cast<uint32_t>(length_), tag, info_);
    }

  private:
    std::unique_ptr<uint8_t[]> storage_;
    size_t length_;
    PktRecvInfo info_;
};

void BM_SolicitFromKnownClient(benchmark::State &state) {
    SnoopingSwitch sim;
    AlignedFrame solicit(buildDhcp6Frame(fromClient(SOLICIT, kClient, clientId(duidLl(kClient)))));
    solicit.receive(kClientPort);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(solicit.receive(kClientPort));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SolicitFromKnownClient);

// Every SOLICIT comes from a MAC not seen before; the table is emptied, untimed, whenever it is full.
void BM_SolicitFromNewClient(benchmark::State &state) {
    SnoopingSwitch sim;
    AlignedFrame solicit(buildDhcp6Frame(fromClient(SOLICIT, kClient, clientId(duidLl(kClient)))));
    uint32_t recorded = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        if (recorded == kMaxClients) {
            state.PauseTiming();
            clientDeleteAll();
            recorded = 0;
            state.ResumeTiming();
        }
        ++recorded;
        solicit.frame()[10] = static_cast<uint8_t>(recorded >> 8);
        solicit.frame()[11] = static_cast<uint8_t>(recorded);
        benchmark::DoNotOptimize(solicit.receive(kClientPort));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SolicitFromNewClient);

// A renewal REPLY with two addresses for a client on a guarded port: merged, both filters installed again.
void BM_ReplyWithTwoAddressesOnGuardedPort(benchmark::State &state) {
    SnoopingSwitch sim;
    portIpSourceGuardMode[kClientPort - 1] = SOURCE_GUARD_IPV6_MAC_VLAN;
    AlignedFrame request(buildDhcp6Frame(fromClient(REQUEST, kClient, {})));
    request.receive(kClientPort);
    const auto granted = iaNa(1, 300, 480,
                              join({iaAddress(switchsim::ipv6("2001:db8::1"), 600, 900),
                                    iaAddress(switchsim::ipv6("2001:db8::2"), 600, 900)}));
    AlignedFrame reply(
        buildDhcp6Frame(fromServer(REPLY, kServer, kClient, join({clientId(duidLl(kClient)), granted}))));
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        benchmark::DoNotOptimize(reply.receive(1));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReplyWithTwoAddressesOnGuardedPort);

// One aging pass over a full table of acknowledged clients with 10 bindings each, none expiring.
void BM_AgingPassOver2048ClientsWith10Bindings(benchmark::State &state) {
    SnoopingSwitch sim;
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        const uint8_t mac[6] = {0x02, 0, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
        ClientEntry *entry = clientFindOrCreate(mac);
        entry->portIndex = kClientPort;
        entry->vlanId = kVlan;
        entry->acked = 1;
        entry->lastUpdate = sim.sw.upSeconds();
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
}
BENCHMARK(BM_AgingPassOver2048ClientsWith10Bindings)->Unit(benchmark::kMicrosecond);

}  // namespace
