// IPv6 source guard per port: the modes, the filters each change asks for, and the static bindings that
// serve addresses in place of filters of their own.

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::ipv6;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

uint32_t modeOf(uint32_t port) {
    uint32_t mode = 0;
    return get_ip6_source_guard_port_mode(port, &mode) == 0 ? mode : 0;
}

class PortModeTest : public SnoopingTest {
  protected:
    // A static binding; a null MAC text: no MAC.
    static void bind(const char *address, const char *macText, uint32_t port, uint32_t vlan) {
        Ipv6Address ip;
        std::memcpy(ip.octets, ipv6(address).data(), sizeof ip.octets);
        const switchsim::MacAddress mac =
            macText != nullptr ? switchsim::mac(macText) : switchsim::MacAddress{};
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(ip, mac.data(), port, vlan), 0);
    }

    // The filters of source guard in place: deny-all and forward filters.
    [[nodiscard]] std::vector<std::string> guardFilters() const {
        std::vector<std::string> filters = sw.installedFilters();
        std::erase_if(filters, [](const std::string &f) {
            return !f.starts_with("forward ip6 ") && !f.starts_with("deny-all-ip6 ");
        });
        return filters;
    }
    [[nodiscard]] size_t calls() const { return sw.filterCalls().size(); }
};

class GuardModeTest : public PortModeTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(GuardModeTest, TrustedPortCannotBeGuardedUntilDistrusted) {
    EXPECT_EQ(set_ip6_source_guard_port_mode(kServerPort, GetParam()), -1);
    EXPECT_EQ(modeOf(kServerPort), SOURCE_GUARD_NONE);
    EXPECT_THAT(guardFilters(), IsEmpty());
    ASSERT_EQ(dhcp6snooping_port_mode(kServerPort, 0), 0);
    EXPECT_EQ(set_ip6_source_guard_port_mode(kServerPort, GetParam()), 0);
    EXPECT_EQ(modeOf(kServerPort), GetParam());
    EXPECT_THAT(guardFilters(), ElementsAre("deny-all-ip6 port 1"));
}

TEST_P(GuardModeTest, LearnedAddressesGetAPortMacVlanFilterUnlessAPrefixOrStaticallyBound) {
    bind("2001:db8::c", nullptr, 5, 0);
    acknowledge(
        kClient, 3,
        join({iaNa(1, 0, 0,
                   join({iaAddress(ipv6("2001:db8::a"), 10, 20), iaAddress(ipv6("2001:db8::c"), 10, 20)})),
              iaPd(2, 0, 0, iaPrefix(10, 20, 56, ipv6("2001:db8:100::")))}));
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, GetParam()), 0);
    acknowledge(kOtherClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::b"), 10, 20)));
    clientSends(SOLICIT, switchsim::mac("02:00:00:00:00:03"), 3);
    EXPECT_THAT(addressFilters(),
                ElementsAre("forward ip6 2001:db8::a mac 02:00:00:00:00:01 port 3 vlan 10",
                            "forward ip6 2001:db8::b mac 02:00:00:00:00:02 port 3 vlan 10"));

    // The port's link goes down: exactly those two filters are asked away.
    const size_t before = calls();
    sw.queueLinkChange(3, 0);
    serve();
    EXPECT_THAT(addressFilters(), IsEmpty());
    EXPECT_EQ(calls() - before, 2U);
}

INSTANTIATE_TEST_SUITE_P(GuardModes, GuardModeTest,
                         ::testing::Values(SOURCE_GUARD_IPV6, SOURCE_GUARD_IPV6_MAC,
                                           SOURCE_GUARD_IPV6_MAC_VLAN));

TEST_F(PortModeTest, RefusedOrIdleRequestAsksTheFilterServiceForNothing) {
    const size_t before = calls();
    for (const auto &[port, mode] :
         {std::pair{0U, 1U}, std::pair{225U, 1U}, std::pair{3U, 0U}, std::pair{3U, 5U}}) {
        EXPECT_EQ(set_ip6_source_guard_port_mode(port, mode), -1) << port << " to mode " << mode;
    }
    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE), 0);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_NONE);
    EXPECT_EQ(calls(), before);
    uint32_t mode = 0;
    EXPECT_EQ(get_ip6_source_guard_port_mode(0, &mode) + get_ip6_source_guard_port_mode(225, &mode), -2);
}

TEST_F(PortModeTest, EveryPortBindingsAreFilteredWhileAnyPortIsGuardedAndAPortsOwnWhileItIs) {
    bind("2001:db8:a::1", nullptr, 0, 0);
    bind("2001:db8:a::2", "02:00:00:00:0a:02", 0, 0);
    bind("2001:db8:a::3", "02:00:00:00:0a:03", 3, kVlan);
    bind("2001:db8:a::4", nullptr, 3, 0);
    bind("2001:db8:a::5", "02:00:00:00:0a:05", 5, kVlan);
    const std::string every1 = "forward ip6 2001:db8:a::1";
    const std::string every2 = "forward ip6 2001:db8:a::2 mac 02:00:00:00:0a:02";
    const std::string own3 = "forward ip6 2001:db8:a::3 mac 02:00:00:00:0a:03 port 3 vlan 10";
    const std::string own3NoVlan = "forward ip6 2001:db8:a::4 mac 00:00:00:00:00:00 port 3";
    const std::string own5 = "forward ip6 2001:db8:a::5 mac 02:00:00:00:0a:05 port 5 vlan 10";
    // Sets the mode of the port and expects the change to take that many filter-service calls.
    const auto change = [this](uint32_t port, uint32_t mode, size_t callCount) {
        const size_t before = calls();
        EXPECT_EQ(set_ip6_source_guard_port_mode(port, mode), 0);
        EXPECT_EQ(calls() - before, callCount) << port << " to mode " << mode;
    };
    change(3, SOURCE_GUARD_IPV6, 5);
    EXPECT_THAT(guardFilters(),
                UnorderedElementsAre(every1, every2, own3, own3NoVlan, "deny-all-ip6 port 3"));
    change(5, SOURCE_GUARD_IPV6_MAC, 2);
    EXPECT_THAT(guardFilters(), UnorderedElementsAre(every1, every2, own3, own3NoVlan, own5,
                                                     "deny-all-ip6 port 3", "deny-all-ip6 port 5"));
    change(3, SOURCE_GUARD_NONE, 3);
    EXPECT_THAT(guardFilters(), UnorderedElementsAre(every1, every2, own5, "deny-all-ip6 port 5"));
    change(5, SOURCE_GUARD_NONE, 4);
    EXPECT_THAT(guardFilters(), IsEmpty());
    for (const auto &call : sw.filterCalls()) {
        EXPECT_EQ(call.result, 0) << call.text();
    }
}

TEST_F(PortModeTest, ChangeBetweenGuardedModesRequestsTheDenyAllAndEveryForwardFilterAgain) {
    bind("2001:db8:a::1", nullptr, 0, 0);
    bind("2001:db8:a::3", "02:00:00:00:0a:03", 3, kVlan);
    acknowledge(kClient, 3,
                iaNa(1, 0, 0,
                     join({iaAddress(ipv6("2001:db8::a"), 10, 20), iaAddress(ipv6("2001:db8::b"), 10, 20)})));
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    const std::vector<std::string> filters = guardFilters();
    const size_t before = calls();

    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6_MAC_VLAN), 0);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_IPV6_MAC_VLAN);
    EXPECT_EQ(calls() - before, 5U);  // deny-all, two bindings, two learned addresses
    EXPECT_EQ(filters.size(), 5U);
    EXPECT_EQ(guardFilters(), filters);
}

TEST_F(PortModeTest, FailedDenyAllKeepsTheNewModeWithoutForwardFilters) {
    bind("2001:db8:a::1", nullptr, 0, 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::a"), 10, 20)));
    sw.failFilterCall("FRM_OperatePortDenyAllIp6FilterResource", -5);

    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), -5);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_IPV6);
    EXPECT_THAT(guardFilters(), IsEmpty());
    EXPECT_THAT(traces(),
                ::testing::Contains(" turn on ip6v6_source_guard failed because "
                                    "ip6_source_guard_intstall_deny_all_ip_traffic_frm failed.\r\n"));
    EXPECT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_NONE), 0);
    EXPECT_EQ(modeOf(3), SOURCE_GUARD_NONE);
    EXPECT_THAT(guardFilters(), IsEmpty());
}

TEST_F(PortModeTest, BindingCoversItsAddressForAnyClientAndEveryAddressOfItsMac) {
    const auto a = ipv6("2001:db8::a");
    const auto c = ipv6("2001:db8::c");
    bind("2001:db8::a", nullptr, 0, 0);
    bind("2001:db8::b", "02:00:00:00:00:01", 3, 0);
    EXPECT_EQ(staticBindCovers(kOtherClient.data(), a.data()), 1U);
    EXPECT_EQ(staticBindCovers(kOtherClient.data(), c.data()), 0U);
    EXPECT_EQ(staticBindCovers(kClient.data(), c.data()), 1U);
    EXPECT_EQ(staticBindCoversOther(kOtherClient.data(), a.data(), staticBindList.next->next), 0U);
    EXPECT_EQ(staticBindCoversOther(kClient.data(), c.data(), staticBindList.next), 0U);
    EXPECT_EQ(staticBindCoversOther(kClient.data(), a.data(), staticBindList.next), 1U);
}

}  // namespace
