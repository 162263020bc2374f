// The management socket against its own users: one user's idle connections leave room for every other
// user, a connection that stays silent is closed at its deadline, and connections made and dropped by the
// thousand leave the server serving. Connecting as another user needs root.

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>

#include "MgmtServer.h"

namespace {

using hostplatform::MgmtServer;

constexpr uid_t kNobody = 65534;
constexpr gid_t kNogroup = 65534;

int connectTo(const std::string &path) {
    const int descriptor = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

// Accepts every connection waiting; answers how many were taken.
int acceptAll(MgmtServer &server, double now) {
    int taken = 0;
    // A refused connection answers -1 like an empty queue, so the queue is drained for as many as could wait.
    for (int i = 0; i < 256; ++i) {
        taken += server.accept(now) >= 0 ? 1 : 0;
    }
    return taken;
}

class MgmtServerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "the socket's owner and other users can only be played by root";
        }
        std::array<char, 32> name{"/tmp/d6s-mgmt-XXXXXX"};
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory_ = name.data();
        chmod(directory_.c_str(), 0755);
        path_ = directory_ + "/run/mgmt.sock";
        std::string error;
        ASSERT_TRUE(server_.open(path_, group_name(), 128, error)) << error;
    }
    void TearDown() override {
        server_.close();
        if (!directory_.empty()) {
            std::filesystem::remove_all(directory_);
        }
    }
    static std::string group_name() {
        const struct group *entry = getgrgid(kNogroup);
        return entry != nullptr ? entry->gr_name : "";
    }

    MgmtServer server_;
    std::string directory_;
    std::string path_;
};

TEST_F(MgmtServerTest, OneUsersIdleConnectionsLeaveRoomForAnotherUser) {
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe(ready.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        // A plain member of the socket's group opens 64 connections and keeps them.
        int opened = 0;
        if (setgroups(0, nullptr) == 0 && setgid(kNogroup) == 0 && setuid(kNobody) == 0) {
            for (int i = 0; i < 64; ++i) {
                opened += connectTo(path_) >= 0 ? 1 : 0;
            }
        }
        const char count = static_cast<char>(opened);
        (void)!write(ready[1], &count, 1);
        pause();
        _exit(0);
    }
    char opened = 0;
    ASSERT_EQ(read(ready[0], &opened, 1), 1);
    EXPECT_GT(opened, static_cast<char>(MgmtServer::kMostPerUser));
    EXPECT_EQ(acceptAll(server_, 0), static_cast<int>(MgmtServer::kMostPerUser));

    const int root = connectTo(path_);
    EXPECT_GE(server_.accept(0), 0) << "the other user got in";
    EXPECT_EQ(server_.connectionCount(), MgmtServer::kMostPerUser + 1);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(root);
}

TEST_F(MgmtServerTest, AConnectionThatSendsNothingIsClosedAtItsDeadline) {
    const int client = connectTo(path_);
    const int connection = server_.accept(100);
    ASSERT_GE(connection, 0);
    server_.closeIdle(100 + MgmtServer::kIdleSeconds / 2);
    EXPECT_EQ(server_.connectionCount(), 1U);
    std::vector<uint8_t> message;
    ASSERT_EQ(send(client, "x", 1, 0), 1);
    EXPECT_EQ(server_.receive(connection, message, 64, 100 + MgmtServer::kIdleSeconds / 2), 1);
    server_.closeIdle(100 + MgmtServer::kIdleSeconds);
    EXPECT_EQ(server_.connectionCount(), 1U) << "heard from since";
    server_.closeIdle(101 + MgmtServer::kIdleSeconds * 1.5);
    EXPECT_EQ(server_.connectionCount(), 0U);
    char byte = 0;
    EXPECT_EQ(recv(client, &byte, 1, 0), 0) << "the client sees the connection end";
    close(client);
}

TEST_F(MgmtServerTest, AThousandConnectionsMadeAndDroppedLeaveItServing) {
    std::vector<uint8_t> message;
    for (int i = 0; i < 1000; ++i) {
        const int client = connectTo(path_);
        const int connection = server_.accept(0);
        ASSERT_GE(connection, 0) << "round " << i;
        close(client);
        ASSERT_EQ(server_.receive(connection, message, 64, 0), 0);
        server_.drop(connection);
    }
    EXPECT_EQ(server_.connectionCount(), 0U);
    const int client = connectTo(path_);
    const int connection = server_.accept(0);
    ASSERT_GE(connection, 0);
    const std::array<uint8_t, 3> reply{1, 2, 3};
    EXPECT_EQ(server_.reply(connection, reply), 0);
    std::array<uint8_t, 8> got{};
    EXPECT_EQ(recv(client, got.data(), got.size(), 0), 3);
    close(client);
}

}  // namespace
