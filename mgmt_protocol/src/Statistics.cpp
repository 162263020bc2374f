#include "mgmt_protocol/Statistics.h"

#include <algorithm>

#include "RecordBytes.h"

namespace mgmt {
namespace {

constexpr size_t kReplyHeaderSize = 24;
constexpr size_t kRecordHeaderSize = 32;
constexpr size_t kNameLengthOffset = 4;
constexpr size_t kNameOffset = 8;
constexpr size_t kGuardDroppedOffset = kNameOffset + kPortNameSize;
static_assert(kGuardDroppedOffset + sizeof(uint64_t) == kRecordHeaderSize);
constexpr size_t kRecordSize = kRecordHeaderSize + kCounterCount * sizeof(uint64_t);

}  // namespace

Bytes encodeStatistics(const Statistics &statistics) {
    Bytes data;
    data.reserve(kReplyHeaderSize + statistics.ports.size() * kRecordSize);
    putBe32(data, kCounterCount);
    putBe32(data, 0);
    putBe64(data, statistics.ringDropped);
    putBe64(data, statistics.notHandedOver);
    for (const PortStatistics &port : statistics.ports) {
        const size_t nameLength = std::min(port.name.size(), kPortNameSize);
        putBe32(data, port.port);
        putBe32(data, static_cast<uint32_t>(nameLength) << 24U);
        data.insert(data.end(), port.name.begin(), port.name.begin() + static_cast<long>(nameLength));
        data.resize(data.size() + kPortNameSize - nameLength);
        putBe64(data, port.guardDropped);
        for (const uint64_t value : port.counters) {
            putBe64(data, value);
        }
    }
    return data;
}

std::optional<Statistics> decodeStatistics(std::span<const uint8_t> data) {
    if (kReplyHeaderSize > data.size() || be32(data, 0) != kCounterCount ||
        (data.size() - kReplyHeaderSize) % kRecordSize != 0) {
        return std::nullopt;
    }
    Statistics statistics{be64(data, 8), be64(data, 16), {}};
    for (data = data.subspan(kReplyHeaderSize); !data.empty(); data = data.subspan(kRecordSize)) {
        PortStatistics port;
        port.port = be32(data, 0);
        const size_t nameLength = data[kNameLengthOffset];
        if (nameLength > kPortNameSize) {
            return std::nullopt;
        }
        port.name.assign(data.begin() + kNameOffset,
                         data.begin() + static_cast<long>(kNameOffset + nameLength));
        port.guardDropped = be64(data, kGuardDroppedOffset);
        for (size_t i = 0; i < kCounterCount; ++i) {
            port.counters[i] = be64(data, kRecordHeaderSize + i * sizeof(uint64_t));
        }
        statistics.ports.push_back(std::move(port));
    }
    return statistics;
}

PortStatistics totalOf(const Statistics &statistics) {
    PortStatistics total;
    for (const PortStatistics &port : statistics.ports) {
        total.guardDropped += port.guardDropped;
        for (size_t i = 0; i < kCounterCount; ++i) {
            total.counters[i] += port.counters[i];
        }
    }
    return total;
}

}  // namespace mgmt
