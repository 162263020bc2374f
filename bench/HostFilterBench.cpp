// The host platform's filter service against a real nftables table, in a network namespace of its own:
// a guarded port with 2048 clients, each with an address filter in the port's VLAN, switched out of source
// guard and back, as the daemon asks for it (a removal per client and the port's deny-all filter, then the
// same installed again). Once with the changes of each switch committed as one transaction, as the host
// platform does at the end of an event-loop turn, and once with a transaction per filter, as it did before.
// The floor is one element added to the full set and taken out again, a transaction each. Each benchmark
// checks after its loop that every request was answered 0, every commit taken whole, and that the set holds
// the 2048 elements again. Root only: without it the program says so and measures nothing.

#include <benchmark/benchmark.h>
#include <nftables/libnftables.h>
#include <sched.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "NftFilterService.h"
#include "platform/FrmApi.h"

namespace {

constexpr uint32_t kClients = 2048;
constexpr uint32_t kPort = 1;
constexpr uint32_t kVlan = 10;

struct Client {
    std::array<uint8_t, 6> mac;
    std::array<uint8_t, 16> address;
};

Client clientOf(uint32_t n) {
    Client client{{0x02, 0, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)},
                  {0x20, 0x01, 0x0d, 0xb8}};
    client.address[14] = static_cast<uint8_t>(n >> 8);
    client.address[15] = static_cast<uint8_t>(n);
    return client;
}

// What went wrong in a benchmark: requests not answered 0 and commits not taken whole.
struct Failures {
    uint64_t requests = 0;
    uint64_t commits = 0;

    void request(int32_t answer) { requests += answer != 0 ? 1 : 0; }
    void commit() { commits += hostplatform::nftCommit() != 0 ? 1 : 0; }
};

// The port's filters in or out, as the daemon asks for them; committed after each filter when `eachFilter`.
void switchPort(bool on, bool eachFilter, Failures &failures) {
    const uint32_t operation = on ? FILTER_OP_ENABLE : FILTER_OP_DISABLE;
    failures.request(FRM_OperatePortDenyAllIp6FilterResource(operation, kPort));
    for (uint32_t n = 1; n <= kClients; ++n) {
        const Client client = clientOf(n);
        failures.request(on ? FRM_InstallForwardIp6AddrFilterResource_new(kPort, client.mac.data(),
                                                                          client.address.data(), kVlan)
                            : FRM_RemoveForwardIp6AddrFilterResource_new(kPort, client.mac.data(),
                                                                         client.address.data(), kVlan));
        if (eachFilter) {
            failures.commit();
        }
    }
    failures.commit();
}

struct ContextDeleter {
    void operator()(nft_ctx *context) const { nft_ctx_free(context); }
};

// How many elements the kernel's set of port, MAC, address and VLAN holds.
size_t elementsInTheKernel() {
    const std::unique_ptr<nft_ctx, ContextDeleter> context(nft_ctx_new(NFT_CTX_DEFAULT));
    nft_ctx_buffer_output(context.get());
    nft_ctx_buffer_error(context.get());
    if (nft_run_cmd_from_buffer(context.get(), "list set bridge dhcp6snooping permit_port_mac_ip_vlan") !=
        0) {
        return 0;
    }
    const std::string listing = nft_ctx_get_output_buffer(context.get());
    size_t count = 0;
    for (size_t at = listing.find(" . 10"); at != std::string::npos; at = listing.find(" . 10", at + 1)) {
        ++count;
    }
    return count;
}

void check(benchmark::State &state, const Failures &failures) {
    if (failures.requests != 0 || failures.commits != 0 || elementsInTheKernel() != kClients) {
        state.SkipWithError("a request or commit failed, or the set does not hold every client");
    }
}

void guardedPortOffAndOn(benchmark::State &state, bool eachFilter) {
    Failures failures;
    switchPort(true, false, failures);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        switchPort(false, eachFilter, failures);
        switchPort(true, eachFilter, failures);
    }
    state.counters["filters_requested"] = benchmark::Counter(
        2.0 * (kClients + 1) * static_cast<double>(state.iterations()), benchmark::Counter::kAvgIterations);
    check(state, failures);
    switchPort(false, false, failures);
}

void BM_GuardedPortOffAndOn_OneTransactionPerTurn(benchmark::State &state) {
    guardedPortOffAndOn(state, false);
}
BENCHMARK(BM_GuardedPortOffAndOn_OneTransactionPerTurn)->Unit(benchmark::kMillisecond);

void BM_GuardedPortOffAndOn_OneTransactionPerFilter(benchmark::State &state) {
    guardedPortOffAndOn(state, true);
}
BENCHMARK(BM_GuardedPortOffAndOn_OneTransactionPerFilter)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_Floor_OneElementInAndOutOfTheFullSet(benchmark::State &state) {
    Failures failures;
    switchPort(true, false, failures);
    const Client extra = clientOf(kClients + 1);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        failures.request(FRM_InstallForwardIp6AddrFilterResource_new(kPort, extra.mac.data(),
                                                                     extra.address.data(), kVlan));
        failures.commit();
        failures.request(
            FRM_RemoveForwardIp6AddrFilterResource_new(kPort, extra.mac.data(), extra.address.data(), kVlan));
        failures.commit();
    }
    check(state, failures);
    switchPort(false, false, failures);
}
BENCHMARK(BM_Floor_OneElementInAndOutOfTheFullSet)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char **argv) {
    if (geteuid() != 0 || unshare(CLONE_NEWNET) != 0) {
        std::printf("host_filter_bench: nothing measured, a network namespace needs root (%s)\n",
                    std::strerror(errno));
        return 0;
    }
    std::string error;
    if (!hostplatform::nftOpen(error)) {
        std::printf("host_filter_bench: nftables refused the table: %s\n", error.c_str());
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    hostplatform::nftClose();
    return 0;
}
