#include "HostSettings.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace hostplatform {
namespace {

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

std::optional<HostSettings> parseSettings(std::string_view text, std::string &error) {
    HostSettings settings;
    size_t lineNumber = 0;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++lineNumber;
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) {
            continue;
        }
        const size_t equals = line.find('=');
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string value(equals == std::string_view::npos ? "" : trimmed(line.substr(equals + 1)));
        const auto refuse = [&](const std::string &why) {
            error = "line " + std::to_string(lineNumber) + ": " + why;
            return std::nullopt;
        };
        if (equals == std::string_view::npos || value.empty()) {
            return refuse("expected \"key = value\"");
        }
        static const std::pair<std::string_view, std::string HostSettings::*> kPaths[] = {
            {"socket", &HostSettings::socketPath},
            {"boot-config", &HostSettings::bootConfig},
            {"binding-database", &HostSettings::bindingDatabase},
            {"metrics-file", &HostSettings::metricsFile},
        };
        const auto *path = std::find_if(std::begin(kPaths), std::end(kPaths),
                                        [&key](const auto &entry) { return entry.first == key; });
        if (path != std::end(kPaths)) {
            if (value.front() != '/') {
                return refuse("the " + std::string(key) + " path must be absolute");
            }
            settings.*(path->second) = value;
        } else if (key == "bridge") {
            settings.bridge = value;
        } else if (key == "agentx-socket") {
            settings.agentxSocket = value;
        } else if (key == "socket-group") {
            settings.socketGroup = value;
        } else if (key == "trace") {
            if (value != "on" && value != "off") {
                return refuse("trace is on or off");
            }
            settings.trace = value == "on";
        } else if (key == "metrics-interval") {
            const auto seconds = std::strtoul(value.c_str(), nullptr, 10);
            if (value.find_first_not_of("0123456789") != std::string::npos || seconds < 1 ||
                seconds > kLongestMetricsInterval) {
                return refuse("metrics-interval is a number of seconds from 1 to " +
                              std::to_string(kLongestMetricsInterval));
            }
            settings.metricsInterval = static_cast<uint32_t>(seconds);
        } else {
            return refuse("unknown setting \"" + std::string(key) + "\"");
        }
    }
    return settings;
}

std::optional<HostSettings> loadSettings(std::string &error) {
    const char *named = std::getenv(kSettingsPathVariable);
    const std::string path = named != nullptr ? named : kSettingsPath;
    std::ifstream file(path);
    if (!file) {
        if (named != nullptr) {
            error = path + ": cannot be read";
            return std::nullopt;
        }
        return HostSettings{};
    }
    std::stringstream text;
    text << file.rdbuf();
    auto settings = parseSettings(text.str(), error);
    if (!settings) {
        error = path + ": " + error;
    }
    return settings;
}

}  // namespace hostplatform
