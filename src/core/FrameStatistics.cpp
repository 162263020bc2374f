#include "core/FrameStatistics.h"

#include <array>

namespace {

// Row 0 holds what came with a port outside the table; row p, port p.
using CounterRow = std::array<uint64_t, mgmt::kCounterCount>;
std::array<CounterRow, kPortTableSize + 1> counters{};

DropListener dropListener = nullptr;

struct CurrentFrame {
    uint32_t row = 0;
    uint32_t vlan = 0;
    uint8_t messageType = 0;
    const uint8_t *sourceMac = nullptr;
};
CurrentFrame current;

uint32_t rowOf(PortIndex port) {
    return isTablePort(port) ? port : 0;
}

void add(uint32_t row, mgmt::Counter counter, uint64_t count) {
    counters[row][static_cast<size_t>(counter)] += count;
}

}  // namespace

extern "C" {

void dhcp6snoopingDropListen(DropListener listener) {
    dropListener = listener;
}

const uint64_t *dhcp6snoopingCounters(uint32_t port) {
    return port <= kPortTableSize ? counters[port].data() : nullptr;
}

void dhcp6snoopingCountersClear(void) {
    counters = {};
}
}

void countFrameBegin(PortIndex port, uint32_t vlan, const uint8_t *sourceMac) {
    current = {rowOf(port), vlan, 0, sourceMac};
}

void countFrameType(uint8_t messageType) {
    current.messageType = messageType;
}

void countFramePassed() {
    if (const auto counter = mgmt::passedCounterOf(current.messageType)) {
        add(current.row, *counter, 1);
    }
}

void countFrameDropped(mgmt::Counter reason) {
    add(current.row, reason, 1);
    if (dropListener != nullptr) {
        const DropNotice notice{current.row, current.vlan, current.messageType, current.sourceMac,
                                static_cast<uint32_t>(reason)};
        dropListener(&notice);
    }
}

void countEvent(PortIndex port, mgmt::Counter counter, uint64_t count) {
    add(rowOf(port), counter, count);
}
