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
