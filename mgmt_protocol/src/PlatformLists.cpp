#include "mgmt_protocol/PlatformLists.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "mgmt_protocol/Vocabulary.h"

namespace mgmt {
namespace {

Bytes word(uint32_t value) {
    Bytes bytes(sizeof value);
    storeAt(bytes, 0, value);
    return bytes;
}

uint32_t wordAt(const DecodedRemoteCall &reply, size_t argument) {
    return loadAt<uint32_t>(reply.arguments.at(argument), 0);
}

// The reply of a call that succeeded, its outputs of the sizes asked for, or nothing.
std::optional<DecodedRemoteCall> answered(const ReadCall &read, uint32_t callNumber,
                                          const std::vector<Bytes> &arguments) {
    auto reply = read(callNumber, arguments);
    const auto sameSizes = [&arguments](const DecodedRemoteCall &answer) {
        return std::ranges::equal(answer.arguments, arguments, {}, &Bytes::size, &Bytes::size);
    };
    return reply && reply->result == 0 && sameSizes(*reply) ? reply : std::nullopt;
}

// The template that the running configuration writes for `option` ("interface-id" or "remote-id").
std::string templateText(const std::string &runningConfig, const std::string &option) {
    const std::string start = "dhcpv6-snooping information " + option + " user-defined \"";
    const size_t at = runningConfig.find(start);
    if (at == std::string::npos) {
        return "";
    }
    const size_t from = at + start.size();
    const std::string_view line(runningConfig.data() + from,
                                std::min(runningConfig.find('\n', from), runningConfig.size()) - from);
    return std::string(line.substr(0, line.rfind('"')));
}

// One option as the settings record holds it at `fields`.
OptionSettings optionOf(std::span<const uint8_t> record, const OptionFields &fields,
                        std::string userDefined) {
    const auto format = loadAt<uint32_t>(record, fields.format);
    const uint8_t *value = record.data() + fields.value;
    OptionSettings option{loadAt<uint32_t>(record, fields.enable) != 0, format, ""};
    const auto named = nameOf(kOptionFormatNames, format);
    char text[INET6_ADDRSTRLEN] = {};
    if (named == "ipv4-address" || named == "ipv6-address") {
        inet_ntop(named == "ipv4-address" ? AF_INET : AF_INET6, value, text, sizeof text);
        option.value = text;
    } else if (named == "string") {
        option.value.assign(reinterpret_cast<const char *>(value),
                            strnlen(reinterpret_cast<const char *>(value), kOptionValueBytes));
    } else if (named == "user-defined") {
        option.value = std::move(userDefined);
    }
    return option;
}

}  // namespace

std::optional<GlobalSettings> readGlobal(const ReadCall &read, const std::string &runningConfig) {
    const auto info = answered(read, kGlobalInfoGet, {Bytes(kGlobalInfoSize)});
    const auto options = answered(read, kInfoOptionGet, {Bytes(kInfoOptionConfigSize)});
    const auto count = answered(read, kBindingCount, {word(0)});
    if (!info || !options || !count) {
        return std::nullopt;
    }
    const auto &record = options->arguments[0];
    if (record.size() != kInfoOptionConfigSize) {
        return std::nullopt;
    }
    return GlobalSettings{loadAt<uint32_t>(info->arguments[0], 0) != 0,
                          loadAt<uint32_t>(info->arguments[0], 4) != 0,
                          /*trace=*/false,
                          wordAt(*count, 0),
                          optionOf(record, kInterfaceIdFields, templateText(runningConfig, "interface-id")),
                          optionOf(record, kRemoteIdFields, templateText(runningConfig, "remote-id"))};
}

std::optional<std::vector<BindingView>> readBindings(const ReadCall &read) {
    std::vector<BindingView> bindings;
    uint16_t first = 1;
    while (first != 0) {
        Bytes position(kHalfWordSize);
        storeAt(position, 0, first);
        const auto page = answered(read, kBindingPage,
                                   {position, Bytes(kHalfWordSize), Bytes(kHalfWordSize),
                                    Bytes(size_t{kStaticBindRecordSize} * kStaticBindPageRecords)});
        if (!page) {
            return std::nullopt;
        }
        const size_t count =
            std::min<size_t>(loadAt<uint16_t>(page->arguments[2], 0), kStaticBindPageRecords);
        for (size_t i = 0; i < count; ++i) {
            const auto record =
                std::span<const uint8_t>(page->arguments[3]).subspan(i * kStaticBindRecordSize);
            BindingView binding;
            std::copy_n(record.begin(), binding.address.size(), binding.address.begin());
            std::copy_n(record.begin() + kAddressSize, binding.mac.size(), binding.mac.begin());
            binding.port = loadAt<uint32_t>(record, 24);
            binding.vlan = loadAt<uint32_t>(record, 28);
            bindings.push_back(binding);
        }
        first = loadAt<uint16_t>(page->arguments[1], 0);
    }
    return bindings;
}

std::optional<std::vector<uint32_t>> readExemptVlans(const ReadCall &read) {
    const auto reply = answered(read, kExemptVlansGet, {Bytes(kVlanBitmapSize)});
    if (!reply) {
        return std::nullopt;
    }
    std::vector<uint32_t> vlans;
    for (uint32_t vlan = kLowestVlan; vlan <= kHighestVlan; ++vlan) {
        if (hasVlanBit(reply->arguments[0], vlan)) {
            vlans.push_back(vlan);
        }
    }
    return vlans;
}

std::vector<PortSettings> readPortList(const std::vector<NamedPort> &ports, const ReadCall &read) {
    std::vector<PortSettings> list;
    list.reserve(ports.size());
    for (const NamedPort &named : ports) {
        const Bytes port = word(named.port);
        const auto trust = answered(read, kPortTrustGet, {port, word(0)});
        const auto mode = answered(read, kGetGuardMode, {port, word(0)});
        const auto limit = answered(read, kPortMaxClientsGet, {port, word(0), word(0)});
        if (trust && mode && limit) {
            list.push_back({named.port, named.name, wordAt(*trust, 1) != 0, wordAt(*mode, 1),
                            wordAt(*limit, 1), wordAt(*limit, 2)});
        }
    }
    return list;
}

std::vector<VlanSettings> readVlanList(const ReadCall &read,
                                       const std::function<bool(uint32_t)> &vlanExists) {
    std::vector<VlanSettings> list;
    for (uint32_t vlan = kLowestVlan; vlan <= kHighestVlan; ++vlan) {
        const auto limit = answered(read, kVlanMaxClientsGet, {word(vlan), word(0), word(0)});
        if (!limit) {
            continue;
        }
        const uint32_t maximum = wordAt(*limit, 1);
        const uint32_t clients = wordAt(*limit, 2);
        if (clients != 0 || (maximum != kMostClients && vlanExists(vlan))) {
            list.push_back({vlan, maximum, clients});
        }
    }
    return list;
}

}  // namespace mgmt
