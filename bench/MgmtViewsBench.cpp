// The command line's views through the management socket, end to end: the real daemon runs on a bridge in
// a network namespace of its own, with 2048 clients of 10 bindings each taken back from its binding
// database at start, and each benchmark runs a whole `dhcp6snoopingctl` command (parsing, exchanges on the
// socket, the daemon's reads, the JSON printed) in this process. The floor is the smallest exchange the
// socket carries, `show storage`. Each benchmark checks after its loop that it printed what it claims: 2048
// clients with 10 addresses each, the VLAN list, the running configuration. Root only: without it the
// program says so and measures nothing.

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "BindingRecords.h"
#include "Commands.h"
#include "Transport.h"

namespace {

constexpr uint32_t kClients = 2048;
constexpr uint32_t kBindingsEach = 10;

std::string gSocket;

bool shell(const std::string &command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// The output of one whole command line; empty when it failed.
std::string runCtl(const std::vector<std::string> &words) {
    std::vector<std::string> arguments = {"--socket", gSocket};
    arguments.insert(arguments.end(), words.begin(), words.end());
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int code = ctl::runCommandLine(
        arguments, [](const std::string &path) { return std::make_unique<ctl::SocketTransport>(path); }, in,
        out, err);
    return code == 0 ? out.str() : "";
}

// Runs the command line of `words` in the benchmark's loop; what its last run printed.
std::string timed(benchmark::State &state, const std::vector<std::string> &words) {
    std::string printed;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        printed = runCtl(words);
        benchmark::DoNotOptimize(printed.data());
    }
    return printed;
}

std::vector<bindingdb::Client> manyClients(int64_t now) {
    std::vector<bindingdb::Client> clients(kClients);
    for (uint32_t n = 0; n < kClients; ++n) {
        auto &client = clients[n];
        client.mac = {0x02, 0, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
        client.vlan = 1;
        client.port = "swp1";
        for (uint32_t b = 0; b < kBindingsEach; ++b) {
            bindingdb::Binding binding;
            binding.address = {0x20,
                               0x01,
                               0x0d,
                               0xb8,
                               0,
                               0,
                               0,
                               0,
                               0,
                               0,
                               0,
                               0,
                               0,
                               static_cast<uint8_t>(b),
                               static_cast<uint8_t>(n >> 8),
                               static_cast<uint8_t>(n)};
            binding.preferredLifetime = 3600;
            binding.validLifetime = 7200;
            binding.expires = now + 7200;
            client.bindings.push_back(binding);
        }
    }
    return clients;
}

void showClients(benchmark::State &state) {
    const std::string printed = timed(state, {"show", "clients", "-j"});
    const auto clients = nlohmann::json::parse(printed.empty() ? "[]" : printed);
    size_t addresses = 0;
    for (const auto &client : clients) {
        addresses += client["addresses"].size();
    }
    if (clients.size() != kClients || addresses != size_t{kClients} * kBindingsEach) {
        state.SkipWithError("the view did not print 2048 clients of 10 bindings");
    }
    state.counters["clients"] = static_cast<double>(clients.size());
}
BENCHMARK(showClients)->Unit(benchmark::kMillisecond);

void showVlans(benchmark::State &state) {
    const std::string printed = timed(state, {"show", "vlans", "-j"});
    const auto vlans = nlohmann::json::parse(printed.empty() ? "null" : printed);
    if (!vlans.is_array() || vlans.size() != 1 || vlans[0]["clients"] != kClients) {
        state.SkipWithError("the view did not print VLAN 1 with its 2048 clients");
    }
}
BENCHMARK(showVlans)->Unit(benchmark::kMillisecond);

void showRunningConfig(benchmark::State &state) {
    const std::string printed = timed(state, {"show", "running-config"});
    if (printed.find("dhcpv6-snooping") == std::string::npos) {
        state.SkipWithError("no running configuration was printed");
    }
}
BENCHMARK(showRunningConfig)->Unit(benchmark::kMillisecond);

void floorShowStorage(benchmark::State &state) {
    const std::string printed = timed(state, {"show", "storage"});
    if (printed.find("binding_database") == std::string::npos) {
        state.SkipWithError("no storage was printed");
    }
}
BENCHMARK(floorShowStorage)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    if (geteuid() != 0) {
        std::puts("mgmt_views_bench: needs root to run the daemon on a bridge of its own; nothing measured");
        return 0;
    }
    const std::string ns = "d6s-bench-" + std::to_string(getpid());
    const std::filesystem::path work = std::filesystem::temp_directory_path() / ns;
    std::filesystem::create_directories(work);
    gSocket = (work / "mgmt.sock").string();
    const bool made = shell("ip netns add " + ns) && shell("ip -n " + ns + " link add br0 type bridge") &&
                      shell("ip -n " + ns + " link add swp1 type veth peer name swp1p") &&
                      shell("ip -n " + ns + " link set swp1 master br0 up") &&
                      shell("ip -n " + ns + " link set swp1p up") &&
                      shell("ip -n " + ns + " link set br0 up");
    std::ofstream(work / "platform.conf")
        << "bridge = br0\nsocket = " << gSocket << "\nboot-config = " << (work / "boot.conf").string()
        << "\nbinding-database = " << (work / "bindings").string() << "\n";
    std::ofstream(work / "boot.conf") << "dhcpv6-snooping\n";
    std::ofstream(work / "bindings") << bindingdb::formatDatabase(manyClients(std::time(nullptr)),
                                                                  std::time(nullptr));
    pid_t daemon = -1;
    if (made) {
        daemon = fork();
        if (daemon == 0) {
            setenv("DHCP6SNOOPING_PLATFORM_CONF", (work / "platform.conf").c_str(), 1);
            execlp("ip", "ip", "netns", "exec", ns.c_str(), DHCP6SNOOPING_DAEMON, nullptr);
            _exit(127);
        }
    }
    bool ready = false;
    for (int i = 0; i < 100 && made && !ready; ++i) {
        ready = !runCtl({"show", "storage"}).empty();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    int status = 1;
    if (ready) {
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        status = 0;
    } else {
        std::fprintf(stderr, "mgmt_views_bench: the daemon did not answer on %s\n", gSocket.c_str());
    }
    if (daemon > 0) {
        kill(daemon, SIGTERM);
        waitpid(daemon, nullptr, 0);
    }
    shell("ip netns del " + ns);
    std::filesystem::remove_all(work);
    return status;
}
