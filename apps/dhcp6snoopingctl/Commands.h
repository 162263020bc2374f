#pragma once
// The commands of dhcp6snoopingctl, apart from where their words come from and where the daemon is: the
// options as the command line gives them, and each command run against a link to a daemon, printing on
// the streams it is handed.

#include <functional>
#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "DaemonLink.h"

namespace ctl {

inline constexpr char kDefaultSocket[] = "/run/dhcp6snooping/mgmt.sock";
// Exit codes: refused by the daemon or not reached; a command line the tool cannot take.
inline constexpr int kRefused = 1;
inline constexpr int kUsage = 2;

extern const char *const kUsageText;

// A command line the tool cannot take; nothing was sent.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::string socket = kDefaultSocket;
    bool json = false;
    int indent = 2;  // of the JSON printed; -1 prints it on one line
    std::vector<std::string> words;
};

// The options, anywhere among `arguments` (the command line without the program's name), and the
// command's words.
Options parseOptions(const std::vector<std::string> &arguments);

struct Session {
    DaemonLink &daemon;
    std::istream &in;
    std::ostream &out;
    std::ostream &err;
};

// Runs the command; its exit code. It throws UsageError for words it cannot take and CommandFailure when
// the daemon cannot be reached or refuses.
int runCommand(const Options &options, Session &session);

// The whole program after its name: `arguments` parsed and run against the daemon that `connect` reaches
// (with the options' socket path), every failure told on `err`; the exit code.
using ConnectTo = std::function<std::unique_ptr<Transport>(const std::string &socketPath)>;
int runCommandLine(const std::vector<std::string> &arguments, const ConnectTo &connect, std::istream &in,
                   std::ostream &out, std::ostream &err);

}  // namespace ctl
