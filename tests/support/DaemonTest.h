#pragma once
// A test that runs the daemon on a fresh simulated switch.

#include <gtest/gtest.h>

#include <tuple>

#include "FuzzSupport.h"
#include "core/MainLoop.h"
#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "platform/VosApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/AddressList.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"

// Address records written out for comparison: "2001:db8::1/128 600/900" (preferred/valid lifetime).
inline std::vector<std::string> bindingTexts(const AddressList &list) {
    std::vector<std::string> texts;
    for (uint32_t i = 0; i < list.count; ++i) {
        const ClientAddress &record = *addressAt(list, i);
        char address[64] = {};
        vosInetNtop(VOS_AF_INET6, record.address, address, sizeof address);
        texts.push_back(std::string(address) + "/" + std::to_string(record.prefixLength) + " " +
                        std::to_string(record.preferredLifetime) + "/" +
                        std::to_string(record.validLifetime));
    }
    return texts;
}

class DaemonTest : public ::testing::Test {
  protected:
    static constexpr uint32_t kTraceLevel = 7;

    DaemonTest() = default;
    explicit DaemonTest(const switchsim::SwitchConfig &config) : sw(config) {}

    void startDaemon() { ASSERT_EQ(dhcp6snoopingStartup("/sbin/dhcp6snooping"), 0); }
    // Lets the daemon take every queued event.
    void serve() { sw.runUntilIdle(dhcp6snoopingServeNextMessage); }
    void traceOn() { sw.setModuleLogLevel(kDhcp6SnoopingModuleId, kTraceLevel); }

    // The texts of the daemon's trace lines, in order.
    [[nodiscard]] std::vector<std::string> traces() const {
        std::vector<std::string> texts;
        for (const auto &line : sw.syslogLines()) {
            if (line.module == kDhcp6SnoopingModuleId && line.level == kTraceLevel) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    // Every setting away from its default, for a switch whose VLAN 10 holds ports 1 to 3 and VLAN 20 port 4:
    // snooping on, fast removal off, port 1 trusted, port 2 guarded with MACs and limited, port 3 guarded,
    // VLANs 10 and 20 limited (and VLAN 30, which the switch lacks), the text of option 18 set but the option
    // off, option 37 on with a template, VLANs 30, 40 to 43 and 4094 exempt, and a static binding of every
    // form the running configuration writes whole: 2000::1 alone, ::2 with a MAC, ::3 with a MAC and port 3,
    // and ::4 with a MAC, port 3 and VLAN 10.
    static void configureRichly() {
        ASSERT_EQ(dhcp6snoopingStart() + dhcp6snoopingFastRemoveCfg(0) + dhcp6snooping_port_mode(1, 1), 0);
        ASSERT_EQ(set_ip6_source_guard_port_mode(2, SOURCE_GUARD_IPV6_MAC), 0);
        ASSERT_EQ(dhcp6snooping_port_maxclients(2, 100), 0);
        ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
        for (const auto &[vlan, limit] : {std::pair{10U, 5U}, std::pair{20U, 0U}, std::pair{30U, 100U}}) {
            ASSERT_EQ(dhcp6snooping_vlan_maxclients(vlan, limit), 0);
        }
        ASSERT_EQ(fuzz::setRelayOptionFormat(true, FORMAT_STRING, "desk \"7\" left"), 0);
        ASSERT_EQ(fuzz::enableRelayOption(false, true), 0);
        ASSERT_EQ(fuzz::setRelayOptionFormat(false, FORMAT_USER_DEFINED, "%cvlan-%port"), 0);
        const VlanBitmap exempt = fuzz::vlanBitmapOf({30, 40, 41, 42, 43, 4094});
        VlanBitmap failed{};
        ASSERT_EQ(ip6_source_guard_vlanlist_config(0, &exempt, &failed), 0);
        for (const auto &[last, port, vlan] :
             {std::tuple{1, 0U, 0U}, std::tuple{2, 0U, 0U}, std::tuple{3, 3U, 0U}, std::tuple{4, 3U, 10U}}) {
            Ipv6Address address{{0x20}};
            address.octets[15] = static_cast<uint8_t>(last);
            const uint8_t mac[6] = {2, 0, 0, 0, 0, static_cast<uint8_t>(last)};
            ASSERT_EQ(ip6v6_source_guard_bind_node_add(address, last == 1 ? nullptr : mac, port, vlan), 0);
        }
    }

    switchsim::Switch sw;
};

// A DaemonTest with the daemon started.
class StartedDaemonTest : public DaemonTest {
  protected:
    using DaemonTest::DaemonTest;
    void SetUp() override { startDaemon(); }
};
