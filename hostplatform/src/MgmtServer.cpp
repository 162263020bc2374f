#include "MgmtServer.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace hostplatform {
namespace {

std::string failure(const std::string &what) {
    return "management socket " + what + ": " + std::strerror(errno);
}

}  // namespace

MgmtServer::~MgmtServer() {
    close();
}

bool MgmtServer::open(const std::string &path, const std::string &groupName, int backlog,
                      std::string &error) {
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path) {
        error = "management socket path too long: " + path;
        return false;
    }
    gid_t groupId = 0;
    if (!groupName.empty()) {
        const struct group *entry = getgrnam(groupName.c_str());
        if (entry == nullptr) {
            error = "management socket group does not exist: " + groupName;
            return false;
        }
        groupId = entry->gr_gid;
    }
    // A directory of the socket's own is made private to root and the group; one that exists already (say
    // /run or /tmp) is left as it is, and the socket's own mode guards it.
    const std::filesystem::path directory = std::filesystem::path(path).parent_path();
    std::error_code made;
    if (std::filesystem::create_directories(directory, made) &&
        (chmod(directory.c_str(), 0750) != 0 || chown(directory.c_str(), 0, groupId) != 0)) {
        error = failure("directory " + directory.string());
        return false;
    }
    const std::string lockPath = path + ".lock";
    lock_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock_ < 0) {
        error = failure("lock " + lockPath);
        return false;
    }
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        error = errno == EWOULDBLOCK ? "another dhcp6snooping is running: it holds " + lockPath
                                     : failure("lock " + lockPath);
        ::close(lock_);
        lock_ = -1;
        return false;
    }
    listen_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    unlink(path.c_str());  // left behind by a run that was killed
    if (listen_ < 0 || bind(listen_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        chmod(path.c_str(), 0660) != 0 || chown(path.c_str(), 0, groupId) != 0 ||
        listen(listen_, backlog) != 0) {
        error = failure(path);
        return false;
    }
    path_ = path;
    return true;
}

void MgmtServer::close() {
    for (const Connection &connection : connections_) {
        ::close(connection.descriptor);
    }
    connections_.clear();
    if (listen_ >= 0) {
        ::close(listen_);
        listen_ = -1;
    }
    if (!path_.empty()) {
        unlink(path_.c_str());
        path_.clear();
    }
    if (lock_ >= 0) {
        ::close(lock_);  // the lock file stays: removing it would race with a server that opens it now
        lock_ = -1;
    }
}

int MgmtServer::accept(double now) {
    const int descriptor = accept4(listen_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (descriptor < 0) {
        return -1;
    }
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
        heldBy(peer.uid) >= kMostPerUser) {
        ::close(descriptor);
        return -1;
    }
    if (connections_.size() >= kMostConnections) {
        makeRoom();
    }
    connections_.push_back({descriptor, peer.uid, now});
    return descriptor;
}

std::optional<uid_t> MgmtServer::userOf(int connection) const {
    const auto found = std::ranges::find(connections_, connection, &Connection::descriptor);
    return found != connections_.end() ? std::optional(found->user) : std::nullopt;
}

size_t MgmtServer::heldBy(uid_t user) const {
    return static_cast<size_t>(std::ranges::count(connections_, user, &Connection::user));
}

void MgmtServer::makeRoom() {
    const auto greediest = std::ranges::max_element(
        connections_, {}, [this](const Connection &connection) { return heldBy(connection.user); });
    const uid_t user = greediest->user;
    const auto idlest =
        std::ranges::min_element(connections_, [user](const Connection &a, const Connection &b) {
            return (a.user == user && b.user != user) || (a.user == b.user && a.lastHeard < b.lastHeard);
        });
    drop(idlest->descriptor);
}

void MgmtServer::drop(int connection) {
    const auto found = std::ranges::find(connections_, connection, &Connection::descriptor);
    if (found != connections_.end()) {
        ::close(connection);
        connections_.erase(found);
    }
}

void MgmtServer::closeIdle(double now) {
    std::erase_if(connections_, [now](const Connection &connection) {
        const bool idle = now - connection.lastHeard >= kIdleSeconds;
        if (idle) {
            ::close(connection.descriptor);
        }
        return idle;
    });
}

long MgmtServer::receive(int connection, std::vector<uint8_t> &message, size_t most, double now) {
    const auto found = std::ranges::find(connections_, connection, &Connection::descriptor);
    if (found != connections_.end()) {
        found->lastHeard = now;
    }
    uint8_t none = 0;
    const ssize_t waiting = recv(connection, &none, 0, MSG_PEEK | MSG_TRUNC);
    if (waiting < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? -1 : 0;
    }
    message.resize(std::min(static_cast<size_t>(waiting), most));
    const ssize_t length = recv(connection, message.data(), message.size(), MSG_TRUNC);
    if (length < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? -1 : 0;
    }
    return static_cast<long>(length);
}

int MgmtServer::reply(int connection, std::span<const uint8_t> message) const {
    if (std::ranges::find(connections_, connection, &Connection::descriptor) == connections_.end()) {
        return -1;
    }
    const ssize_t sent = send(connection, message.data(), message.size(), MSG_NOSIGNAL);
    return sent == static_cast<ssize_t>(message.size()) ? 0 : -1;
}

}  // namespace hostplatform
