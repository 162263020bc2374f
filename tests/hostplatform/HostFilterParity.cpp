// Holds the host platform's filter service to the simulated switch's: replays the filter calls of a trace
// written by dhcp6snooping-filter-trace (seeded source-guard sequences on the simulated switch) against the
// nftables table, in a network namespace of its own, on a real bridge of 24 ports with PVID 1, as the fuzz
// switch has, read through the host platform's netlink session. Each call must be answered as the simulated
// switch answered it (taken or refused), and after every step, once its changes are committed, the table
// must hold exactly what a table made afresh from the filters the simulated switch then held holds, element
// for element.
//
//   host_filter_parity TRACE
//
// Exit code 0 when the two agree, 1 when they do not (what differs is printed), 77 without root or network
// namespaces, 2 for a bad command line or an unreadable trace.

#include <nftables/libnftables.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "HostPorts.h"
#include "HostState.h"
#include "NftFilterService.h"
#include "platform/FrmApi.h"

namespace {

constexpr int kSkipped = 77;
constexpr uint32_t kPorts = 24;
constexpr char kBridge[] = "br-parity";

// Makes the bridge with veth interfaces "port1" to "port24" as its members and reads it as the daemon's
// platform does. False, with the reason in `error`, when either fails.
bool makeBridge(std::string &error) {
    std::string commands = std::string("link add ") + kBridge + " type bridge\n";
    for (uint32_t port = 1; port <= kPorts; ++port) {
        const std::string name = "port" + std::to_string(port);
        commands.append("link add ")
            .append(name)
            .append(" type veth peer name peer")
            .append(std::to_string(port));
        commands.append("\nlink set ").append(name).append(" master ").append(kBridge).append(" up\n");
    }
    commands += std::string("link set ") + kBridge + " up\n";
    FILE *const ip = popen("ip -batch -", "w");
    if (ip == nullptr || std::fputs(commands.c_str(), ip) < 0 || pclose(ip) != 0) {
        error = "ip could not make the bridge";
        return false;
    }
    auto &state = hostplatform::host();
    state.bridge.name = kBridge;
    if (!state.netlink.open(state.bridge, error)) {
        return false;
    }
    if (hostplatform::portCount() != kPorts) {
        error = "netlink read " + std::to_string(hostplatform::portCount()) + " ports";
        return false;
    }
    return true;
}

// The fields of a trace line after its function or kind: operation, address, MAC, port, VLAN.
struct Fields {
    uint32_t operation = 0;
    std::optional<std::array<uint8_t, 16>> address;
    std::optional<std::array<uint8_t, 6>> mac;
    uint32_t port = 0;
    uint32_t vlan = 0;

    [[nodiscard]] const uint8_t *addressBytes() const { return address ? address->data() : nullptr; }
    [[nodiscard]] const uint8_t *macBytes() const { return mac ? mac->data() : nullptr; }
};

template <size_t N>
std::optional<std::array<uint8_t, N>> bytesOf(const std::string &hex) {
    if (hex == "-" || hex.size() != 2 * N) {
        return std::nullopt;
    }
    std::array<uint8_t, N> bytes{};
    for (size_t i = 0; i < N; ++i) {
        bytes[i] = static_cast<uint8_t>(std::stoul(hex.substr(2 * i, 2), nullptr, 16));
    }
    return bytes;
}

Fields fieldsOf(std::istringstream &line, bool withOperation) {
    Fields fields;
    std::string operation;
    std::string address;
    std::string mac;
    if (withOperation) {
        line >> operation;
        fields.operation = operation == "-" ? 0 : static_cast<uint32_t>(std::stoul(operation));
    }
    line >> address >> mac >> fields.port >> fields.vlan;
    fields.address = bytesOf<16>(address);
    fields.mac = bytesOf<6>(mac);
    return fields;
}

using Call = std::function<int32_t(const Fields &)>;

const std::map<std::string, Call> &calls() {
    static const std::map<std::string, Call> table = {
        {"FRM_InstallGlobalForwardIp6AddrOnlyFilterResource",
         [](const Fields &f) { return FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(f.addressBytes()); }},
        {"FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource",
         [](const Fields &f) { return FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(f.addressBytes()); }},
        {"FRM_InstallGlobalForwardIp6AddrFilterResource",
         [](const Fields &f) {
             return FRM_InstallGlobalForwardIp6AddrFilterResource(f.macBytes(), f.addressBytes());
         }},
        {"FRM_RemoveGlobalForwardIp6AddrFilterResource",
         [](const Fields &f) {
             return FRM_RemoveGlobalForwardIp6AddrFilterResource(f.macBytes(), f.addressBytes());
         }},
        {"FRM_InstallForwardIp6AddrFilterResource",
         [](const Fields &f) {
             return FRM_InstallForwardIp6AddrFilterResource(f.port, f.macBytes(), f.addressBytes());
         }},
        {"FRM_RemoveForwardIp6AddrFilterResource",
         [](const Fields &f) {
             return FRM_RemoveForwardIp6AddrFilterResource(f.port, f.macBytes(), f.addressBytes());
         }},
        {"FRM_InstallForwardIp6AddrFilterResource_new",
         [](const Fields &f) {
             return FRM_InstallForwardIp6AddrFilterResource_new(f.port, f.macBytes(), f.addressBytes(),
                                                                f.vlan);
         }},
        {"FRM_RemoveForwardIp6AddrFilterResource_new",
         [](const Fields &f) {
             return FRM_RemoveForwardIp6AddrFilterResource_new(f.port, f.macBytes(), f.addressBytes(),
                                                               f.vlan);
         }},
        {"FRM_OperateDhcp6FilterResource",
         [](const Fields &f) { return FRM_OperateDhcp6FilterResource(f.operation); }},
        {"FRM_InstallGlobalForwardIcmp6NdFilterResource",
         [](const Fields &) { return FRM_InstallGlobalForwardIcmp6NdFilterResource(); }},
        {"FRM_RemoveGlobalForwardIcmp6NdFilterResource",
         [](const Fields &) { return FRM_RemoveGlobalForwardIcmp6NdFilterResource(); }},
        {"FRM_OperatePortDenyAllIp6FilterResource",
         [](const Fields &f) { return FRM_OperatePortDenyAllIp6FilterResource(f.operation, f.port); }},
        {"FRM_InstallGlobalForwardIp6VidOnlyFilterResource",
         [](const Fields &f) {
             return FRM_InstallGlobalForwardIp6VidOnlyFilterResource(static_cast<uint16_t>(f.vlan));
         }},
        {"FRM_RemoveGlobalForwardIp6VidOnlyFilterResource",
         [](const Fields &f) {
             return FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(static_cast<uint16_t>(f.vlan));
         }},
    };
    return table;
}

// Asks for a filter the simulated switch held, as the daemon would have asked for it.
int32_t install(const std::string &kind, const Fields &f) {
    if (kind == "deny-all") {
        return FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, f.port);
    }
    if (kind == "dhcp6-trap") {
        return FRM_OperateDhcp6FilterResource(FILTER_OP_ENABLE);
    }
    if (kind == "nd") {
        return FRM_InstallGlobalForwardIcmp6NdFilterResource();
    }
    if (kind == "exempt-vlan") {
        return FRM_InstallGlobalForwardIp6VidOnlyFilterResource(static_cast<uint16_t>(f.vlan));
    }
    if (f.port == 0) {
        return f.mac ? FRM_InstallGlobalForwardIp6AddrFilterResource(f.macBytes(), f.addressBytes())
                     : FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(f.addressBytes());
    }
    return f.vlan == 0
               ? FRM_InstallForwardIp6AddrFilterResource(f.port, f.macBytes(), f.addressBytes())
               : FRM_InstallForwardIp6AddrFilterResource_new(f.port, f.macBytes(), f.addressBytes(), f.vlan);
}

struct ContextDeleter {
    void operator()(nft_ctx *context) const { nft_ctx_free(context); }
};

std::string trimmed(const std::string &text) {
    const size_t first = text.find_first_not_of(" \t");
    const size_t last = text.find_last_not_of(" \t");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

// The daemon's table as nftables lists it, a line each, but with each set's elements one a line, named by
// their set and sorted, so that two tables with the same rules and elements compare equal whatever order
// nftables lists the elements in. The drop counters are left out: a port's outlives its filters, so a table
// made afresh lacks those of the ports no longer guarded.
std::vector<std::string> tablePieces() {
    static constexpr std::string_view kElements = "elements = {";
    const std::unique_ptr<nft_ctx, ContextDeleter> context(nft_ctx_new(NFT_CTX_DEFAULT));
    nft_ctx_buffer_output(context.get());
    nft_ctx_buffer_error(context.get());
    if (nft_run_cmd_from_buffer(context.get(), "list table bridge dhcp6snooping") != 0) {
        return {"(no table)"};
    }
    std::vector<std::string> pieces;
    std::vector<std::string> elements;
    std::string set;
    bool inElements = false;
    bool inCounter = false;
    std::istringstream lines(nft_ctx_get_output_buffer(context.get()));
    for (std::string text; std::getline(lines, text);) {
        std::string line = trimmed(text);
        if (line.starts_with("counter ") && line.ends_with('{')) {
            inCounter = true;
        }
        if (inCounter || line.empty()) {
            inCounter = inCounter && !line.ends_with('}');
            continue;
        }
        if (line.starts_with("set ") || line.starts_with("map ")) {
            set = line.substr(4, line.find(' ', 4) - 4);
        }
        if (!inElements && line.starts_with(kElements)) {
            inElements = true;
            line = line.substr(kElements.size());
        }
        if (!inElements) {
            pieces.push_back(line);
            continue;
        }
        const bool closes = line.ends_with('}');
        std::istringstream items(closes ? line.substr(0, line.size() - 1) : line);
        for (std::string item; std::getline(items, item, ',');) {
            if (!trimmed(item).empty()) {
                elements.push_back(set + ": " + trimmed(item));
            }
        }
        if (closes) {
            inElements = false;
            std::sort(elements.begin(), elements.end());
            pieces.insert(pieces.end(), elements.begin(), elements.end());
            elements.clear();
        }
    }
    return pieces;
}

std::string joined(const std::vector<std::string> &pieces) {
    std::string text;
    for (const auto &piece : pieces) {
        text += "  " + piece + "\n";
    }
    return text;
}

bool reopen(std::string &error) {
    hostplatform::nftClose();
    return hostplatform::nftOpen(error);
}

// Replays the trace; the first disagreement goes to `report`.
int replay(std::istream &trace, std::string &report) {
    std::vector<std::pair<std::string, Fields>> held;
    uint32_t steps = 0;
    for (std::string text; std::getline(trace, text);) {
        std::istringstream line(text);
        std::string what;
        line >> what;
        if (what == "sequence") {
            if (!reopen(report)) {
                return 1;
            }
        } else if (what == "call") {
            std::string function;
            int32_t simulated = 0;
            line >> function;
            const Fields fields = fieldsOf(line, true);
            line >> simulated;
            const auto call = calls().find(function);
            if (call == calls().end()) {
                report = "an unknown call in the trace: " + text;
                return 1;
            }
            const int32_t host = call->second(fields);
            if ((host == 0) != (simulated == 0)) {
                report = "step " + std::to_string(steps + 1) + ": the host answered " + std::to_string(host) +
                         " where the simulated switch answered " + std::to_string(simulated) + ": " + text;
                return 1;
            }
        } else if (what == "holds") {
            std::string kind;
            line >> kind;
            held.emplace_back(kind, fieldsOf(line, false));
        } else if (what == "step") {
            ++steps;
            if (const size_t refused = hostplatform::nftCommit(); refused > 0) {
                report = "step " + std::to_string(steps) + ": nftables refused " + std::to_string(refused) +
                         " changes";
                return 1;
            }
            const auto replayed = tablePieces();
            if (!reopen(report)) {
                return 1;
            }
            for (const auto &[kind, fields] : held) {
                install(kind, fields);
            }
            held.clear();
            hostplatform::nftCommit();
            const auto afresh = tablePieces();
            if (replayed != afresh) {
                report = "step " + std::to_string(steps) + ": the replayed table holds\n" + joined(replayed) +
                         "but one made afresh from the simulated switch's filters holds\n" + joined(afresh);
                return 1;
            }
        }
    }
    std::printf("host_filter_parity: %u steps agree\n", steps);
    return steps > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s TRACE\n", argv[0]);
        return 2;
    }
    std::ifstream trace(argv[1]);
    if (!trace) {
        std::fprintf(stderr, "host_filter_parity: cannot read %s\n", argv[1]);
        return 2;
    }
    if (geteuid() != 0 || unshare(CLONE_NEWNET) != 0) {
        std::printf("host_filter_parity: skipped, a network namespace needs root (%s)\n",
                    std::strerror(errno));
        return kSkipped;
    }
    std::string report;
    if (!makeBridge(report)) {
        std::printf("host_filter_parity: %s\n", report.c_str());
        return 1;
    }
    if (!hostplatform::nftOpen(report)) {
        std::printf("host_filter_parity: skipped, nftables refused the table: %s\n", report.c_str());
        return report.find("Operation not supported") != std::string::npos ? kSkipped : 1;
    }
    const int code = replay(trace, report);
    hostplatform::nftClose();
    if (code != 0) {
        std::printf("host_filter_parity: %s\n", report.c_str());
    }
    return code;
}
