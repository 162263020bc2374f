#pragma once
// How the command line reaches a daemon: one request out, one reply back. On a host that is the daemon's
// management socket; a test hands the command line a daemon of its own.

#include <string>

#include "mgmt_protocol/ManagementHeader.h"
#include "mgmt_protocol/MgmtSocket.h"

namespace ctl {

class Transport {
  public:
    Transport() = default;
    Transport(const Transport &) = delete;
    Transport &operator=(const Transport &) = delete;
    virtual ~Transport() = default;

    // The reply to `request`; it throws CommandFailure when the daemon cannot be reached or did not answer.
    virtual mgmt::Bytes exchange(const mgmt::Bytes &request) = 0;
};

// The daemon's management socket, connected when made.
class SocketTransport : public Transport {
  public:
    explicit SocketTransport(const std::string &path);
    mgmt::Bytes exchange(const mgmt::Bytes &request) override;

  private:
    mgmt::MgmtClient client_;
};

}  // namespace ctl
