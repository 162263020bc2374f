// Switching snooping on and off: its filters, the packet registrations and the learned clients.

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "source_guard/SourceGuardMode.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using ::testing::IsEmpty;

class SnoopingOnOffTest : public SnoopingTest {
  protected:
    [[nodiscard]] long callsOf(const std::string &function) const {
        return std::count_if(sw.filterCalls().begin(), sw.filterCalls().end(),
                             [&](const auto &call) { return call.function == function; });
    }
};

TEST_F(SnoopingOnOffTest, RepeatedRequestsChangeNothing) {
    dhcp6snoopingStart();
    EXPECT_EQ(callsOf("FRM_InstallGlobalForwardIcmp6NdFilterResource"), 1);
    EXPECT_EQ(sw.packetRegistrations().back().mode, 1U);
    dhcp6snoopingStop();
    dhcp6snoopingStop();
    EXPECT_EQ(callsOf("FRM_RemoveGlobalForwardIcmp6NdFilterResource"), 1);
    EXPECT_EQ(sw.packetRegistrations().back().mode, 3U);
    EXPECT_EQ(dhcp6snoopingOnOff, 0U);
}

TEST_F(SnoopingOnOffTest, StoppingForgetsEveryClientWithItsCountsAndFilters) {
    portIpSourceGuardMode[2] = SOURCE_GUARD_IPV6;
    clientSends(REQUEST, kClient, 3);
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 10, 20)));
    clientSends(SOLICIT, kOtherClient, 4);
    ASSERT_EQ(sw.installedFilters().size(), 3U);  // the client's and the two of snooping itself

    EXPECT_EQ(dhcp6snoopingStop(), 0);
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
    EXPECT_EQ(portClientCount[2] + portClientCount[3] + vlanClientCount[kVlan], 0);
    EXPECT_EQ(portIpSourceGuardMode[2], SOURCE_GUARD_IPV6);
}

}  // namespace
