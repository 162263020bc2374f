// dhcp6snoopingctl: the command line of the dhcp6snooping daemon on a Linux host. It configures the daemon in
// the running-configuration syntax and shows what the daemon knows, as text or, with --json, as JSON.

#include <arpa/inet.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "DaemonLink.h"
#include "Views.h"
#include "mgmt_protocol/ConfigInterpreter.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "snooping/BulkRemoval.h"

namespace {

constexpr char kDefaultSocket[] = "/run/dhcp6snooping/mgmt.sock";
constexpr int kRefused = 1;
constexpr int kUsage = 2;

constexpr char kUsageText[] = R"(usage: dhcp6snoopingctl [--socket PATH] [-j|--json] COMMAND

Commands:
  show global | ports | vlans | clients | bindings | exempt-vlans | running-config | storage
  config LINE...          enter the LINEs as running-configuration text, all of them or none
  apply [--check] FILE|-  enter a saved running configuration from FILE or standard input, all of it or
                          none; with --check, only say which lines the daemon would refuse
  replace FILE|-          make the configuration exactly FILE's, entering only what differs (learned
                          clients are kept); nothing changes when a line is refused
  save                    write the running configuration to the boot configuration file
  show storage            where the boot configuration and the binding database are, and their age
  clear clients [port NAME | vlan ID | mac MAC | address IPV6]
  reset                   return every setting to its default

Options:
  --socket PATH           the daemon's management socket (default /run/dhcp6snooping/mgmt.sock)
  -j, --json[=pretty|short]
                          show commands print JSON, indented (pretty, the default) or on one line;
                          the options may stand anywhere on the line
  -h, --help              print this help
See dhcp6snoopingctl(8).
)";

// A command line the tool cannot take.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::string socket = kDefaultSocket;
    bool json = false;
    int indent = 2;  // of the JSON printed; -1 prints it on one line
    std::vector<std::string> words;
};

// The options may stand anywhere on the line, before the command or after it; every other word is the
// command's, "-" (standard input) and "--check" included.
Options parseOptions(int argc, char *argv[]) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--socket") {
            if (++i == argc) {
                throw UsageError("--socket needs a path");
            }
            options.socket = argv[i];
        } else if (word == "-j" || word == "--json" || word == "--json=pretty") {
            options.json = true;
        } else if (word == "--json=short") {
            options.json = true;
            options.indent = -1;
        } else if (word.starts_with("--json=")) {
            throw UsageError("--json takes pretty or short, not " + word.substr(7));
        } else if (word.starts_with("-") && word != "-" && word != "--check") {
            throw UsageError("unknown option: " + word);
        } else {
            options.words.push_back(word);
        }
    }
    if (options.words.empty()) {
        throw UsageError("no command given");
    }
    return options;
}

int show(const Options &options) {
    using View = nlohmann::json (*)(ctl::DaemonLink &);
    static const std::map<std::string, View> kViews = {
        {"global", ctl::globalView},     {"ports", ctl::portsView},
        {"vlans", ctl::vlansView},       {"clients", ctl::clientsView},
        {"bindings", ctl::bindingsView}, {"exempt-vlans", ctl::exemptVlansView},
        {"storage", ctl::storageView},
    };
    if (options.words.size() != 2) {
        throw UsageError(
            "show takes one of: global, ports, vlans, clients, bindings, exempt-vlans, running-config, "
            "storage");
    }
    const std::string &view = options.words[1];
    if (view == "running-config") {
        const std::string text = ctl::DaemonLink(options.socket).runningConfig();
        std::cout << (options.json ? nlohmann::json{{"running_config", text}}.dump(options.indent) + "\n"
                                   : text);
        return 0;
    }
    const auto found = kViews.find(view);
    if (found == kViews.end()) {
        throw UsageError("nothing to show by the name " + view);
    }
    ctl::DaemonLink daemon(options.socket);
    const auto value = found->second(daemon);
    std::cout << (options.json ? value.dump(options.indent) + "\n" : ctl::viewText(view, value));
    return 0;
}

// Enters `text` whole or not at all (or, for mgmt::kCheckConfigMessage, only checks it): the lines that the
// command line itself cannot read are refused first, with `unreadable` as the exit code and nothing sent;
// then the daemon checks every line on a copy of itself before it enters any. Each refused line is printed
// with its number and reason.
int enter(const Options &options, const std::string &text, uint16_t request, int unreadable) {
    ctl::DaemonLink daemon(options.socket);
    const mgmt::CallDaemon readOnly = [](uint32_t, const std::vector<mgmt::Bytes> &) {
        return std::optional<int32_t>(0);
    };
    const mgmt::FindPort findPort = [&daemon](std::string_view name) {
        return daemon.portNamed(std::string(name));
    };
    const auto errors = mgmt::applyConfigText(text, readOnly, findPort);
    for (const auto &error : errors) {
        std::cerr << "line " << error.lineNumber << ": " << error.line << ": " << error.reason << "\n";
    }
    if (!errors.empty()) {
        std::cerr << "dhcp6snoopingctl: nothing was entered\n";
        return unreadable;
    }
    const auto [refused, described] = daemon.platformRequest(request, text);
    std::cerr << described;
    if (refused != 0) {
        std::cerr << "dhcp6snoopingctl: nothing was entered\n";
        return kRefused;
    }
    return 0;
}

// The text of the file the command names last, or of standard input for "-".
std::string fileText(const Options &options) {
    const std::string &name = options.words.back();
    std::stringstream text;
    if (name == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream file(name);
        if (!file) {
            throw ctl::CommandFailure("cannot read " + name);
        }
        text << file.rdbuf();
    }
    return text.str();
}

int apply(const Options &options) {
    const bool check = options.words.size() == 3 && options.words[1] == "--check";
    if (options.words.size() != (check ? 3U : 2U)) {
        throw UsageError("apply takes one file, or - for standard input, after --check if given");
    }
    return enter(options, fileText(options), check ? mgmt::kCheckConfigMessage : mgmt::kApplyConfigMessage,
                 kRefused);
}

int replace(const Options &options) {
    if (options.words.size() != 2) {
        throw UsageError("replace takes one file, or - for standard input");
    }
    return enter(options, fileText(options), mgmt::kReplaceConfigMessage, kRefused);
}

int config(const Options &options) {
    if (options.words.size() < 2) {
        throw UsageError("config takes the lines to enter");
    }
    std::string text;
    for (size_t i = 1; i < options.words.size(); ++i) {
        text += options.words[i] + "\n";
    }
    return enter(options, text, mgmt::kApplyConfigMessage, kUsage);
}

int save(const Options &options) {
    if (options.words.size() != 1) {
        throw UsageError("save takes no arguments");
    }
    const auto [result, text] = ctl::DaemonLink(options.socket).platformRequest(mgmt::kSaveConfigMessage);
    if (result != 0) {
        throw ctl::CommandFailure("the running configuration was not saved: " + text);
    }
    std::cout << "saved the running configuration to " << text << "\n";
    return 0;
}

int clearClients(const Options &options) {
    const auto &words = options.words;
    if (words.size() < 2 || words[1] != "clients" || (words.size() != 2 && words.size() != 4)) {
        throw UsageError("clear clients takes nothing, or one of: port NAME, vlan ID, mac MAC, address IPV6");
    }
    DeleteSelector selector{};
    selector.kind = DELETE_ALL;
    std::optional<std::string> portName;
    if (words.size() == 4) {
        const std::string &kind = words[2];
        const std::string &value = words[3];
        if (kind == "port") {
            selector.kind = DELETE_BY_PORT;
            portName = value;
        } else if (kind == "vlan") {
            char *end = nullptr;
            const unsigned long vlan = std::strtoul(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || vlan < 1 || vlan > 4094) {
                throw UsageError("not a VLAN from 1 to 4094: " + value);
            }
            selector.kind = DELETE_BY_VLAN;
            selector.vlanId = static_cast<uint32_t>(vlan);
        } else if (kind == "mac") {
            int used = 0;
            uint8_t *m = selector.mac;
            if (std::sscanf(value.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &m[0], &m[1], &m[2],
                            &m[3], &m[4], &m[5], &used) != 6 ||
                static_cast<size_t>(used) != value.size()) {
                throw UsageError("not a MAC address: " + value);
            }
            selector.kind = DELETE_BY_MAC;
        } else if (kind == "address") {
            if (inet_pton(AF_INET6, value.c_str(), selector.address) != 1) {
                throw UsageError("not an IPv6 address: " + value);
            }
            selector.kind = DELETE_BY_ADDRESS;
        } else {
            throw UsageError("clients are cleared by port, vlan, mac or address, not by " + kind);
        }
    }
    ctl::DaemonLink daemon(options.socket);
    if (portName) {
        const auto port = daemon.portNamed(*portName);
        if (!port) {
            throw UsageError("no such port: " + *portName);
        }
        selector.portIndex = *port;
    }
    daemon.require(mgmt::kDeleteClients, {ctl::bytesOf(selector)}, "clear clients");
    return 0;
}

int reset(const Options &options) {
    if (options.words.size() != 1) {
        throw UsageError("reset takes no arguments");
    }
    ctl::DaemonLink(options.socket).require(mgmt::kResetConfig, {}, "the reset");
    return 0;
}

}  // namespace

int main(int argc, char *argv[]) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) {
            std::cout << kUsageText;
            return 0;
        }
    }
    try {
        const Options options = parseOptions(argc, argv);
        const std::string &command = options.words[0];
        if (command == "show") {
            return show(options);
        }
        if (command == "apply") {
            return apply(options);
        }
        if (command == "config") {
            return config(options);
        }
        if (command == "replace") {
            return replace(options);
        }
        if (command == "save") {
            return save(options);
        }
        if (command == "clear") {
            return clearClients(options);
        }
        if (command == "reset") {
            return reset(options);
        }
        throw UsageError("unknown command: " + command);
    } catch (const UsageError &error) {
        std::cerr << "dhcp6snoopingctl: " << error.what() << "\n"
                  << "Try 'dhcp6snoopingctl --help'.\n";
        return kUsage;
    } catch (const ctl::CommandFailure &error) {
        std::cerr << "dhcp6snoopingctl: " << error.what() << "\n";
        return kRefused;
    } catch (const std::exception &error) {
        std::cerr << "dhcp6snoopingctl: " << error.what() << "\n";
        return kRefused;
    }
}
