#pragma once
// The management queue of the host platform: a Unix socket of sequenced packets on which the command line
// sends one request per datagram and gets one reply each. Only root and the members of one group may
// connect (the socket's mode is 0660 and its directory's 0750). No user can keep the others out: each user
// (by the peer's credentials) holds at most a share of the connections, and a connection that sends
// nothing for a while is closed.

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace hostplatform {

class MgmtServer {
  public:
    MgmtServer() = default;
    MgmtServer(const MgmtServer &) = delete;
    MgmtServer &operator=(const MgmtServer &) = delete;
    ~MgmtServer();

    // Creates the socket at `path` (and its directory), owned by group `groupName` when one is named. One
    // server per path: it holds a lock on "`path`.lock" for as long as it is open, and refuses to open while
    // another process holds it, leaving that one's socket alone.
    bool open(const std::string &path, const std::string &groupName, int backlog, std::string &error);
    // Removes the socket from the file system.
    void close();

    [[nodiscard]] int listenDescriptor() const { return listen_; }

    static constexpr size_t kMostConnections = 64;
    static constexpr size_t kMostPerUser = 8;
    static constexpr double kIdleSeconds = 10;

    // A new connection, or -1 when none is waiting or its user holds its share already. When every
    // connection is taken, the one idle longest of the user holding the most makes room. `now` is in
    // seconds of a monotonic clock.
    int accept(double now);
    void drop(int connection);
    // Closes the connections that have sent nothing for kIdleSeconds up to `now`.
    void closeIdle(double now);
    [[nodiscard]] size_t connectionCount() const { return connections_.size(); }
    // The user at the other end of `connection`; nothing for a connection the server does not hold.
    [[nodiscard]] std::optional<uid_t> userOf(int connection) const;

    // The next datagram of `connection` into `message`, which takes its size when that is at most `most`
    // bytes: its full length (a longer one is read and thrown away), 0 when the peer has gone, -1 when
    // nothing is waiting.
    [[nodiscard]] long receive(int connection, std::vector<uint8_t> &message, size_t most, double now);
    // 0 when the reply was sent whole.
    [[nodiscard]] int reply(int connection, std::span<const uint8_t> message) const;

  private:
    struct Connection {
        int descriptor = -1;
        uid_t user = 0;
        double lastHeard = 0;
    };

    [[nodiscard]] size_t heldBy(uid_t user) const;
    void makeRoom();

    int listen_ = -1;
    int lock_ = -1;
    std::string path_;
    std::vector<Connection> connections_;
};

}  // namespace hostplatform
