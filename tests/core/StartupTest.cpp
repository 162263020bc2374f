#include <gmock/gmock.h>

#include <cstring>

#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "source_guard/SourceGuardMode.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartupTest : public DaemonTest {};

// A packet match descriptor as the daemon must build it: 16-bit fields in the processor's byte order.
std::array<uint8_t, 36> dhcp6Descriptor(uint16_t udpPort, uint16_t index) {
    std::array<uint8_t, 36> bytes{};
    const auto put = [&bytes](size_t offset, uint16_t value) { std::memcpy(&bytes[offset], &value, 2); };
    put(18, 0x86DD);  // Ethernet type IPv6
    put(20, 17);      // UDP
    put(22, udpPort);
    put(24, 0x38);  // match on Ethernet type, IP protocol and UDP port
    put(32, index);
    return bytes;
}

TEST_F(StartupTest, RegistersEveryHookInOrderAndThenWaitsForMessages) {
    EXPECT_EQ(sw.runMain(dhcp6snoopingMain, {"/sbin/dhcp6snooping"}), std::nullopt);

    EXPECT_THAT(
        sw.lifecycleCalls(),
        ElementsAre("smdProcessInit(/sbin/dhcp6snooping)", "vosMsgInit(/sbin/dhcp6snooping, 255)",
                    "ccdInit(100, 2)", "ccdModuleRegister(vrkL2Dhcp6Snooping, 0 objects)",
                    "vosMsgRegisterBldrun()", "smdRMWrapInit(6250, 6282)", "vosTimerRegister(1, 1000, 0)",
                    "smdVDLinktrapRegPort(0, 0)", "smdVDPktRegister(1, udp 547 index 0, mode 3)",
                    "smdVDPktRegister(1, udp 546 index 1, mode 3)"));
    EXPECT_THAT(sw.consoleLines(), IsEmpty());
}

TEST_F(StartupTest, RegistersThePacketHookForBothDhcp6PortsInMode3) {
    startDaemon();

    const auto &registrations = sw.packetRegistrations();
    ASSERT_EQ(registrations.size(), 2U);
    EXPECT_EQ(registrations[0].descriptor, dhcp6Descriptor(547, 0));
    EXPECT_EQ(registrations[1].descriptor, dhcp6Descriptor(546, 1));
    for (const auto &registration : registrations) {
        EXPECT_EQ(registration.call, "smdVDPktRegister");
        EXPECT_EQ(registration.unit, 1U);
        EXPECT_EQ(registration.mode, 3U);
        EXPECT_TRUE(registration.withCallback);
    }
}

TEST_F(StartupTest, EveryDefaultHolds) {
    startDaemon();

    EXPECT_EQ(dhcp6snoopingOnOff, 0U);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 1U);
    EXPECT_EQ(portDownRemoveSwitch, 1U);
    EXPECT_EQ(installedFilterCount, 0U);
    for (uint32_t p = 0; p < kPortTableSize; ++p) {
        SCOPED_TRACE(p + 1);
        EXPECT_EQ(portTrustMode[p], 0U);
        EXPECT_EQ(portIpSourceGuardMode[p], SOURCE_GUARD_NONE);
        EXPECT_EQ(portMaxNum[p], 2048);
        EXPECT_EQ(portClientCount[p], 0);
    }
    for (uint32_t v = 0; v < kVlanTableSize; ++v) {
        SCOPED_TRACE(v);
        EXPECT_EQ(vlanMaxNum[v], 2048);
        EXPECT_EQ(vlanClientCount[v], 0);
    }
    EXPECT_THAT(sw.filterCalls(), IsEmpty());
}

TEST_F(StartupTest, QueueFailureEndsStartupWithMinus1001BeforeAnyHookIsRegistered) {
    sw.failMsgInit(-5);

    EXPECT_EQ(sw.runMain(dhcp6snoopingMain, {"/sbin/dhcp6snooping"}), -1001);

    EXPECT_THAT(sw.consoleLines(), ElementsAre("\r\nmain:vosMsgInit failed"));
    EXPECT_THAT(sw.lifecycleCalls(),
                ElementsAre("smdProcessInit(/sbin/dhcp6snooping)", "vosMsgInit(/sbin/dhcp6snooping, 255)"));
    EXPECT_THAT(sw.packetRegistrations(), IsEmpty());
}

}  // namespace
