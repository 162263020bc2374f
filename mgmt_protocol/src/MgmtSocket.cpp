#include "mgmt_protocol/MgmtSocket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace mgmt {
namespace {

constexpr time_t kReplySeconds = 5;

std::string failure(const std::string &what) {
    return what + ": " + std::strerror(errno);
}

}  // namespace

MgmtClient::~MgmtClient() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool MgmtClient::connect(const std::string &path, std::string &error) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        error = "not a socket path: " + path;
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const timeval wait{kReplySeconds, 0};
    if (socket_ < 0 || setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait) != 0) {
        error = failure("socket");
        return false;
    }
    if (::connect(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        error = errno == ENOENT || errno == ECONNREFUSED
                    ? "the daemon is not running (nothing listens on " + path + ")"
                    : failure("cannot reach the daemon at " + path);
        return false;
    }
    return true;
}

std::optional<Bytes> MgmtClient::exchange(std::span<const uint8_t> request, std::string &error) const {
    if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
        error = failure("sending to the daemon");
        return std::nullopt;
    }
    // The reply's size first, without taking it, so that a reply of any length is read whole.
    uint8_t probe = 0;
    const ssize_t size = recv(socket_, &probe, sizeof probe, MSG_PEEK | MSG_TRUNC);
    if (size <= 0) {
        error = size == 0 ? "the daemon closed the connection" : failure("waiting for the daemon's reply");
        return std::nullopt;
    }
    Bytes reply(static_cast<size_t>(size));
    if (recv(socket_, reply.data(), reply.size(), 0) != size) {
        error = failure("reading the daemon's reply");
        return std::nullopt;
    }
    return reply;
}

}  // namespace mgmt
