// The daemon's layers over the platform: the filter service (what it counts, traces and passes on) and the
// packet hook (its registrations).

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/FilterLayer.h"
#include "platform/PacketRegistration.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;

class PlatformLayerTest : public DaemonTest {
  protected:
    void SetUp() override { traceOn(); }
    int32_t install(uint32_t kind) { return dhcp6snoopingFilterInstall(kind, kAddress, kMac, 3, 10); }
    int32_t remove(uint32_t kind) { return dhcp6snoopingFilterRemove(kind, kAddress, kMac, 3, 10); }
    [[nodiscard]] std::vector<std::string> logLines(uint32_t level) const {
        std::vector<std::string> texts;
        for (const auto &line : sw.syslogLines()) {
            texts.push_back(line.level == level ? line.name + ": " + line.text : "");
        }
        return texts;
    }

    const Ipv6Address kAddress = {{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};
    const uint8_t kMac[6] = {0, 0x11, 0x22, 0x33, 0x44, 0x55};
};

TEST_F(PlatformLayerTest, FilterCountHoldsSuccessesOnlyAndAFailureIsTracedWithTheCountBeforeIt) {
    // A renewal installs the same filter again, and counts again.
    ASSERT_EQ(install(FILTER_PORT_IP_MAC_VLAN), 0);
    ASSERT_EQ(install(FILTER_PORT_IP_MAC_VLAN), 0);
    sw.failFilterCall("FRM_InstallForwardIp6AddrFilterResource_new", -9);
    EXPECT_EQ(install(FILTER_PORT_IP_MAC_VLAN), -9);
    EXPECT_EQ(installedFilterCount, 2U);
    // The first removal takes the one hardware filter away; the service refuses the second.
    EXPECT_EQ(remove(FILTER_PORT_IP_MAC_VLAN), 0);
    EXPECT_NE(remove(FILTER_PORT_IP_MAC_VLAN), 0);
    EXPECT_EQ(installedFilterCount, 1U);
    // An unknown kind is refused without asking the service.
    const size_t calls = sw.filterCalls().size();
    EXPECT_EQ(install(0) + remove(5), -2);
    EXPECT_EQ(sw.filterCalls().size(), calls);
    const auto failed = [](const char *change, int count) {
        return "dhcp6snooping: dhcpv6 snooping " + std::string(change) +
               " filter failed. Total filters installed:" + std::to_string(count) +
               "(inluding renew times).\r\n";
    };
    EXPECT_THAT(logLines(kTraceLevel), ElementsAre(failed("install", 2), failed("remove", 1),
                                                   failed("install", 1), failed("remove", 1)));
}

TEST_F(PlatformLayerTest, EachFailedRegistrationIsLoggedAndTheOtherStillMade) {
    sw.failPacketRegistration("smdVDPktRegister", -1, 1);
    startDaemon();
    sw.failPacketRegistration("smdVDPktRegRunning", -1, 1);
    // The first hook cannot be moved to mode 3 either: it was never registered.
    EXPECT_EQ(dhcp6snoopingPktRegister(0, 1) + dhcp6snoopingPktRegister(0, 0), 0);
    EXPECT_THAT(logLines(2),
                ElementsAre("init: smdVDPktRegister 1 failed.", "init: smdVDPktRegRunning 1 failed.",
                            "init: smdVDPktRegRunning 0 failed."));
    for (size_t i = 1; i < sw.packetRegistrations().size(); i += 2) {
        EXPECT_EQ(sw.packetRegistrations()[i].result, 0) << i;
    }
}

}  // namespace
