// Writes what the filter service of the simulated switch is asked and holds through seeded source-guard
// sequences (SourceGuardSequence.h), for the host platform's filter service to replay and be compared with
// (tests/hostplatform/HostFilterParityTest.cpp).
//
//   dhcp6snooping-filter-trace FILE [SEQUENCES]
//
// "sequence" before each sequence, which starts with no filter held (the one before was reset and held
// none); then after every step one line per filter call, one per filter held, and "step":
//   call <function> <operation|-> <address|-> <mac|-> <port> <vlan> <result>
//   holds <kind> <address|-> <mac|-> <port> <vlan>
// Addresses and MACs are lower-case hexadecimal without separators; kinds are deny-all, dhcp6-trap, nd,
// forward and exempt-vlan.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <span>

#include "SourceGuardSequence.h"

namespace {

constexpr size_t kSequenceSize = 240;

std::string hex(std::span<const uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

std::string fields(const switchsim::Filter &filter) {
    const bool hasAddress = filter.kind == switchsim::FilterKind::ForwardIp6;
    return (hasAddress ? hex(filter.address) : "-") + " " + (filter.mac ? hex(*filter.mac) : "-") + " " +
           std::to_string(filter.port) + " " + std::to_string(filter.vlan);
}

const char *kindName(switchsim::FilterKind kind) {
    switch (kind) {
        case switchsim::FilterKind::DenyAllIp6:
            return "deny-all";
        case switchsim::FilterKind::Dhcp6Trap:
            return "dhcp6-trap";
        case switchsim::FilterKind::NeighbourDiscovery:
            return "nd";
        case switchsim::FilterKind::ForwardIp6:
            return "forward";
        case switchsim::FilterKind::ExemptVlan:
            return "exempt-vlan";
    }
    return "?";
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s FILE [SEQUENCES]\n", argv[0]);
        return 2;
    }
    const int sequences = argc == 3 ? std::atoi(argv[2]) : 16;
    std::ofstream out(argv[1]);
    switchsim::Switch &sw = fuzz::fuzzSwitch();
    sw.clearRecords();
    const auto write = [&out, &sw] {
        for (const switchsim::FilterCall &call : sw.filterCalls()) {
            out << "call " << call.function << " " << (call.operation ? std::to_string(*call.operation) : "-")
                << " " << fields(call.filter) << " " << call.result << "\n";
        }
        for (const switchsim::Filter &filter : sw.installedFilters()) {
            out << "holds " << kindName(filter.kind) << " " << fields(filter) << "\n";
        }
        out << "step\n";
        sw.clearRecords();
    };
    const auto failure = fuzz::playRandomInputs(sequences, kSequenceSize, [&](fuzz::Input &input) {
        out << "sequence\n";
        sw.clearRecords();
        return fuzz::playObservedSourceGuardSequence(input, write);
    });
    if (failure || !out) {
        std::fprintf(stderr, "%s\n", failure ? failure->c_str() : "cannot write the trace");
        return 1;
    }
    return 0;
}
