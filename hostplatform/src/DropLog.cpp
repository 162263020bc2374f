#include "DropLog.h"

#include <syslog.h>

#include <algorithm>

#include "HostFacts.h"
#include "HostState.h"
#include "mgmt_protocol/Vocabulary.h"
#include "platform/VosApi.h"

namespace hostplatform {
namespace {

std::string inWords(std::string_view key) {
    std::string words(key);
    std::ranges::replace(words, '_', ' ');
    return words;
}

DropLog &platformDropLog() {
    static DropLog log;
    return log;
}

}  // namespace

std::optional<std::string> DropLog::note(const DroppedFrame &frame, std::string_view portName,
                                         uint64_t second) {
    auto found = reasons_.find(frame.reason);
    if (found == reasons_.end()) {
        found = reasons_.emplace(std::string(frame.reason), PerReason{}).first;
    }
    PerReason &reason = found->second;
    if (reason.second != second) {
        reason.second = second;
        reason.lines = 0;
    }
    if (reason.lines == kLinesPerReasonPerSecond) {
        ++reason.untold;
        return std::nullopt;
    }
    ++reason.lines;
    std::string line = "dropped " + std::string(frame.messageType);
    if (frame.mac != nullptr) {
        line += " from " + mgmt::macText(frame.mac);
    }
    return line + " on port " + std::string(portName) + " VLAN " + std::to_string(frame.vlan) + ": " +
           inWords(frame.reason);
}

std::vector<std::string> DropLog::untold() {
    std::vector<std::string> lines;
    for (auto &[key, reason] : reasons_) {
        if (reason.untold != 0) {
            lines.push_back(std::to_string(reason.untold) + " more frames dropped (" + inWords(key) +
                            ") without a line each");
            reason.untold = 0;
        }
    }
    return lines;
}

void logDrop(const DroppedFrame &frame) {
    const std::string_view known = portNameOf(frame.port);
    const std::string_view portName = known.empty() ? "none" : known;
    if (const auto line = platformDropLog().note(frame, portName, vosUpSeconds())) {
        logLine(LOG_INFO, *line);
    }
}

void logUntoldDrops() {
    for (const std::string &line : platformDropLog().untold()) {
        logLine(LOG_INFO, line);
    }
}

}  // namespace hostplatform
