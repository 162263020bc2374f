#include "DaemonLink.h"
#include "Transport.h"

namespace ctl {

SocketTransport::SocketTransport(const std::string &path) {
    std::string error;
    if (!client_.connect(path, error)) {
        throw CommandFailure(error);
    }
}

mgmt::Bytes SocketTransport::exchange(const mgmt::Bytes &request) {
    std::string error;
    auto reply = client_.exchange(request, error);
    if (!reply) {
        throw CommandFailure(error);
    }
    return std::move(*reply);
}

}  // namespace ctl
