#include <gmock/gmock.h>

#include <cstring>

#include "platform/FilterLayer.h"
#include "support/DaemonTest.h"
#include "switchsim/FrameBuilder.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kPort = 3;
constexpr uint32_t kVlan = 10;
const auto kMac = switchsim::mac("00:11:22:33:44:55");

Ipv6Address address(const char *text) {
    Ipv6Address result{};
    const auto bytes = switchsim::ipv6(text);
    std::memcpy(result.octets, bytes.data(), bytes.size());
    return result;
}

class FilterLayerTest : public DaemonTest {
  protected:
    void SetUp() override { traceOn(); }

    [[nodiscard]] std::vector<std::string> callTexts() const {
        std::vector<std::string> texts;
        for (const auto &call : sw.filterCalls()) {
            texts.push_back(call.text());
        }
        return texts;
    }
};

struct KindCase {
    const char *name;
    uint32_t kind;
    const char *install;
    const char *remove;
    const char *arguments;
    const char *filter;
};

class FilterKindTest : public FilterLayerTest, public ::testing::WithParamInterface<KindCase> {};

TEST_P(FilterKindTest, HandsTheServiceExactlyTheArgumentsOfItsKindInOrder) {
    const KindCase &c = GetParam();
    const Ipv6Address a = address("2001:db8::1");

    EXPECT_EQ(dhcp6snoopingFilterInstall(c.kind, a, kMac.data(), kPort, kVlan), 0);
    EXPECT_EQ(installedFilterCount, 1U);
    EXPECT_THAT(sw.installedFilters(), ElementsAre(c.filter));

    EXPECT_EQ(dhcp6snoopingFilterRemove(c.kind, a, kMac.data(), kPort, kVlan), 0);
    EXPECT_EQ(installedFilterCount, 0U);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());

    EXPECT_THAT(callTexts(), ElementsAre(std::string(c.install) + "(" + c.arguments + ") = 0",
                                         std::string(c.remove) + "(" + c.arguments + ") = 0"));
    EXPECT_THAT(traces(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FilterKindTest,
    ::testing::Values(
        KindCase{"GlobalIp", FILTER_GLOBAL_IP, "FRM_InstallGlobalForwardIp6AddrOnlyFilterResource",
                 "FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource", "2001:db8::1",
                 "forward ip6 2001:db8::1"},
        KindCase{"GlobalIpMac", FILTER_GLOBAL_IP_MAC, "FRM_InstallGlobalForwardIp6AddrFilterResource",
                 "FRM_RemoveGlobalForwardIp6AddrFilterResource", "00:11:22:33:44:55, 2001:db8::1",
                 "forward ip6 2001:db8::1 mac 00:11:22:33:44:55"},
        KindCase{"PortIpMac", FILTER_PORT_IP_MAC, "FRM_InstallForwardIp6AddrFilterResource",
                 "FRM_RemoveForwardIp6AddrFilterResource", "3, 00:11:22:33:44:55, 2001:db8::1",
                 "forward ip6 2001:db8::1 mac 00:11:22:33:44:55 port 3"},
        KindCase{"PortIpMacVlan", FILTER_PORT_IP_MAC_VLAN, "FRM_InstallForwardIp6AddrFilterResource_new",
                 "FRM_RemoveForwardIp6AddrFilterResource_new", "3, 00:11:22:33:44:55, 2001:db8::1, 10",
                 "forward ip6 2001:db8::1 mac 00:11:22:33:44:55 port 3 vlan 10"}),
    [](const auto &param) { return std::string(param.param.name); });

TEST_F(FilterLayerTest, GlobalAddressFilterNeedsNoMac) {
    EXPECT_EQ(dhcp6snoopingFilterInstall(FILTER_GLOBAL_IP, address("2001:db8::7"), nullptr, 0, 0), 0);

    EXPECT_THAT(callTexts(),
                ElementsAre("FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(2001:db8::7) = 0"));
}

TEST_F(FilterLayerTest, CountsSuccessesOnlyAndTracesAFailureWithTheCountBeforeIt) {
    const Ipv6Address a = address("2001:db8::1");
    // A renewal installs the same filter again, and counts again.
    ASSERT_EQ(dhcp6snoopingFilterInstall(FILTER_PORT_IP_MAC_VLAN, a, kMac.data(), kPort, kVlan), 0);
    ASSERT_EQ(dhcp6snoopingFilterInstall(FILTER_PORT_IP_MAC_VLAN, a, kMac.data(), kPort, kVlan), 0);
    sw.failFilterCall("FRM_InstallForwardIp6AddrFilterResource_new", -9);

    EXPECT_EQ(dhcp6snoopingFilterInstall(FILTER_PORT_IP_MAC_VLAN, a, kMac.data(), kPort, kVlan), -9);
    EXPECT_EQ(installedFilterCount, 2U);

    // The first removal takes the one hardware filter away; the service refuses the second.
    EXPECT_EQ(dhcp6snoopingFilterRemove(FILTER_PORT_IP_MAC_VLAN, a, kMac.data(), kPort, kVlan), 0);
    EXPECT_NE(dhcp6snoopingFilterRemove(FILTER_PORT_IP_MAC_VLAN, a, kMac.data(), kPort, kVlan), 0);
    EXPECT_EQ(installedFilterCount, 1U);

    EXPECT_THAT(traces(),
                ElementsAre("dhcpv6 snooping install filter failed. Total filters installed:2(inluding renew "
                            "times).\r\n",
                            "dhcpv6 snooping remove filter failed. Total filters installed:1(inluding renew "
                            "times).\r\n"));
}

TEST_F(FilterLayerTest, UnknownKindIsRefusedWithoutAskingTheService) {
    EXPECT_EQ(dhcp6snoopingFilterInstall(0, address("2001:db8::1"), kMac.data(), kPort, kVlan), -1);
    EXPECT_EQ(dhcp6snoopingFilterRemove(5, address("2001:db8::1"), kMac.data(), kPort, kVlan), -1);

    EXPECT_THAT(sw.filterCalls(), IsEmpty());
    EXPECT_EQ(installedFilterCount, 0U);
    EXPECT_EQ(traces().size(), 2U);
}

TEST_F(FilterLayerTest, SnoopingFiltersIgnoreTheServiceAndLeaveTheCountAlone) {
    sw.failFilterCall("FRM_OperateDhcp6FilterResource", -3, 2);
    sw.failFilterCall("FRM_InstallGlobalForwardIcmp6NdFilterResource", -3);

    EXPECT_EQ(dhcp6snoopingGlobalFilterInstall(), 0);
    EXPECT_EQ(dhcp6snoopingGlobalFilterInstall(), 0);
    EXPECT_EQ(dhcp6snoopingGlobalFilterRemove(), 0);

    EXPECT_THAT(callTexts(), ElementsAre("FRM_OperateDhcp6FilterResource(3) = -3",
                                         "FRM_InstallGlobalForwardIcmp6NdFilterResource() = -3",
                                         "FRM_OperateDhcp6FilterResource(3) = -3",
                                         "FRM_InstallGlobalForwardIcmp6NdFilterResource() = 0",
                                         "FRM_OperateDhcp6FilterResource(4) = -2",
                                         "FRM_RemoveGlobalForwardIcmp6NdFilterResource() = 0"));
    EXPECT_EQ(installedFilterCount, 0U);
    EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(FilterLayerTest, DenyAllPassesTheServiceResultOnButSwitchingItOffAlwaysAnswers0) {
    EXPECT_EQ(ip6_source_guard_intstall_deny_all_ip_traffic_frm(kPort), 0);
    EXPECT_THAT(sw.installedFilters(), ElementsAre("deny-all-ip6 port 3"));
    sw.failFilterCall("FRM_OperatePortDenyAllIp6FilterResource", -4, 2);

    EXPECT_EQ(ip6_source_guard_intstall_deny_all_ip_traffic_frm(5), -4);
    EXPECT_EQ(ip6_source_guard_remove_deny_all_ip_traffic_frm(kPort), 0);
    EXPECT_THAT(sw.installedFilters(), ElementsAre("deny-all-ip6 port 3"));
    EXPECT_EQ(ip6_source_guard_remove_deny_all_ip_traffic_frm(kPort), 0);

    EXPECT_THAT(callTexts(), ElementsAre("FRM_OperatePortDenyAllIp6FilterResource(3, 3) = 0",
                                         "FRM_OperatePortDenyAllIp6FilterResource(3, 5) = -4",
                                         "FRM_OperatePortDenyAllIp6FilterResource(4, 3) = -4",
                                         "FRM_OperatePortDenyAllIp6FilterResource(4, 3) = 0"));
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
    EXPECT_EQ(installedFilterCount, 0U);
}

}  // namespace
