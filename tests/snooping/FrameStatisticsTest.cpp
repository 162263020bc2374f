// Every decision on a frame counts once, on the frame's port: frames driven through the simulated switch
// for each reason a frame is dropped, each passed message type, and what became of the bindings and the
// filter requests; the counts sum to the totals, and clearing them leaves nothing.

#include <gmock/gmock.h>

#include <functional>
#include <numeric>

#include "FuzzSupport.h"
#include "core/FrameStatistics.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/BulkRemoval.h"
#include "snooping/Dhcp6Snooping.h"
#include "support/SnoopingTest.h"

namespace {

using mgmt::Counter;
using namespace switchsim::dhcp6;  // NOLINT(google-build-using-namespace): the message builders

uint64_t countOf(uint32_t port, Counter counter) {
    return dhcp6snoopingCounters(port)[static_cast<size_t>(counter)];
}

// The counter summed over every port, and every counter of a group summed so.
uint64_t totalOf(Counter counter) {
    uint64_t total = 0;
    for (uint32_t port = 0; port <= kPortTableSize; ++port) {
        total += countOf(port, counter);
    }
    return total;
}
uint64_t groupTotal(mgmt::CounterGroup group) {
    uint64_t total = 0;
    for (size_t i = 0; i < mgmt::kCounterCount; ++i) {
        if (mgmt::kCounterNames[i].group == group) {
            total += totalOf(static_cast<Counter>(i));
        }
    }
    return total;
}

class FrameStatisticsTest : public SnoopingTest {
  protected:
    struct DropCase {
        const char *name;
        std::function<void()> drop;  // makes exactly one frame be dropped
        uint32_t port;
        Counter reason;
    };
    static constexpr uint32_t kPort = 3;
    const switchsim::MacAddress kZeroMac{};
};

TEST_F(FrameStatisticsTest, EachDropCountsOnceUnderItsReasonAndPort) {
    const DropCase cases[] = {
        {"server message on an untrusted port", [this] { serverSends(ADVERTISE, kClient, kPort); }, kPort,
         Counter::DroppedServerMessageOnUntrustedPort},
        {"REPLY on the client's own port",
         [this] {
             clientSends(REQUEST, kClient, kPort);
             ASSERT_EQ(dhcp6snooping_port_mode(kPort, 1), 0);
             serverSends(REPLY, kClient, kPort);
             ASSERT_EQ(dhcp6snooping_port_mode(kPort, 0), 0);
         },
         kPort, Counter::DroppedReplyOnClientPort},
        {"port limit",
         [this] {
             ASSERT_EQ(dhcp6snooping_port_maxclients(kPort, 0), 0);
             clientSends(SOLICIT, kClient, kPort);
             ASSERT_EQ(dhcp6snooping_port_maxclients(kPort, 2048), 0);
         },
         kPort, Counter::DroppedPortLimit},
        {"VLAN limit",
         [this] {
             ASSERT_EQ(dhcp6snooping_vlan_maxclients(kVlan, 0), 0);
             clientSends(SOLICIT, kClient, kPort);
             ASSERT_EQ(dhcp6snooping_vlan_maxclients(kVlan, 2048), 0);
         },
         kPort, Counter::DroppedVlanLimit},
        {"zero MAC", [this] { clientSends(SOLICIT, kZeroMac, kPort); }, kPort, Counter::DroppedZeroMac},
        {"message cut inside its header",
         [this] {
             auto bytes = buildDhcp6Frame(fromClient(SOLICIT, kClient, {})).bytes;
             bytes.resize(bytes.size() - 2);
             sw.queueFrame(kPort, kVlan, bytes);
             serve();
         },
         kPort, Counter::DroppedMalformed},
        {"unknown message type", [this] { clientSends(14, kClient, kPort); }, kPort,
         Counter::DroppedUnknownType},
        {"frame of a kind not snooped",
         [this] {
             sw.queueFrame(kPort, kVlan, buildDhcp6Frame(fromClient(SOLICIT, kClient, {})).bytes, 2);
             serve();
         },
         kPort, Counter::DroppedNotSnooped},
        {"snooping off",
         [this] {
             dhcp6snoopingStop();
             clientSends(SOLICIT, kClient, kPort);
             dhcp6snoopingStart();
         },
         kPort, Counter::DroppedSnoopingOff},
        {"relay option present under the drop strategy",
         [this] {
             ASSERT_EQ(fuzz::enableRelayOption(true, true), 0);
             infoOptionConfig.strategy = STRATEGY_DROP;
             clientSends(SOLICIT, kClient, kPort, option(18, {1, 2}));
             ASSERT_EQ(fuzz::enableRelayOption(true, false), 0);
         },
         kPort, Counter::DroppedRelayOptionPresent},
        {"relay option on a frame too long for it",
         [this] {
             ASSERT_EQ(fuzz::enableRelayOption(true, true), 0);
             clientSends(SOLICIT, kClient, kPort, option(99, switchsim::Bytes(2100)));
             ASSERT_EQ(fuzz::enableRelayOption(true, false), 0);
         },
         kPort, Counter::DroppedRelayOptionFailed},
        {"no port to flood to",
         [this] {
             sw.addVlan(30, {kPort});
             clientSends(SOLICIT, kClient, kPort, {}, 30);
         },
         kPort, Counter::DroppedNoEgressPort},
        {"destination behind the ingress port",
         [this] {
             sw.learnMac(kClient, kVlan, kServerPort);
             serverSends(ADVERTISE, kClient, kServerPort);
         },
         kServerPort, Counter::DroppedDestinationOnIngress},
        {"send refused",
         [this] {
             sw.failFrameSend("smdVDPktSendPortlist", -1);
             clientSends(SOLICIT, kClient, kPort);
         },
         kPort, Counter::DroppedSendFailed},
    };
    for (const DropCase &row : cases) {
        SCOPED_TRACE(row.name);
        dhcp6snoopingCountersClear();
        takeSent();
        row.drop();
        EXPECT_EQ(takeSent().size(), groupTotal(mgmt::CounterGroup::Passed))
            << "every frame sent counts as passed";
        EXPECT_EQ(countOf(row.port, row.reason), 1U);
        EXPECT_EQ(totalOf(row.reason), 1U);
        EXPECT_EQ(groupTotal(mgmt::CounterGroup::Dropped), 1U) << "one frame, one drop";
        clientDelete(kClient.data());
    }
    dhcp6snoopingCountersClear();
    for (uint32_t port = 0; port <= kPortTableSize; ++port) {
        const uint64_t *counters = dhcp6snoopingCounters(port);
        EXPECT_EQ(std::accumulate(counters, counters + mgmt::kCounterCount, uint64_t{0}), 0U) << port;
    }
    EXPECT_EQ(dhcp6snoopingCounters(kPortTableSize + 1), nullptr);
}

TEST_F(FrameStatisticsTest, PassedFramesAndBindingsCountOnTheirPorts) {
    dhcp6snoopingCountersClear();
    acknowledge(kClient, kPort,
                iaNa(1, 0, 0,
                     join({iaAddress(switchsim::ipv6("2001:db8::1"), 300, 600),
                           iaAddress(switchsim::ipv6("2001:db8::2"), 300, 600)})));
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 300, 900)));
    clientSends(RELEASE, kClient, kPort, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 0, 0)));
    EXPECT_EQ(countOf(kPort, Counter::PassedRequest), 1U);
    EXPECT_EQ(countOf(kPort, Counter::PassedRelease), 1U);
    EXPECT_EQ(countOf(kServerPort, Counter::PassedReply), 2U) << "a reply counts on the port it came in on";
    EXPECT_EQ(countOf(kPort, Counter::BindingsLearned), 2U) << "bindings count on the client's port";
    EXPECT_EQ(countOf(kPort, Counter::BindingsRenewed), 1U);
    EXPECT_EQ(countOf(kPort, Counter::BindingsReleased), 1U);
    EXPECT_EQ(groupTotal(mgmt::CounterGroup::Dropped), 0U);

    tick(601);
    EXPECT_EQ(countOf(kPort, Counter::BindingsExpired), 1U);
    acknowledge(kOtherClient, kPort, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::3"), 300, 600)));
    clientSends(SOLICIT, kClient, kPort + 1);
    DeleteSelector byPort{};
    byPort.kind = DELETE_BY_PORT;
    byPort.portIndex = kPort;
    ASSERT_EQ(dhcp6snoopingDeleteByData(byPort), 0);
    EXPECT_EQ(countOf(kPort, Counter::BindingsRemovedClear), 1U);
    acknowledge(kOtherClient, kPort, iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::4"), 300, 600)));
    ASSERT_EQ(dhcp6snoopingFastRemoveCfg(1), 0);
    sw.queueLinkChange(kPort, 0);
    serve();
    EXPECT_EQ(countOf(kPort, Counter::BindingsRemovedLinkDown), 1U);
    EXPECT_EQ(countOf(kPort, Counter::FilterInstalls), 0U) << "no source guard, no filter";
    tick(181);
    EXPECT_EQ(countOf(kPort + 1, Counter::ClientsExpiredWaiting), 1U);
}

TEST_F(FrameStatisticsTest, DropsAreToldToTheListenerWithWhatTheLogNeeds) {
    static std::vector<DropNotice> heard;
    static std::vector<std::array<uint8_t, 6>> macs;
    dhcp6snoopingDropListen([](const DropNotice *notice) {
        heard.push_back(*notice);
        macs.push_back({});
        std::copy_n(notice->sourceMac, 6, macs.back().begin());
    });
    serverSends(ADVERTISE, kClient, kPort);
    dhcp6snoopingDropListen(nullptr);
    serverSends(ADVERTISE, kClient, kPort);
    ASSERT_EQ(heard.size(), 1U) << "told once, and to no one once the listener is gone";
    EXPECT_EQ(heard[0].port, kPort);
    EXPECT_EQ(heard[0].vlan, kVlan);
    EXPECT_EQ(heard[0].messageType, ADVERTISE);
    EXPECT_EQ(heard[0].reason, static_cast<uint32_t>(Counter::DroppedServerMessageOnUntrustedPort));
    EXPECT_EQ(macs[0], kServer);
}

}  // namespace
