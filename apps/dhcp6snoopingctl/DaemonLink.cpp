#include "DaemonLink.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "mgmt_protocol/RefusalText.h"

namespace ctl {

mgmt::Bytes DaemonLink::exchange(const mgmt::Bytes &request) {
    if (!transport_) {
        transport_ = connect_();
    }
    auto reply = transport_->exchange(request);
    if (const uint16_t version = mgmt::messageVersion(reply); version != mgmt::kProtocolVersion) {
        throw CommandFailure("the daemon speaks version " + std::to_string(version) +
                             " of the management protocol and this command version " +
                             std::to_string(mgmt::kProtocolVersion) +
                             "; use the dhcp6snoopingctl of its release");
    }
    return reply;
}

std::optional<mgmt::DecodedRemoteCall> DaemonLink::call(uint32_t callNumber,
                                                        const std::vector<mgmt::Bytes> &arguments) {
    auto reply = mgmt::decodeRemoteCall(exchange(mgmt::encodeRemoteCall(callNumber, arguments)));
    if (!reply || reply->callNumber != callNumber) {
        return std::nullopt;
    }
    return reply;
}

mgmt::DecodedRemoteCall DaemonLink::require(uint32_t callNumber, const std::vector<mgmt::Bytes> &arguments,
                                            const std::string &what) {
    auto reply = call(callNumber, arguments);
    if (!reply) {
        throw CommandFailure("the daemon gave no answer to " + what);
    }
    if (reply->result != 0) {
        throw CommandFailure(mgmt::refusalSentence(callNumber, reply->result, what));
    }
    return std::move(*reply);
}

std::vector<std::string> DaemonLink::portNames() {
    if (!portNames_) {
        const auto reply = exchange(mgmt::encodePlatformRequest(mgmt::kPortNamesMessage));
        std::string_view text = mgmt::messageText(reply);
        portNames_.emplace();
        while (!text.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            portNames_->emplace_back(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }
    return *portNames_;
}

std::string DaemonLink::runningConfig() {
    const auto reply = exchange(mgmt::encodePlatformRequest(mgmt::kRunningConfigMessage));
    if (mgmt::messageType(reply) != mgmt::kRunningConfigMessage ||
        mgmt::loadAt<int32_t>(reply, mgmt::kResultOffset) != 0) {
        throw CommandFailure("the daemon could not write its running configuration");
    }
    std::string text(mgmt::messageText(reply));
    std::erase(text, '\r');
    return text;
}

std::pair<int32_t, std::string> DaemonLink::platformRequest(uint16_t type, std::string_view text) {
    const auto reply = exchange(mgmt::encodePlatformRequest(type, text));
    if (mgmt::messageType(reply) != type) {
        throw CommandFailure("the daemon does not take this request; is it older than this command?");
    }
    return {mgmt::loadAt<int32_t>(reply, mgmt::kResultOffset), std::string(mgmt::messageText(reply))};
}

std::optional<uint32_t> DaemonLink::portNamed(std::string name) {
    name.erase(0, name.find_first_not_of(" \t"));
    const auto names = portNames();
    const auto found = std::find(names.begin(), names.end(), name);
    if (name.empty() || found == names.end()) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(found - names.begin() + 1);
}

std::vector<mgmt::ClientView> DaemonLink::clients() {
    std::vector<mgmt::ClientView> clients;
    std::array<uint8_t, 6> after{};
    for (;;) {
        const auto [result, data] = platformRequest(
            mgmt::kClientPageMessage, {reinterpret_cast<const char *>(after.data()), after.size()});
        auto page = mgmt::decodeClientPage({reinterpret_cast<const uint8_t *>(data.data()), data.size()});
        if (result != 0 || !page) {
            throw CommandFailure("the daemon gave no list of its clients");
        }
        std::ranges::move(page->clients, std::back_inserter(clients));
        if (!page->more || clients.empty()) {
            return clients;
        }
        after = clients.back().mac;
    }
}

}  // namespace ctl
