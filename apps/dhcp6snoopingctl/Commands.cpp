#include "Commands.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include "StatisticsView.h"
#include "Views.h"
#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/ConfigInterpreter.h"
#include "mgmt_protocol/RemoteCallNumbers.h"
#include "mgmt_protocol/Statistics.h"
#include "mgmt_protocol/Vocabulary.h"

namespace ctl {

const char *const kUsageText = R"(usage: dhcp6snoopingctl [--socket PATH] [-j|--json] COMMAND

Commands:
  show global | ports | vlans | clients | bindings | exempt-vlans | running-config | storage
  show statistics [port NAME]
                          frames passed and dropped (and why), bindings learned and lost, filter
                          requests, and what source guard dropped: every port's and their sum, or one
  config LINE...          enter the LINEs as running-configuration text, all of them or none
  apply [--check] FILE|-  enter a saved running configuration from FILE or standard input, all of it or
                          none; with --check, only say which lines the daemon would refuse
  replace FILE|-          make the configuration exactly FILE's, entering only what differs (learned
                          clients are kept); nothing changes when a line is refused
  save                    write the running configuration to the boot configuration file
  show storage            where the boot configuration and the binding database are, and their age
  clear clients [port NAME | vlan ID | mac MAC | address IPV6]
  clear statistics        set every counter back to 0
  debug on|off            switch the daemon's trace lines in the system log on or off
  reset                   return every setting to its default

Options:
  --socket PATH           the daemon's management socket (default /run/dhcp6snooping/mgmt.sock)
  -j, --json[=pretty|short]
                          show commands print JSON, indented (pretty, the default) or on one line;
                          the options may stand anywhere on the line
  -h, --help              print this help
See dhcp6snoopingctl(8).
)";

// The options may stand anywhere on the line, before the command or after it; every other word is the
// command's, "-" (standard input) and "--check" included.

Options parseOptions(const std::vector<std::string> &arguments) {
    Options options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string &word = arguments[i];
        if (word == "--socket") {
            if (++i == arguments.size()) {
                throw UsageError("--socket needs a path");
            }
            options.socket = arguments[i];
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

namespace {

int show(const Options &options, Session &session) {
    using View = nlohmann::json (*)(DaemonLink &);
    static const std::map<std::string, View> kViews = {
        {"global", globalView},
        {"ports", portsView},
        {"vlans", vlansView},
        {"bindings", bindingsView},
        {"exempt-vlans", exemptVlansView},
        {"storage", storageView},
    };
    const auto &words = options.words;
    if (words.size() == 4 && words[1] == "statistics" && words[2] == "port") {
        const auto value = statisticsView(session.daemon, words[3]);
        session.out << (options.json ? value.dump(options.indent) + "\n" : statisticsText(value));
        return 0;
    }
    if (words.size() != 2) {
        throw UsageError(
            "show takes one of: global, ports, vlans, clients, bindings, exempt-vlans, running-config, "
            "storage, statistics [port NAME]");
    }
    const std::string &view = words[1];
    if (view == "statistics") {
        const auto value = statisticsView(session.daemon, std::nullopt);
        session.out << (options.json ? value.dump(options.indent) + "\n" : statisticsText(value));
        return 0;
    }
    if (view == "clients") {
        printClients(session.daemon, session.out, options.json, options.indent);
        return 0;
    }
    if (view == "running-config") {
        const std::string text = session.daemon.runningConfig();
        session.out << (options.json ? nlohmann::json{{"running_config", text}}.dump(options.indent) + "\n"
                                     : text);
        return 0;
    }
    const auto found = kViews.find(view);
    if (found == kViews.end()) {
        throw UsageError("nothing to show by the name " + view);
    }
    DaemonLink &daemon = session.daemon;
    const auto value = found->second(daemon);
    session.out << (options.json ? value.dump(options.indent) + "\n" : viewText(view, value));
    return 0;
}

// Enters `text` whole or not at all (or, for mgmt::kCheckConfigMessage, only checks it): the lines that the
// command line itself cannot read are refused first, with `unreadable` as the exit code and nothing sent;
// then the daemon checks every line on a copy of itself before it enters any. Each refused line is printed
// with its number and reason.
int enter(const std::string &text, uint16_t request, int unreadable, Session &session) {
    DaemonLink &daemon = session.daemon;
    const mgmt::CallDaemon readOnly = [](uint32_t, const std::vector<mgmt::Bytes> &) {
        return std::optional<int32_t>(0);
    };
    const mgmt::FindPort findPort = [&daemon](std::string_view name) {
        return daemon.portNamed(std::string(name));
    };
    const auto errors = mgmt::applyConfigText(text, readOnly, findPort);
    for (const auto &error : errors) {
        session.err << "line " << error.lineNumber << ": " << error.line << ": " << error.reason << "\n";
    }
    if (!errors.empty()) {
        session.err << "dhcp6snoopingctl: nothing was entered\n";
        return unreadable;
    }
    const auto [refused, described] = daemon.platformRequest(request, text);
    session.err << described;
    if (refused != 0) {
        session.err << "dhcp6snoopingctl: nothing was entered\n";
        return kRefused;
    }
    return 0;
}

// The text of the file the command names last, or of standard input for "-".
std::string fileText(const Options &options, Session &session) {
    const std::string &name = options.words.back();
    std::stringstream text;
    if (name == "-") {
        text << session.in.rdbuf();
    } else {
        std::ifstream file(name);
        if (!file) {
            throw CommandFailure("cannot read " + name);
        }
        text << file.rdbuf();
    }
    return text.str();
}

int apply(const Options &options, Session &session) {
    const bool check = options.words.size() == 3 && options.words[1] == "--check";
    if (options.words.size() != (check ? 3U : 2U)) {
        throw UsageError("apply takes one file, or - for standard input, after --check if given");
    }
    return enter(fileText(options, session), check ? mgmt::kCheckConfigMessage : mgmt::kApplyConfigMessage,
                 kRefused, session);
}

int replace(const Options &options, Session &session) {
    if (options.words.size() != 2) {
        throw UsageError("replace takes one file, or - for standard input");
    }
    return enter(fileText(options, session), mgmt::kReplaceConfigMessage, kRefused, session);
}

int config(const Options &options, Session &session) {
    if (options.words.size() < 2) {
        throw UsageError("config takes the lines to enter");
    }
    std::string text;
    for (size_t i = 1; i < options.words.size(); ++i) {
        text += options.words[i] + "\n";
    }
    return enter(text, mgmt::kApplyConfigMessage, kUsage, session);
}

int save(const Options &options, Session &session) {
    if (options.words.size() != 1) {
        throw UsageError("save takes no arguments");
    }
    const auto [result, text] = session.daemon.platformRequest(mgmt::kSaveConfigMessage);
    if (result != 0) {
        throw CommandFailure("the running configuration was not saved: " + text);
    }
    session.out << "saved the running configuration to " << text << "\n";
    return 0;
}

int clearStatistics(const Options &options, Session &session) {
    if (options.words.size() != 2) {
        throw UsageError("clear statistics takes nothing more");
    }
    if (session.daemon.platformRequest(mgmt::kClearStatisticsMessage).first != 0) {
        throw CommandFailure("the statistics were not cleared");
    }
    return 0;
}

int clearClients(const Options &options, Session &session) {
    const auto &words = options.words;
    if (words.size() >= 2 && words[1] == "statistics") {
        return clearStatistics(options, session);
    }
    if (words.size() < 2 || words[1] != "clients" || (words.size() != 2 && words.size() != 4)) {
        throw UsageError(
            "clear takes statistics, or clients and nothing, or one of: port NAME, vlan ID, mac MAC, address "
            "IPV6");
    }
    mgmt::ClientSelection selector;
    std::optional<std::string> portName;
    if (words.size() == 4) {
        const std::string &kind = words[2];
        const std::string &value = words[3];
        if (kind == "port") {
            selector.kind = mgmt::ClearBy::kPort;
            portName = value;
        } else if (kind == "vlan") {
            char *end = nullptr;
            const unsigned long vlan = std::strtoul(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || vlan < mgmt::kLowestVlan || vlan > mgmt::kHighestVlan) {
                throw UsageError("not a VLAN from 1 to 4094: " + value);
            }
            selector.kind = mgmt::ClearBy::kVlan;
            selector.vlan = static_cast<uint32_t>(vlan);
        } else if (kind == "mac") {
            const auto mac = mgmt::parseMac(value);
            if (!mac) {
                throw UsageError("not a MAC address: " + value);
            }
            selector.mac = *mac;
            selector.kind = mgmt::ClearBy::kMac;
        } else if (kind == "address") {
            if (inet_pton(AF_INET6, value.c_str(), selector.address.data()) != 1) {
                throw UsageError("not an IPv6 address: " + value);
            }
            selector.kind = mgmt::ClearBy::kAddress;
        } else {
            throw UsageError("clients are cleared by port, vlan, mac or address, not by " + kind);
        }
    }
    DaemonLink &daemon = session.daemon;
    if (portName) {
        const auto port = daemon.portNamed(*portName);
        if (!port) {
            throw UsageError("no such port: " + *portName);
        }
        selector.port = *port;
    }
    daemon.require(mgmt::kDeleteClients, {mgmt::clearClientsArgument(selector)}, "clear clients");
    return 0;
}

int debug(const Options &options, Session &session) {
    const auto &words = options.words;
    if (words.size() != 2 || (words[1] != "on" && words[1] != "off")) {
        throw UsageError("debug takes on or off");
    }
    const char on = words[1] == "on" ? 1 : 0;
    if (session.daemon.platformRequest(mgmt::kTraceMessage, std::string_view(&on, 1)).first != 0) {
        throw CommandFailure("the trace was not switched " + words[1]);
    }
    return 0;
}

int reset(const Options &options, Session &session) {
    if (options.words.size() != 1) {
        throw UsageError("reset takes no arguments");
    }
    session.daemon.require(mgmt::kResetConfig, {}, "the reset");
    return 0;
}

}  // namespace

int runCommand(const Options &options, Session &session) {
    using Command = int (*)(const Options &, Session &);
    static const std::map<std::string, Command> kCommands = {
        {"show", show}, {"apply", apply},        {"config", config}, {"replace", replace},
        {"save", save}, {"clear", clearClients}, {"reset", reset},   {"debug", debug},
    };
    const auto found = kCommands.find(options.words.at(0));
    if (found == kCommands.end()) {
        throw UsageError("unknown command: " + options.words[0]);
    }
    return found->second(options, session);
}

int runCommandLine(const std::vector<std::string> &arguments, const ConnectTo &connect, std::istream &in,
                   std::ostream &out, std::ostream &err) {
    if (std::ranges::any_of(arguments,
                            [](const std::string &word) { return word == "-h" || word == "--help"; })) {
        out << kUsageText;
        return 0;
    }
    try {
        const Options options = parseOptions(arguments);
        DaemonLink daemon([&] { return connect(options.socket); });
        Session session{daemon, in, out, err};
        return runCommand(options, session);
    } catch (const UsageError &error) {
        err << "dhcp6snoopingctl: " << error.what() << "\n"
            << "Try 'dhcp6snoopingctl --help'.\n";
        return kUsage;
    } catch (const std::exception &error) {
        err << "dhcp6snoopingctl: " << error.what() << "\n";
        return kRefused;
    }
}

}  // namespace ctl
