#pragma once
// The floor beside the figures of a frame: what any handling of it costs at least, a copy of the frame and
// the UDP checksum of the copy.

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "relay_option/OptionInsertion.h"
#include "switchsim/Dhcp6FrameBuilder.h"

inline void measureCopyAndChecksum(benchmark::State &state, const switchsim::dhcp6::BuiltFrame &built) {
    constexpr uint32_t kUdpHeaderSize = 8;
    const uint32_t ipv6 = built.info.etherTypeOffset + 2U;
    const uint32_t udp = built.info.payloadOffset - kUdpHeaderSize;
    std::vector<uint8_t> copy(built.bytes.size());
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the loop variable is unused
        std::memcpy(copy.data(), built.bytes.data(), built.bytes.size());
        benchmark::DoNotOptimize(udp6Checksum(copy.data() + ipv6 + 8, copy.data() + ipv6 + 24,
                                              copy.data() + udp, static_cast<uint16_t>(copy.size() - udp)));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
