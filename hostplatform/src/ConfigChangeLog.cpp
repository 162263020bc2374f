#include "ConfigChangeLog.h"

#include <arpa/inet.h>
#include <syslog.h>

#include "ConfigService.h"
#include "HostFacts.h"
#include "HostState.h"
#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/ConfigDifference.h"
#include "mgmt_protocol/Vocabulary.h"

namespace hostplatform {
namespace {

// A whole configuration entered at once can differ in thousands of lines; the log line tells the first.
constexpr size_t kLongestSummary = 960;

int &openChanges() {
    static int count = 0;
    return count;
}

std::string portText(uint32_t port) {
    const std::string_view name = portNameOf(port);
    return name.empty() ? std::to_string(port) : std::string(name);
}

std::string clearedClients(const mgmt::ClientSelection &selection) {
    switch (selection.kind) {
        case mgmt::ClearBy::kPort:
            return "the clients of port " + portText(selection.port) + " cleared";
        case mgmt::ClearBy::kVlan:
            return "the clients of VLAN " + std::to_string(selection.vlan) + " cleared";
        case mgmt::ClearBy::kMac:
            return "the client " + mgmt::macText(selection.mac.data()) + " cleared";
        case mgmt::ClearBy::kAddress: {
            char text[INET6_ADDRSTRLEN] = {};
            inet_ntop(AF_INET6, selection.address.data(), text, sizeof text);
            return std::string("the binding of ") + text + " cleared";
        }
        case mgmt::ClearBy::kAll:
            return "every client cleared";
    }
    return "clients cleared";
}

}  // namespace

ConfigChangeLog::ConfigChangeLog(std::string channel, std::string asked)
    : outermost_(openChanges()++ == 0 && !host().quiet),
      channel_(std::move(channel)),
      asked_(std::move(asked)),
      before_(outermost_ ? runningConfigText().value_or("") : "") {}

ConfigChangeLog::~ConfigChangeLog() {
    --openChanges();
    if (!outermost_) {
        return;
    }
    std::string summary = mgmt::configChangeSummary(before_, runningConfigText().value_or(""));
    if (summary.size() > kLongestSummary) {
        summary.resize(kLongestSummary);
        summary += " ...";
    }
    if (!summary.empty()) {
        logLine(LOG_NOTICE, "configuration changed through " + channel_ + ": " + summary);
    } else if (!asked_.empty()) {
        logLine(LOG_NOTICE, asked_ + " through " + channel_);
    }
}

std::string askedByCall(const mgmt::DecodedRemoteCall &call) {
    if (call.callNumber == mgmt::kDeleteClients && call.arguments.size() == 1 &&
        call.arguments[0].size() == mgmt::kDeleteSelectorSize) {
        return clearedClients(
            mgmt::clientSelectionOf(std::span<const uint8_t, mgmt::kDeleteSelectorSize>(call.arguments[0])));
    }
    if (call.callNumber == mgmt::kResetVlanCounts) {
        return "the client counts of VLANs reset";
    }
    if (call.callNumber == mgmt::kResetConfig) {
        return "the configuration reset to its defaults";
    }
    return "";
}

}  // namespace hostplatform
