#include "mgmt_protocol/ListRecords.h"

#include <arpa/inet.h>

#include <algorithm>

namespace mgmt {
namespace {

void putBe32(Bytes &out, uint32_t value) {
    const uint32_t wire = htonl(value);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&wire);
    out.insert(out.end(), bytes, bytes + sizeof wire);
}

void putBe16(Bytes &out, uint16_t value) {
    const uint16_t wire = htons(value);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&wire);
    out.insert(out.end(), bytes, bytes + sizeof wire);
}

uint32_t be32(std::span<const uint8_t> bytes, size_t offset) {
    return ntohl(loadAt<uint32_t>(bytes, offset));
}

uint16_t be16(std::span<const uint8_t> bytes, size_t offset) {
    return ntohs(loadAt<uint16_t>(bytes, offset));
}

// Offsets inside a port record.
constexpr size_t kTrustedOffset = 16;
constexpr size_t kNameLengthOffset = 17;
constexpr size_t kNameOffset = 20;
static_assert(kNameOffset + kPortNameSize == kPortRecordSize);

}  // namespace

Bytes encodePortList(const std::vector<PortSettings> &ports) {
    Bytes data;
    data.reserve(ports.size() * kPortRecordSize);
    for (const PortSettings &port : ports) {
        const size_t nameLength = std::min(port.name.size(), kPortNameSize);
        putBe32(data, port.port);
        putBe32(data, port.guardMode);
        putBe32(data, port.maxClients);
        putBe32(data, port.clients);
        data.push_back(port.trusted ? 1 : 0);
        data.push_back(static_cast<uint8_t>(nameLength));
        putBe16(data, 0);
        data.insert(data.end(), port.name.begin(), port.name.begin() + static_cast<long>(nameLength));
        data.resize(data.size() + kPortNameSize - nameLength, 0);
    }
    return data;
}

Bytes encodeVlanList(const std::vector<VlanSettings> &vlans) {
    Bytes data;
    data.reserve(vlans.size() * kVlanRecordSize);
    for (const VlanSettings &vlan : vlans) {
        putBe16(data, static_cast<uint16_t>(vlan.vlan));
        putBe16(data, 0);
        putBe32(data, vlan.maxClients);
        putBe32(data, vlan.clients);
    }
    return data;
}

std::optional<std::vector<PortSettings>> decodePortList(std::span<const uint8_t> data) {
    if (data.size() % kPortRecordSize != 0) {
        return std::nullopt;
    }
    std::vector<PortSettings> ports;
    for (; !data.empty(); data = data.subspan(kPortRecordSize)) {
        const size_t nameLength = data[kNameLengthOffset];
        if (nameLength > kPortNameSize) {
            return std::nullopt;
        }
        const auto name = data.subspan(kNameOffset, nameLength);
        ports.push_back({be32(data, 0), std::string(name.begin(), name.end()), data[kTrustedOffset] != 0,
                         be32(data, 4), be32(data, 8), be32(data, 12)});
    }
    return ports;
}

std::optional<std::vector<VlanSettings>> decodeVlanList(std::span<const uint8_t> data) {
    if (data.size() % kVlanRecordSize != 0) {
        return std::nullopt;
    }
    std::vector<VlanSettings> vlans;
    for (; !data.empty(); data = data.subspan(kVlanRecordSize)) {
        vlans.push_back({be16(data, 0), be32(data, 4), be32(data, 8)});
    }
    return vlans;
}

}  // namespace mgmt
