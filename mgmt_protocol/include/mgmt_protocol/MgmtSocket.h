#pragma once
// The command line's end of the management socket: a Unix socket of sequenced packets, one request per
// datagram and one reply each.

#include <optional>
#include <span>
#include <string>

#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {

class MgmtClient {
  public:
    MgmtClient() = default;
    MgmtClient(const MgmtClient &) = delete;
    MgmtClient &operator=(const MgmtClient &) = delete;
    ~MgmtClient();

    // Connects to the socket at `path`; false, with the reason in `error`, when nothing listens there or
    // the caller may not use it.
    bool connect(const std::string &path, std::string &error);

    // Sends `request` and waits for its reply, whatever its size; nothing, with the reason in `error`, when
    // the daemon went away or did not answer within a few seconds.
    std::optional<Bytes> exchange(std::span<const uint8_t> request, std::string &error) const;

  private:
    int socket_ = -1;
};

}  // namespace mgmt
