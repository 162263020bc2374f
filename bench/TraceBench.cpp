// The debug trace sits on the packet path: with debugging off it must cost no more than asking the log
// service whether it is on.

#include <benchmark/benchmark.h>

#include "core/DebugTrace.h"
#include "core/SharedTypes.h"
#include "switchsim/Switch.h"

namespace {

void BM_TraceWithDebuggingOff(benchmark::State &state) {
    switchsim::Switch sw;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        dhcp6snooping_debug_printf("\r\n receive dhcpv6 %s msg, record user: mac %s, vlan %d, port %s",
                                   "SOLICIT", "00:00:5e:00:53:01", 10, "ethernet1/0/3");
    }
}
BENCHMARK(BM_TraceWithDebuggingOff);

}  // namespace
