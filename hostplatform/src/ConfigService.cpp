#include "ConfigService.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "HostState.h"
#include "mgmt_protocol/ConfigDifference.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "platform/PlatformVariables.h"
#include "platform/RmWrapApi.h"

namespace hostplatform {
namespace {

// The port of an interface name; the blank that stands between "interface ethernet" and the name on this
// platform must be there, and is not part of it.
std::optional<uint32_t> portNamed(std::string_view name) {
    if (!name.starts_with(' ')) {
        return std::nullopt;
    }
    name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
    const auto &ports = host().bridge.ports;
    const auto found = std::find_if(ports.begin(), ports.end(), [name](const BridgePort &port) {
        return port.ifindex != 0 && port.name == name;
    });
    return found == ports.end() ? std::nullopt : std::optional<uint32_t>(found - ports.begin() + 1);
}

// The refused lines as the child writes them to its parent: number, line and reason, a tab apart (a tab
// inside the line is written as a space), a line each.
std::string serialise(const std::vector<mgmt::ConfigLineError> &errors) {
    std::string text;
    for (const auto &error : errors) {
        std::string line = error.line;
        std::replace(line.begin(), line.end(), '\t', ' ');
        text += std::to_string(error.lineNumber) + "\t" + line + "\t" + error.reason + "\n";
    }
    return text;
}

std::vector<mgmt::ConfigLineError> deserialise(std::string_view text) {
    std::vector<mgmt::ConfigLineError> errors;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const size_t first = line.find('\t');
        const size_t last = line.rfind('\t');
        if (first == std::string_view::npos || first == last) {
            continue;
        }
        errors.push_back(
            {static_cast<uint32_t>(std::strtoul(std::string(line.substr(0, first)).c_str(), nullptr, 10)),
             std::string(line.substr(first + 1, last - first - 1)), std::string(line.substr(last + 1))});
    }
    return errors;
}

std::vector<mgmt::ConfigLineError> checkFailed(const std::string &why) {
    return {{0, "", "the check could not run: " + why}};
}

}  // namespace

std::optional<mgmt::DecodedRemoteCall> callInProcess(uint32_t callNumber,
                                                     const std::vector<mgmt::Bytes> &arguments) {
    mgmt::Bytes message = mgmt::encodeRemoteCall(callNumber, arguments);
    if (message.size() > SMD_MSG_RECV_BUFFER_SIZE) {
        return std::nullopt;
    }
    host().lastRequestLength = message.size();
    const size_t length = message.size();
    message.resize(SMD_MSG_RECV_BUFFER_SIZE);
    smdCfgRmWrapProcess(message.data());
    message.resize(length);
    return mgmt::decodeRemoteCall(message);
}

std::vector<mgmt::ConfigLineError> enterConfigText(std::string_view text) {
    const mgmt::CallDaemon call = [](uint32_t callNumber, const std::vector<mgmt::Bytes> &arguments) {
        const auto reply = callInProcess(callNumber, arguments);
        return reply ? std::optional<int32_t>(reply->result) : std::nullopt;
    };
    return mgmt::applyConfigText(text, call, portNamed);
}

std::vector<mgmt::ConfigLineError> checkConfigText(std::string_view text, bool fromDefaults) {
    std::array<int, 2> channel{};
    if (pipe2(channel.data(), O_CLOEXEC) != 0) {
        return checkFailed(std::strerror(errno));
    }
    const pid_t child = fork();
    if (child < 0) {
        close(channel[0]);
        close(channel[1]);
        return checkFailed(std::strerror(errno));
    }
    if (child == 0) {
        // The copy says nothing: no log line, no trace on standard error, and it ends without a commit of
        // its filters or any clean-up that would touch what the daemon holds.
        close(channel[0]);
        host().quiet = true;
        // Should /dev/null not open, standard error stays as it was; the copy writes nothing there anyway.
        FILE *const silenced = std::freopen("/dev/null", "w", stderr);
        static_cast<void>(silenced);
        if (fromDefaults) {
            callInProcess(mgmt::kResetConfig, {});
        }
        const std::string errors = serialise(enterConfigText(text));
        const bool written =
            write(channel[1], errors.data(), errors.size()) == static_cast<ssize_t>(errors.size());
        _exit(written ? 0 : 1);
    }
    close(channel[1]);
    std::string written;
    std::array<char, 4096> chunk{};
    for (ssize_t got = 0; (got = read(channel[0], chunk.data(), chunk.size())) != 0;) {
        if (got < 0 && errno != EINTR) {
            break;
        }
        written.append(chunk.data(), static_cast<size_t>(std::max<ssize_t>(got, 0)));
    }
    close(channel[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        return checkFailed("the copy of the daemon did not finish");
    }
    return deserialise(written);
}

std::vector<mgmt::ConfigLineError> enterConfigTextWhole(std::string_view text) {
    auto errors = checkConfigText(text);
    return errors.empty() ? enterConfigText(text) : errors;
}

std::vector<mgmt::ConfigLineError> replaceConfigText(std::string_view text) {
    auto errors = checkConfigText(text, /*fromDefaults=*/true);
    const auto before = runningConfigText();
    if (!errors.empty() || !before) {
        return before ? errors : checkFailed("the daemon gave no running configuration");
    }
    errors = enterConfigText(mgmt::configDifference(*before, text));
    if (!errors.empty()) {
        enterConfigText(mgmt::configDifference(runningConfigText().value_or(""), *before));
        for (auto &error : errors) {
            error.reason += " (while entering the differences; the configuration before is restored)";
        }
    }
    return errors;
}

std::optional<std::string> runningConfigText() {
    // Room for 512 static bindings at under 100 bytes a line and the rest of the configuration, with room to
    // spare.
    constexpr uint32_t kCapacity = 128U << 10U;
    const auto callback = host().runningConfig;
    if (callback == nullptr) {
        return std::nullopt;
    }
    std::vector<char> text(kCapacity + 1, '\0');
    uint32_t remaining = kCapacity;
    if (callback(text.data(), &remaining) != 0) {
        return std::nullopt;
    }
    return std::string(text.data());
}

std::string describe(const mgmt::ConfigLineError &error) {
    if (error.lineNumber == 0) {
        return error.reason;
    }
    return "line " + std::to_string(error.lineNumber) + ": " + error.line + ": " + error.reason;
}

}  // namespace hostplatform
