// The simulated switch answers the daemon's forwarding questions (VLAN members, link aggregation, the MAC
// table, port names) and records what it sends; the daemon's forwarding tests rely on these answers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"
#include "switchsim/Switch.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<uint32_t> portsIn(const PortList &list) {
    std::vector<uint32_t> ports;
    for (uint32_t p = 1; p <= 8 * sizeof list.bits; ++p) {
        if ((list.bits[(p - 1) / 8] & (0x80U >> ((p - 1) % 8))) != 0) {
            ports.push_back(p);
        }
    }
    return ports;
}

// The ports to flood a frame of the VLAN on, arriving on the ingress port.
std::vector<uint32_t> floodFrom(uint32_t vlanId, uint32_t ingressPort) {
    PortList members{};
    EXPECT_EQ(VLAN_Api_PortList_Get(vlanId, &members, 0), 0);
    PortList egress{};
    egress.bits[0] = 0xFF;  // stale content the helper must clear
    EXPECT_EQ(lac_ap_2_ag_hi_hi_excpt_cur(&members, &egress, static_cast<uint16_t>(ingressPort - 1)), 0);
    return portsIn(egress);
}

TEST(ForwardingServicesTest, VlanMembersAndTheAggregationFloodList) {
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = 12, .absentPorts = {}});
    sw.addVlan(10, {1, 8, 9});
    sw.addVlan(20, {2, 3});
    sw.addVlan(20, {1, 2, 4, 5, 6, 7, 8});
    sw.addVlan(30, {3, 4, 9});
    sw.addAggregation(1, {3, 4, 5});
    sw.addAggregation(2, {6, 7});

    PortList vlan{};
    vlan.bits[2] = 0xFF;
    ASSERT_EQ(VLAN_Api_PortList_Get(10, &vlan, 0), 0);
    EXPECT_THAT(std::vector<uint8_t>(vlan.bits, vlan.bits + 3), ElementsAre(0x81, 0x80, 0));
    EXPECT_EQ(vd_portlist_plnull(&vlan), 0);
    EXPECT_NE(vlan_exist(20), 0);
    EXPECT_EQ(vlan_exist(40), 0);
    EXPECT_EQ(VLAN_Api_PortList_Get(40, &vlan, 0), -1);
    EXPECT_NE(vd_portlist_plnull(&vlan), 0);

    // Each group floods through its lowest member in the list (3 is not in VLAN 20); the ingress port, and
    // the whole group of an aggregated ingress port, are left out.
    EXPECT_THAT(floodFrom(20, 2), ElementsAre(1, 4, 6, 8));
    EXPECT_THAT(floodFrom(20, 7), ElementsAre(1, 2, 4, 8));
    EXPECT_THAT(floodFrom(30, 4), ElementsAre(9));
    EXPECT_THROW(sw.addAggregation(3, {5, 10}), std::invalid_argument);  // 5 is in group 1
}

TEST(ForwardingServicesTest, MacTableAnswersPortAggregationOrMissAndRecordsTheQuestions) {
    switchsim::Switch sw;
    const auto host = switchsim::MacAddress{0x00, 0x00, 0x5e, 0x00, 0x53, 0x01};
    const auto server = switchsim::MacAddress{0x00, 0x00, 0x5e, 0x00, 0x53, 0x02};
    sw.addAggregation(4, {11, 12});
    sw.learnMac(host, 10, 3);
    sw.learnMac(host, 20, 5);
    sw.learnMac(host, 20, 6);
    sw.learnMacOnAggregation(server, 10, 4);
    EXPECT_THROW(sw.learnMacOnAggregation(server, 10, 5), std::invalid_argument);

    // {result, flags, port, aggregationId} of a lookup asked from port 9.
    const auto ask = [](const switchsim::MacAddress &mac, uint16_t vlan) {
        MacTableQuery query{};
        std::copy(mac.begin(), mac.end(), query.mac);
        query.vlanId = vlan;
        query.port = 9;
        const auto result = static_cast<uint32_t>(smdVDMacGet(&query));
        return std::vector<uint32_t>{result, query.flags, query.port, query.aggregationId};
    };
    EXPECT_THAT(ask(host, 10), ElementsAre(0, 0, 3, 0));
    EXPECT_THAT(ask(host, 20), ElementsAre(0, 0, 6, 0));
    EXPECT_THAT(ask(server, 10), ElementsAre(0, MAC_TABLE_LEARNED_ON_AGGREGATION, 9, 4));
    EXPECT_THAT(ask(server, 20), ElementsAre(static_cast<uint32_t>(-1), 0, 9, 0));
    EXPECT_EQ(smdVDMacGet(nullptr), -1);

    ASSERT_EQ(sw.macLookups().size(), 4U);
    const auto &miss = sw.macLookups()[3];
    EXPECT_EQ(miss.mac + " " + std::to_string(miss.vlan) + " " + std::to_string(miss.port),
              "00:00:5e:00:53:02 20 9");
    EXPECT_EQ(miss.result, -1);
}

TEST(ForwardingServicesTest, SentFramesAreRecordedOrOnlyCountedAndSendsCanFail) {
    switchsim::Switch sw;
    const uint8_t frame[] = {0x33, 0x33, 0x00, 0x01, 0x00, 0x02};
    PktRecvInfo info{};
    info.frameKind = 1;
    PortList ports{};
    ports.bits[0] = 0x41;  // ports 2 and 8
    ports.bits[2] = 0x80;  // port 17

    EXPECT_EQ(smdVDPktSendPort(frame, sizeof frame, &info, 10, 0x80000002, 5), 0);
    sw.failFrameSend("smdVDPktSendPortlist", -7);
    EXPECT_EQ(smdVDPktSendPortlist(frame, 4, &info, 20, &ports, 0), -7);
    EXPECT_EQ(smdVDPktSendPortlist(frame, 4, &info, 20, &ports, 0), 0);
    EXPECT_THROW(sw.failFrameSend("smdVDPktSend", -7), std::invalid_argument);

    ASSERT_EQ(sw.sentFrames().size(), 2U);
    const auto &single = sw.sentFrames()[0];
    const auto &listed = sw.sentFrames()[1];
    EXPECT_THAT(single.ports, ElementsAre(0x80000002U));
    EXPECT_THAT(listed.ports, ElementsAre(2, 8, 17));
    EXPECT_EQ(single.bytes, switchsim::Bytes(std::begin(frame), std::end(frame)));
    EXPECT_EQ(listed.bytes.size(), 4U);
    // {vlan, toPortList, flags, frameKind}
    const auto fields = [](const switchsim::SentFrame &f) {
        return std::vector<uint32_t>{f.vlan, f.toPortList, f.flags, f.info.frameKind};
    };
    EXPECT_THAT(fields(single), ElementsAre(10, 0, 5, 1));
    EXPECT_THAT(fields(listed), ElementsAre(20, 1, 0, 1));

    sw.keepSentFrames(false);
    EXPECT_EQ(smdVDPktSendPort(frame, sizeof frame, &info, 10, 3, 0), 0);
    EXPECT_EQ(sw.sentFrames().size(), 2U);
    EXPECT_EQ(sw.sentFrameCount(), 3U);
    sw.clearSentFrames();
    EXPECT_THAT(sw.sentFrames(), IsEmpty());
    EXPECT_EQ(sw.sentFrameCount(), 0U);
}

int timerRuns = 0;
int32_t countTimerRun() {
    return ++timerRuns;
}

TEST(ForwardingServicesTest, ClockMovesOnByHandOrOnEveryReadWithoutRunningTheTimer) {
    switchsim::Switch sw;
    uint32_t timer = 0;
    ASSERT_EQ(vosTimerRegister(1, 1000, countTimerRun, &timer, 0), 0);
    sw.advanceClock(5);
    EXPECT_EQ(vosUpSeconds(), 5U);
    sw.advanceClockOnEachRead(2);
    EXPECT_EQ(vosUpSeconds(), 7U);
    EXPECT_EQ(vosUpSeconds(), 9U);
    EXPECT_EQ(sw.upSeconds(), 9U);
    sw.advanceClockOnEachRead(0);
    EXPECT_EQ(vosUpSeconds(), 9U);
    EXPECT_EQ(timerRuns, 0);
}

TEST(ForwardingServicesTest, PortNamesByDefaultSetOrTruncated) {
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = 8, .absentPorts = {}});
    sw.setPortName(2, "uplink");
    sw.setPortName(3, std::string(40, 'x'));
    const auto nameOf = [](uint32_t port) {
        char name[PORT_NAME_TEXT_SIZE] = "stale";
        return std::to_string(transPort2EtherPort(port, name)) + " " + name;
    };
    EXPECT_EQ(nameOf(1), "0 ethernet1/0/1");
    EXPECT_EQ(nameOf(2), "0 uplink");
    EXPECT_EQ(nameOf(3), "0 " + std::string(32, 'x'));
    EXPECT_EQ(nameOf(9), "-1 ");
    EXPECT_EQ(nameOf(0), "-1 ");
}

}  // namespace
