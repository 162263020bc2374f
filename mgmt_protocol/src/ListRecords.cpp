#include "mgmt_protocol/ListRecords.h"

#include <algorithm>

#include "RecordBytes.h"

namespace mgmt {
namespace {

// Offsets inside a port record.
constexpr size_t kTrustedOffset = 16;
constexpr size_t kNameLengthOffset = 17;
constexpr size_t kNameOffset = 20;
static_assert(kNameOffset + kPortNameSize == kPortRecordSize);

constexpr size_t kPageHeaderSize = 8;
constexpr size_t kClientHeaderSize = 16;
constexpr size_t kAddressRecordSize = 24;

constexpr size_t kGlobalHeaderSize = 8;
constexpr size_t kOptionHeaderSize = 4;
constexpr size_t kBindingRecordSize = 32;

void putOption(Bytes &data, const OptionSettings &option) {
    const size_t length = std::min<size_t>(option.value.size(), UINT16_MAX);
    data.push_back(option.enabled ? 1 : 0);
    data.push_back(static_cast<uint8_t>(option.format));
    putBe16(data, static_cast<uint16_t>(length));
    data.insert(data.end(), option.value.begin(), option.value.begin() + static_cast<long>(length));
}

std::optional<OptionSettings> takeOption(std::span<const uint8_t> &data) {
    if (kOptionHeaderSize > data.size()) {
        return std::nullopt;
    }
    const size_t length = be16(data, 2);
    if (length > data.size() - kOptionHeaderSize) {
        return std::nullopt;
    }
    const auto value = data.subspan(kOptionHeaderSize, length);
    OptionSettings option{data[0] != 0, data[1], std::string(value.begin(), value.end())};
    data = data.subspan(kOptionHeaderSize + length);
    return option;
}

// The records of `data`, each `size` bytes, read one by one by `readOne`; nothing when `data` is not a
// whole number of records or one of them cannot be read.
template <typename Record, typename ReadOne>
std::optional<std::vector<Record>> recordsOf(std::span<const uint8_t> data, size_t size, ReadOne readOne) {
    if (data.size() % size != 0) {
        return std::nullopt;
    }
    std::vector<Record> records;
    records.reserve(data.size() / size);
    for (; !data.empty(); data = data.subspan(size)) {
        std::optional<Record> record = readOne(data.first(size));
        if (!record) {
            return std::nullopt;
        }
        records.push_back(std::move(*record));
    }
    return records;
}

}  // namespace

Bytes encodeGlobal(const GlobalSettings &global) {
    Bytes data;
    data.push_back(global.snooping ? 1 : 0);
    data.push_back(global.fastRemove ? 1 : 0);
    data.push_back(global.trace ? 1 : 0);
    data.push_back(0);
    putBe32(data, global.staticBindings);
    putOption(data, global.interfaceId);
    putOption(data, global.remoteId);
    return data;
}

std::optional<GlobalSettings> decodeGlobal(std::span<const uint8_t> data) {
    if (kGlobalHeaderSize > data.size()) {
        return std::nullopt;
    }
    GlobalSettings global{data[0] != 0, data[1] != 0, data[2] != 0, be32(data, 4), {}, {}};
    data = data.subspan(kGlobalHeaderSize);
    const auto interfaceId = takeOption(data);
    const auto remoteId = takeOption(data);
    if (!interfaceId || !remoteId || !data.empty()) {
        return std::nullopt;
    }
    global.interfaceId = *interfaceId;
    global.remoteId = *remoteId;
    return global;
}

Bytes encodeBindingList(const std::vector<BindingView> &bindings) {
    Bytes data;
    data.reserve(bindings.size() * kBindingRecordSize);
    for (const BindingView &binding : bindings) {
        data.insert(data.end(), binding.address.begin(), binding.address.end());
        data.insert(data.end(), binding.mac.begin(), binding.mac.end());
        putBe16(data, 0);
        putBe32(data, binding.port);
        putBe32(data, binding.vlan);
    }
    return data;
}

std::optional<std::vector<BindingView>> decodeBindingList(std::span<const uint8_t> data) {
    return recordsOf<BindingView>(data, kBindingRecordSize, [](std::span<const uint8_t> record) {
        BindingView binding;
        std::copy_n(record.begin(), binding.address.size(), binding.address.begin());
        std::copy_n(record.begin() + 16, binding.mac.size(), binding.mac.begin());
        binding.port = be32(record, 24);
        binding.vlan = be32(record, 28);
        return std::optional(binding);
    });
}

Bytes encodeExemptVlanList(const std::vector<uint32_t> &vlans) {
    Bytes data;
    for (const uint32_t vlan : vlans) {
        putBe16(data, static_cast<uint16_t>(vlan));
    }
    return data;
}

std::optional<std::vector<uint32_t>> decodeExemptVlanList(std::span<const uint8_t> data) {
    return recordsOf<uint32_t>(data, sizeof(uint16_t), [](std::span<const uint8_t> record) {
        return std::optional<uint32_t>(be16(record, 0));
    });
}

size_t clientRecordSize(const ClientView &client) {
    return kClientHeaderSize + client.addresses.size() * kAddressRecordSize;
}

Bytes encodeClientPage(const ClientPage &page) {
    Bytes data;
    putBe32(data, static_cast<uint32_t>(page.clients.size()));
    data.push_back(page.more ? 1 : 0);
    data.resize(kPageHeaderSize, 0);
    for (const ClientView &client : page.clients) {
        const size_t count = std::min<size_t>(client.addresses.size(), UINT8_MAX);
        data.insert(data.end(), client.mac.begin(), client.mac.end());
        data.push_back(client.waiting ? 1 : 0);
        data.push_back(static_cast<uint8_t>(count));
        putBe32(data, client.vlan);
        putBe32(data, client.port);
        for (size_t i = 0; i < count; ++i) {
            const ClientAddressView &address = client.addresses[i];
            data.insert(data.end(), address.address.begin(), address.address.end());
            putBe32(data, address.prefixLength);
            putBe32(data, address.validSecondsLeft);
        }
    }
    return data;
}

std::optional<ClientPage> decodeClientPage(std::span<const uint8_t> data) {
    if (data.size() < kPageHeaderSize) {
        return std::nullopt;
    }
    ClientPage page;
    const uint32_t count = be32(data, 0);
    page.more = data[4] != 0;
    data = data.subspan(kPageHeaderSize);
    for (uint32_t i = 0; i < count; ++i) {
        if (kClientHeaderSize > data.size()) {
            return std::nullopt;
        }
        ClientView client;
        std::copy_n(data.begin(), client.mac.size(), client.mac.begin());
        client.waiting = data[6] != 0;
        const size_t addresses = data[7];
        client.vlan = be32(data, 8);
        client.port = be32(data, 12);
        data = data.subspan(kClientHeaderSize);
        if (addresses * kAddressRecordSize > data.size()) {
            return std::nullopt;
        }
        for (size_t a = 0; a < addresses; ++a, data = data.subspan(kAddressRecordSize)) {
            ClientAddressView address;
            std::copy_n(data.begin(), address.address.size(), address.address.begin());
            address.prefixLength = be32(data, 16);
            address.validSecondsLeft = be32(data, 20);
            client.addresses.push_back(address);
        }
        page.clients.push_back(std::move(client));
    }
    if (!data.empty()) {
        return std::nullopt;
    }
    return page;
}

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
    return recordsOf<PortSettings>(data, kPortRecordSize,
                                   [](std::span<const uint8_t> record) -> std::optional<PortSettings> {
                                       const size_t nameLength = record[kNameLengthOffset];
                                       if (nameLength > kPortNameSize) {
                                           return std::nullopt;
                                       }
                                       const auto name = record.subspan(kNameOffset, nameLength);
                                       return PortSettings{be32(record, 0),
                                                           std::string(name.begin(), name.end()),
                                                           record[kTrustedOffset] != 0,
                                                           be32(record, 4),
                                                           be32(record, 8),
                                                           be32(record, 12)};
                                   });
}

std::optional<std::vector<VlanSettings>> decodeVlanList(std::span<const uint8_t> data) {
    return recordsOf<VlanSettings>(data, kVlanRecordSize, [](std::span<const uint8_t> record) {
        return std::optional(VlanSettings{be16(record, 0), be32(record, 4), be32(record, 8)});
    });
}

}  // namespace mgmt
