// The filter service against the kernel, in a network namespace of its own: the table opens, one filter of
// each kind lands in its set at the commit and comes out again, the refusals the daemon relies on come back
// non-zero, a renamed port's element follows its name, a transaction the kernel refuses still makes the
// changes it can, and closing takes the table away. Root only; skipped where there
// is no namespace or the kernel lacks the bridge's expressions.

#include <gtest/gtest.h>
#include <nftables/libnftables.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>

#include "FakeHostPorts.h"
#include "NftFilterService.h"
#include "NftRules.h"
#include "platform/FrmApi.h"

namespace {

constexpr int kSkipped = 77;

constexpr std::array<uint8_t, 6> kMac = {0x02, 0, 0, 0, 0, 0x04};
constexpr std::array<uint8_t, 6> kNoMac = {};
constexpr std::array<uint8_t, 16> kAddress = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x04};

struct Request {
    const char *what;
    int32_t result;
    bool accepted;
};

struct Element {
    const char *set;
    const char *text;
};

const Element kElements[] = {
    {"guarded_ports", "{ \"port1\" }"},
    {"permit_ip", "{ 2001:db8::4 }"},
    {"permit_mac_ip", "{ 02:00:00:00:00:04 . 2001:db8::4 }"},
    {"permit_port_any_mac_ip", "{ \"port2\" . 2001:db8::4 }"},
    {"permit_port_mac_ip_vlan", "{ \"port3\" . 02:00:00:00:00:04 . 2001:db8::4 . 10 }"},
    {"exempt_vlans", "{ 20 }"},
    {"neighbour_discovery", "nd-redirect"},
    {"dhcp6_interception", "{ ip6 }"},
};

struct ContextDeleter {
    void operator()(nft_ctx *context) const { nft_ctx_free(context); }
};

// nftables' listing of `what`, or nothing when nftables refuses to list it.
std::string listing(const std::string &what) {
    const std::unique_ptr<nft_ctx, ContextDeleter> context(nft_ctx_new(NFT_CTX_DEFAULT));
    nft_ctx_buffer_output(context.get());
    nft_ctx_buffer_error(context.get());
    if (nft_run_cmd_from_buffer(context.get(), ("list " + what).c_str()) != 0) {
        return {};
    }
    return nft_ctx_get_output_buffer(context.get());
}

// Adds to `report` each request whose answer is not the expected one.
void expectAnswers(std::initializer_list<Request> requests, std::string &report) {
    for (const auto &request : requests) {
        if ((request.result == 0) != request.accepted) {
            report += std::string(request.what) + " answered " + std::to_string(request.result) + "\n";
        }
    }
}

// Adds to `report` a commit that the kernel did not answer with `refused` refusals.
void expectCommitted(size_t refused, std::string &report) {
    if (const size_t answered = hostplatform::nftCommit(); answered != refused) {
        report +=
            "the commit had " + std::to_string(answered) + " refusals, not " + std::to_string(refused) + "\n";
    }
}

// Everything the test does, in the forked child that owns the namespace; what went wrong goes to `report`.
int inFreshNamespace(std::string &report) {
    if (unshare(CLONE_NEWNET) != 0) {
        report = std::string("no network namespace: ") + std::strerror(errno);
        return kSkipped;
    }
    if (!hostplatform::nftOpen(report)) {
        return report.find("Operation not supported") != std::string::npos ? kSkipped : 1;
    }
    expectAnswers(
        {
            {"deny-all", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, 1), true},
            {"kind 1", FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(kAddress.data()), true},
            {"kind 2", FRM_InstallGlobalForwardIp6AddrFilterResource(kMac.data(), kAddress.data()), true},
            {"kind 3", FRM_InstallForwardIp6AddrFilterResource(2, kNoMac.data(), kAddress.data()), true},
            {"kind 4", FRM_InstallForwardIp6AddrFilterResource_new(3, kMac.data(), kAddress.data(), 10),
             true},
            {"kind 4 again", FRM_InstallForwardIp6AddrFilterResource_new(3, kMac.data(), kAddress.data(), 10),
             true},
            {"exempt VLAN", FRM_InstallGlobalForwardIp6VidOnlyFilterResource(20), true},
            {"neighbour discovery", FRM_InstallGlobalForwardIcmp6NdFilterResource(), true},
            {"DHCPv6 filter", FRM_OperateDhcp6FilterResource(FILTER_OP_ENABLE), true},
            {"interception", hostplatform::nftSetDhcp6Interception(true), true},
            {"port without a name", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, 4), false},
        },
        report);
    expectCommitted(0, report);
    // The guarded port's drop counter is there, at 0, and is read as the port's.
    if (hostplatform::nftGuardDrops() !=
        std::map<std::string, uint64_t>{{hostplatform::nft::guardDropCounter("port1"), 0}}) {
        report += "port 1 has no drop counter of its own\n";
    }
    for (const auto &element : kElements) {
        const auto set = listing(std::string("set bridge dhcp6snooping ") + element.set);
        if (set.find(element.text) == std::string::npos) {
            report += std::string(element.set) + " lacks " + element.text + ":\n" + set;
        }
    }
    expectAnswers(
        {
            {"kind 3 removed", FRM_RemoveForwardIp6AddrFilterResource(2, kNoMac.data(), kAddress.data()),
             true},
            {"kind 4 removed",
             FRM_RemoveForwardIp6AddrFilterResource_new(3, kMac.data(), kAddress.data(), 10), true},
            {"exempt VLAN removed", FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(20), true},
            {"kind 4 removed again",
             FRM_RemoveForwardIp6AddrFilterResource_new(3, kMac.data(), kAddress.data(), 10), false},
            {"interception off", hostplatform::nftSetDhcp6Interception(false), true},
            {"interception off again", hostplatform::nftSetDhcp6Interception(false), true},
        },
        report);
    expectCommitted(0, report);
    // Port 1, still guarded, is renamed: its element follows, and goes when the daemon asks as before.
    hostplatform::renameFakePort(1, "uplink1");
    hostplatform::nftRefreshPorts();
    expectCommitted(0, report);
    const auto renamed = listing("set bridge dhcp6snooping guarded_ports");
    if (renamed.find("\"uplink1\"") == std::string::npos || renamed.find("\"port1\"") != std::string::npos) {
        report += "the guarded port did not follow its new name:\n" + renamed;
    }
    expectAnswers(
        {{"renamed deny-all off", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_DISABLE, 1), true}},
        report);
    expectCommitted(0, report);
    if (listing("set bridge dhcp6snooping guarded_ports").find("uplink1") != std::string::npos) {
        report += "the renamed port is still guarded\n";
    }
    // A turn whose transaction the kernel refuses (a name nftables cannot hold) still makes the changes it
    // can, and the record follows the kernel: what was refused cannot be taken out after.
    // Its guarded-port element and its drop counter's are refused, each a change.
    hostplatform::renameFakePort(2, "a-name-too-long-for-nft");
    expectAnswers({{"long name guarded", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, 2), true},
                   {"port 3 guarded", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_ENABLE, 3), true}},
                  report);
    expectCommitted(2, report);
    expectAnswers(
        {{"long name unguarded", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_DISABLE, 2), false},
         {"port 3 unguarded", FRM_OperatePortDenyAllIp6FilterResource(FILTER_OP_DISABLE, 3), true}},
        report);
    expectCommitted(0, report);
    if (listing("set bridge dhcp6snooping guarded_ports").find("port3") != std::string::npos) {
        report += "port 3 is still guarded\n";
    }
    hostplatform::renameFakePort(2, "port2");
    hostplatform::renameFakePort(1, "port1");
    hostplatform::nftClose();
    if (!listing("table bridge dhcp6snooping").empty()) {
        report += "the table outlived nftClose\n";
    }
    return 0;
}

TEST(NftFilterServiceTest, InAFreshNamespaceEveryKindLandsInItsSetAndClosingRemovesTheTable) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "a network namespace needs root";
    }
    std::array<int, 2> channel{};
    ASSERT_EQ(pipe(channel.data()), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(channel[0]);
        std::string report;
        const int code = inFreshNamespace(report);
        const bool written =
            write(channel[1], report.data(), report.size()) == static_cast<ssize_t>(report.size());
        _exit(written ? code : 1);
    }
    close(channel[1]);
    std::string report;
    std::array<char, 4096> chunk{};
    for (ssize_t got = 0; (got = read(channel[0], chunk.data(), chunk.size())) > 0;) {
        report.append(chunk.data(), static_cast<size_t>(got));
    }
    close(channel[0]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kSkipped) {
        GTEST_SKIP() << report;
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(report, "");
}

}  // namespace
