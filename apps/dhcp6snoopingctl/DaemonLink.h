#pragma once
// The command line's link to a running daemon: its remote calls, and the two requests its platform answers
// (the running configuration and the names of the ports). Every failure carries a sentence for the
// operator.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mgmt_protocol/ManagementHeader.h"
#include "mgmt_protocol/MgmtSocket.h"

namespace ctl {

// What stops a command: the daemon cannot be reached, or it refused.
struct CommandFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <typename T>
mgmt::Bytes bytesOf(const T &value) {
    mgmt::Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

template <typename T>
T valueOf(const mgmt::Bytes &bytes) {
    T value{};
    std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
    return value;
}

class DaemonLink {
  public:
    explicit DaemonLink(const std::string &socketPath);

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

  private:
    mgmt::Bytes exchange(const mgmt::Bytes &request);

    mgmt::MgmtClient client_;
    std::optional<std::vector<std::string>> portNames_;
};

}  // namespace ctl
