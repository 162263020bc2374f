#include "MgmtReplies.h"

#include <syslog.h>

#include <algorithm>
#include <string>
#include <vector>

#include "AtomicFile.h"
#include "ConfigChangeLog.h"
#include "ConfigService.h"
#include "HostFacts.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "mgmt_protocol/PlatformLists.h"
#include "mgmt_protocol/Statistics.h"
#include "platform/SwitchHelperApi.h"

namespace hostplatform {
namespace {

// The platform's reads go through the daemon's calls like the command line's, but write no trace line.
class Listing {
  public:
    Listing() { host().listing = true; }
    ~Listing() { host().listing = false; }
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;
};

// Every port of the bridge with its settings; a port that has left the bridge is not listed.
std::vector<mgmt::PortSettings> portList() {
    const Listing listing;
    return mgmt::readPortList(bridgePorts(), callInProcess);
}

std::vector<mgmt::VlanSettings> vlanList() {
    const Listing listing;
    return mgmt::readVlanList(callInProcess, [](uint32_t vlan) { return vlan_exist(vlan) != 0; });
}

// The global settings, the static bindings or the exempt VLANs, as their records; nothing when the daemon
// did not answer.
std::optional<mgmt::Bytes> listData(uint16_t type) {
    if (type == mgmt::kGlobalMessage) {
        auto global = mgmt::readGlobal(callInProcess, runningConfigText().value_or(""));
        if (global) {
            global->trace = host().settings.trace;
        }
        return global ? std::optional(mgmt::encodeGlobal(*global)) : std::nullopt;
    }
    if (type == mgmt::kBindingListMessage) {
        const auto bindings = mgmt::readBindings(callInProcess);
        return bindings ? std::optional(mgmt::encodeBindingList(*bindings)) : std::nullopt;
    }
    const auto vlans = mgmt::readExemptVlans(callInProcess);
    return vlans ? std::optional(mgmt::encodeExemptVlanList(*vlans)) : std::nullopt;
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
        return withData(type, mgmt::encodePortList(portList()));
    }
    if (type == mgmt::kVlanListMessage) {
        return withData(type, mgmt::encodeVlanList(vlanList()));
    }
    if (type == mgmt::kGlobalMessage || type == mgmt::kBindingListMessage ||
        type == mgmt::kExemptVlanListMessage) {
        const Listing listing;
        const auto data = listData(type);
        return data ? withData(type, *data) : mgmt::encodePlatformReply(type, mgmt::kRefused, "");
    }
    if (const auto answer = state.requestAnswers.find(type); answer != state.requestAnswers.end()) {
        const Listing listing;
        const auto text = mgmt::messageText(request);
        return withData(type, answer->second({reinterpret_cast<const uint8_t *>(text.data()), text.size()}));
    }
    if (type == mgmt::kCheckConfigMessage || type == mgmt::kApplyConfigMessage ||
        type == mgmt::kReplaceConfigMessage) {
        const auto text = mgmt::messageText(request);
        // A text entered is one change, told once.
        std::optional<ConfigChangeLog> change;
        if (type != mgmt::kCheckConfigMessage) {
            change.emplace(state.channel);
        }
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
    if (type == mgmt::kTraceMessage) {
        const auto text = mgmt::messageText(request);
        if (text.size() != 1 || (text[0] != 0 && text[0] != 1)) {
            return mgmt::encodePlatformReply(type, mgmt::kRefused, "");
        }
        host().settings.trace = text[0] == 1;
        logLine(LOG_NOTICE, std::string("the trace switched ") + (text[0] == 1 ? "on" : "off") + " through " +
                                state.channel);
        return mgmt::encodePlatformReply(type, 0, "");
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
