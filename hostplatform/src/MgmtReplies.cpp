#include "MgmtReplies.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "AtomicFile.h"
#include "ConfigService.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "platform/SwitchHelperApi.h"

namespace hostplatform {
namespace {

constexpr uint32_t kHighestVlan = 4094;
constexpr uint32_t kDefaultClientLimit = 2048;

template <typename T>
mgmt::Bytes bytesOf(const T &value) {
    mgmt::Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

uint32_t wordAt(const mgmt::DecodedRemoteCall &reply, size_t argument) {
    return mgmt::loadAt<uint32_t>(reply.arguments.at(argument), 0);
}

// The platform's reads go through the daemon's calls like the command line's, but write no trace line.
class Listing {
  public:
    Listing() { host().listing = true; }
    ~Listing() { host().listing = false; }
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;
};

// Every port of the bridge with its settings; a port that has left the bridge is not listed.
std::vector<mgmt::PortSettings> portList(const HostState &state) {
    const Listing listing;
    std::vector<mgmt::PortSettings> ports;
    const mgmt::Bytes zero = bytesOf(uint32_t{0});
    for (uint32_t port = 1; port <= state.bridge.ports.size(); ++port) {
        const BridgePort &member = state.bridge.ports[port - 1];
        if (member.ifindex == 0) {
            continue;
        }
        const auto trust = callInProcess(mgmt::kPortTrustGet, {bytesOf(port), zero});
        const auto mode = callInProcess(mgmt::kGetGuardMode, {bytesOf(port), zero});
        const auto limit = callInProcess(mgmt::kPortMaxClientsGet, {bytesOf(port), zero, zero});
        if (!trust || !mode || !limit || trust->result != 0 || mode->result != 0 || limit->result != 0) {
            continue;
        }
        ports.push_back({port, member.name, wordAt(*trust, 1) != 0, wordAt(*mode, 1), wordAt(*limit, 1),
                         wordAt(*limit, 2)});
    }
    return ports;
}

// The VLANs of the bridge whose client limit is not the default, and every VLAN that counts clients: what
// the running configuration holds, and where the clients are.
std::vector<mgmt::VlanSettings> vlanList() {
    const Listing listing;
    std::vector<mgmt::VlanSettings> vlans;
    const mgmt::Bytes zero = bytesOf(uint32_t{0});
    for (uint32_t vlan = 1; vlan <= kHighestVlan; ++vlan) {
        const auto limit = callInProcess(mgmt::kVlanMaxClientsGet, {bytesOf(vlan), zero, zero});
        if (!limit || limit->result != 0) {
            continue;
        }
        const uint32_t maximum = wordAt(*limit, 1);
        const uint32_t clients = wordAt(*limit, 2);
        if (clients != 0 || (maximum != kDefaultClientLimit && vlan_exist(vlan) != 0)) {
            vlans.push_back({vlan, maximum, clients});
        }
    }
    return vlans;
}

mgmt::Bytes withData(uint16_t type, const mgmt::Bytes &data) {
    return mgmt::encodePlatformReply(type, 0, {reinterpret_cast<const char *>(data.data()), data.size()});
}

}  // namespace
std::optional<mgmt::Bytes> platformReply(std::span<const uint8_t> request, const HostState &state) {
    const auto type = mgmt::messageType(request);
    if (type == mgmt::kRunningConfigMessage) {
        const auto text = runningConfigText();
        return mgmt::encodePlatformReply(type, text ? 0 : mgmt::kRefused, text.value_or(""));
    }
    if (type == mgmt::kPortNamesMessage) {
        std::vector<std::string> names;
        names.reserve(state.bridge.ports.size());
        for (const BridgePort &port : state.bridge.ports) {
            names.push_back(port.name);
        }
        return mgmt::encodePortNamesReply(names);
    }
    if (type == mgmt::kPortListMessage) {
        return withData(type, mgmt::encodePortList(portList(state)));
    }
    if (type == mgmt::kVlanListMessage) {
        return withData(type, mgmt::encodeVlanList(vlanList()));
    }
    if (type == mgmt::kCheckConfigMessage || type == mgmt::kApplyConfigMessage ||
        type == mgmt::kReplaceConfigMessage) {
        const auto text = mgmt::messageText(request);
        const auto errors = type == mgmt::kCheckConfigMessage   ? checkConfigText(text)
                            : type == mgmt::kApplyConfigMessage ? enterConfigTextWhole(text)
                                                                : replaceConfigText(text);
        std::string described;
        for (const auto &error : errors) {
            described += describe(error) + "\n";
        }
        return mgmt::encodePlatformReply(type, static_cast<int32_t>(errors.size()), described);
    }
    if (type == mgmt::kSaveConfigMessage) {
        const auto text = runningConfigText();
        std::string error = "the daemon gave no running configuration";
        if (!text || !replaceFile(state.settings.bootConfig, *text, error)) {
            return mgmt::encodePlatformReply(type, mgmt::kRefused, error);
        }
        return mgmt::encodePlatformReply(type, 0, state.settings.bootConfig);
    }
    if (type == mgmt::kStoragePathsMessage) {
        return mgmt::encodePlatformReply(type, 0,
                                         "boot-config " + state.settings.bootConfig + "\nbinding-database " +
                                             state.settings.bindingDatabase + "\n");
    }
    return std::nullopt;
}

mgmt::Bytes refusedReply(std::span<const uint8_t> request, int32_t result) {
    mgmt::Bytes reply(mgmt::kHeaderSize, 0);
    std::copy_n(request.begin(), std::min<size_t>(request.size(), reply.size()), reply.begin());
    mgmt::storeAt(reply, mgmt::kVersionOffset, mgmt::kProtocolVersion);
    mgmt::storeAt<uint16_t>(reply, mgmt::kDataLengthOffset, 0);
    mgmt::storeAt(reply, mgmt::kResultOffset, result);
    return reply;
}

}  // namespace hostplatform
