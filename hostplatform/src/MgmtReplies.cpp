#include "MgmtReplies.h"

#include <algorithm>
#include <string>
#include <vector>

#include "AtomicFile.h"
#include "ConfigService.h"
#include "mgmt_protocol/ManagementHeader.h"

namespace hostplatform {
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
