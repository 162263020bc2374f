#pragma once
// The command line's link to a running daemon: its remote calls, and the requests its platform answers
// (the running configuration, the names of the ports, the whole lists). Every failure carries a sentence
// for the operator.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Transport.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/ManagementHeader.h"

namespace ctl {

// What stops a command: the daemon cannot be reached, or it refused.
struct CommandFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class DaemonLink {
  public:
    using Connect = std::function<std::unique_ptr<Transport>()>;
    // The link reaches the daemon through `connect`'s transport, made at the first exchange, so that a
    // command refused on its own words never needs a daemon.
    explicit DaemonLink(Connect connect) : connect_(std::move(connect)) {}

    // The call's reply: its result and its arguments with the outputs written in. Nothing when the daemon
    // did not answer in kind; it throws when the daemon cannot be reached.
    std::optional<mgmt::DecodedRemoteCall> call(uint32_t callNumber,
                                                const std::vector<mgmt::Bytes> &arguments);
    // The same, for a call that must succeed: a non-zero result throws, naming `what`.
    mgmt::DecodedRemoteCall require(uint32_t callNumber, const std::vector<mgmt::Bytes> &arguments,
                                    const std::string &what);

    std::vector<std::string> portNames();
    std::string runningConfig();
    // A request the daemon's platform answers itself (mgmt::kCheckConfigMessage and after): its result and
    // its text.
    std::pair<int32_t, std::string> platformRequest(uint16_t type, std::string_view text = {});
    // The port named `name` (leading blanks ignored), or nothing.
    std::optional<uint32_t> portNamed(std::string name);
    // Every client, read a page at a time.
    std::vector<mgmt::ClientView> clients();

  private:
    mgmt::Bytes exchange(const mgmt::Bytes &request);

    Connect connect_;
    std::unique_ptr<Transport> transport_;
    std::optional<std::vector<std::string>> portNames_;
};

}  // namespace ctl
