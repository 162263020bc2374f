// The daemon's section of the running configuration: nothing at its defaults, the exact lines of each
// setting in their order, the space accounting that refuses a piece the counter cannot hold, and the text
// entered again through the switch's command line giving back the whole configuration.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "ConfigRoundTrip.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "running_config/RunningConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "support/SnoopingTest.h"
#include "switchsim/ConfigInterpreter.h"

namespace {

class RunningConfigTest : public DaemonTest {
  protected:
    void SetUp() override {
        sw.addVlan(10, {1, 2, 3});
        startDaemon();
    }
    // The section written into a buffer that already holds `before`, with `space` bytes counted free.
    std::string section(uint32_t space = 8192, uint32_t *result = nullptr, const std::string &before = "") {
        std::string buffer(before);
        buffer.resize(before.size() + space + 1, '\0');
        uint32_t remaining = space;
        const uint32_t answer = dhcp6snoopingBuildRunningConfig(buffer.data(), &remaining);
        if (result != nullptr) {
            *result = answer;
        }
        std::string text(buffer, 0, buffer.find('\0'));
        EXPECT_EQ(remaining, space - (text.size() - before.size()));
        return text;
    }
};

TEST_F(RunningConfigTest, DefaultsWriteNothingNotEvenTheHeader) {
    uint32_t result = 99;
    EXPECT_EQ(section(8192, &result, "!previous\r\n"), "!previous\r\n");
    EXPECT_EQ(result, 0U);
    sw.failModuleName();
    EXPECT_EQ(dhcp6snoopingBuildRunningConfig(nullptr, nullptr), 0xFFFFFFFFU);
    section(8192, &result);
    EXPECT_EQ(result, 0xFFFFFFFFU);
}

TEST_F(RunningConfigTest, EverySectionInItsOrder) {
    dhcp6snoopingStart();
    dhcp6snoopingFastRemoveCfg(0);
    dhcp6snooping_port_mode(1, 1);
    set_ip6_source_guard_port_mode(2, SOURCE_GUARD_IPV6_MAC);
    dhcp6snooping_port_maxclients(2, 100);
    dhcp6snooping_vlan_maxclients(10, 5);
    dhcp6snooping_vlan_maxclients(20, 100);  // no such VLAN on the switch: no block
    InfoOptionConfig config{};
    config.interfaceIdFormat = FORMAT_STRING;
    std::snprintf(reinterpret_cast<char *>(config.interfaceIdValue), kOptionValueSize, "abc");
    config.remoteIdEnable = 1;
    config.remoteIdFormat = FORMAT_USER_DEFINED;
    std::snprintf(reinterpret_cast<char *>(config.remoteIdValue), kOptionValueSize, "%%cvlan-%%port");
    for (const uint32_t selector : {1U, 3U, 4U}) {
        dhcp6snoopingGlobalDhcp6InfoCfg(selector, &config);
    }
    for (const VlanId vlan : {30U, 31U, 32U, 40U}) {
        operate_no_ip6_source_guard_vlan(vlan, 1);
    }
    Ipv6Address address{};
    address.octets[0] = 0x20;
    for (const auto &[last, withMac, port, vlan] :
         {std::tuple{1, false, 3U, 10U}, std::tuple{2, true, 0U, 10U}, std::tuple{3, true, 3U, 0U},
          std::tuple{4, true, 3U, 10U}}) {
        address.octets[15] = static_cast<uint8_t>(last);
        uint8_t bindingMac[6] = {2, 0, 0, 0, 0, static_cast<uint8_t>(last)};
        ip6v6_source_guard_bind_node_add(address, withMac ? bindingMac : nullptr, port, vlan);
    }
    EXPECT_EQ(
        section(),
        "![DHCPV6-SNOOPING]\r\n"
        "dhcpv6-snooping\r\n"
        "no dhcpv6-snooping port-down-action fast-remove\r\n"
        "interface ethernet1/0/1\r\ndhcpv6-snooping trust\r\nexit\r\n"
        "interface ethernet1/0/2\r\nipv6-source-guard ipv6-mac\r\ndhcpv6-snooping max-clients 100\r\nexit\r\n"
        "vlan 10\r\ndhcpv6-snooping max-clients 5\r\nexit\r\n"
        "dhcpv6-snooping information interface-id string \"abc\"\r\n"
        "dhcpv6-snooping information option 37\r\n"
        "dhcpv6-snooping information remote-id user-defined \"%cvlan-%port\"\r\n"
        "no ipv6-source-guard bind vlan 30-32,40\r\n"
        "ipv6-source-guard bind ip 2000::4 mac 02:00:00:00:00:04 interface ethernet 1/0/3 vlan 10\r\n"
        "ipv6-source-guard bind ip 2000::3 mac 02:00:00:00:00:03 interface ethernet 1/0/3\r\n"
        "ipv6-source-guard bind ip 2000::2 mac 02:00:00:00:00:02\r\n"
        "ipv6-source-guard bind ip 2000::1\r\n");
}

TEST_F(RunningConfigTest, CounterEqualToThePieceRefusesItOneMoreAcceptsIt) {
    dhcp6snoopingStart();
    const std::string header = "![DHCPV6-SNOOPING]\r\n";
    const std::string line = "dhcpv6-snooping\r\n";
    uint32_t result = 0;
    EXPECT_EQ(section(static_cast<uint32_t>(header.size()), &result), "");
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size()), &result), header);
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size() + 1), &result), header + line);
    EXPECT_EQ(result, 0U);
}

// How one information option is set: its format and the value's text (an address or a text).
struct OptionSetting {
    InfoOptionFormat format;
    const char *value;
};

struct RoundTripCase {
    const char *name;
    OptionSetting interfaceId;
    OptionSetting remoteId;
};

void setOption(bool interfaceId, const OptionSetting &setting) {
    InfoOptionConfig record{};
    InfoOptionFields fields = interfaceId ? interfaceIdFields(record) : remoteIdFields(record);
    fields.enable = 1;
    fields.format = setting.format;
    if (setting.format == FORMAT_IPV4_ADDRESS || setting.format == FORMAT_IPV6_ADDRESS) {
        ASSERT_EQ(inet_pton(setting.format == FORMAT_IPV4_ADDRESS ? AF_INET : AF_INET6, setting.value,
                            fields.value),
                  1);
    } else {
        std::snprintf(reinterpret_cast<char *>(fields.value), kOptionValueSize, "%s", setting.value);
    }
    for (const InfoOptionSelector selector :
         interfaceId ? std::array{SELECT_INTERFACE_ID_ENABLE, SELECT_INTERFACE_ID_FORMAT}
                     : std::array{SELECT_REMOTE_ID_ENABLE, SELECT_REMOTE_ID_FORMAT}) {
        ASSERT_EQ(dhcp6snoopingGlobalDhcp6InfoCfg(selector, &record), 0);
    }
}

// Runs `work` in a child process, on a daemon that starts there, and returns what it wrote.
template <typename Work>
std::string inChildProcess(Work work) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        const std::string text = work();
        const bool written =
            write(pipeEnds[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(written && !::testing::Test::HasFailure() ? 0 : 1);
    }
    close(pipeEnds[1]);
    std::string text;
    char chunk[4096];
    for (ssize_t got = 0; (got = read(pipeEnds[0], chunk, sizeof chunk)) > 0;) {
        text.append(chunk, static_cast<size_t>(got));
    }
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the configuring process failed";
    return text;
}

class ConfigRoundTripTest : public DaemonTest, public ::testing::WithParamInterface<RoundTripCase> {
  protected:
    ConfigRoundTripTest() {
        sw.addVlan(10, {1, 2, 3, 4, 5});
        sw.addVlan(20, {6, 7});
    }

    // Trusted and guarded ports, limits of ports and VLANs, both options, exempt VLANs and a static
    // binding of every form the running configuration writes.
    void configureRichly() {
        dhcp6snoopingStart();
        dhcp6snoopingFastRemoveCfg(0);
        dhcp6snooping_port_mode(2, 1);
        set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6);
        set_ip6_source_guard_port_mode(4, SOURCE_GUARD_IPV6_MAC);
        dhcp6snooping_port_maxclients(4, 10);
        dhcp6snooping_port_mode(5, 1);
        set_ip6_source_guard_port_mode(5, SOURCE_GUARD_IPV6_MAC_VLAN);
        dhcp6snooping_vlan_maxclients(10, 100);
        dhcp6snooping_vlan_maxclients(20, 0);
        setOption(/*interfaceId=*/true, GetParam().interfaceId);
        setOption(/*interfaceId=*/false, GetParam().remoteId);
        VlanBitmap exempt{};
        VlanBitmap failed{};
        for (const VlanId vlan : {30, 40, 41, 42, 43, 4094}) {
            vlanBitmapAdd(exempt, vlan);
        }
        ip6_source_guard_vlanlist_config(/*operation=*/0, &exempt, &failed);
        const uint8_t mac[6] = {0x02, 0, 0, 0, 0, 0x0a};
        Ipv6Address address{{0x20, 0x01, 0x0d, 0xb8}};
        for (const auto &[last, withMac, port, vlan] :
             {std::tuple{1, false, 0U, 0U}, std::tuple{2, true, 0U, 0U}, std::tuple{3, true, 3U, 0U},
              std::tuple{4, true, 4U, 10U}}) {
            address.octets[15] = static_cast<uint8_t>(last);
            uint8_t bindingMac[6];
            std::copy(std::begin(mac), std::end(mac), bindingMac);
            bindingMac[5] = static_cast<uint8_t>(last);
            ASSERT_EQ(ip6v6_source_guard_bind_node_add(address, withMac ? bindingMac : nullptr, port, vlan),
                      0);
        }
    }

    // The running configuration as the switch collects it, and the filters in place.
    std::string configurationAndFilters() {
        sw.queueRunningConfigRequest(1U << 16);
        serve();
        std::string text = sw.runningConfigAnswers().back().text + "filters:\n";
        for (const auto &filter : sw.installedFilters()) {
            text += filter.text() + "\n";
        }
        return text;
    }
};

TEST_P(ConfigRoundTripTest, RunningConfigurationEnteredOnAFreshDaemonGivesBackTheSameState) {
    const std::string configured = inChildProcess([this] {
        startDaemon();
        configureRichly();
        return configurationAndFilters();
    });
    for (const char *line :
         {"dhcpv6-snooping information option 18", "dhcpv6-snooping information option 37",
          "no ipv6-source-guard bind vlan 30,40-43,4094", "interface ethernet 1/0/4 vlan 10",
          "mac 02:00:00:00:00:03 interface ethernet 1/0/3\r\n", "mac 02:00:00:00:00:02\r\n",
          "bind ip 2001:db8::1\r\n"}) {
        EXPECT_THAT(configured, ::testing::HasSubstr(line));
    }
    startDaemon();
    const std::string text = configured.substr(0, configured.find("filters:"));
    const auto errors = switchsim::applyConfigText(sw, text, dhcp6snoopingServeNextMessage);
    for (const auto &error : errors) {
        ADD_FAILURE() << "line " << error.lineNumber << " " << error.line << ": " << error.reason;
    }
    EXPECT_EQ(fuzz::withBindingLinesSorted(configurationAndFilters()),
              fuzz::withBindingLinesSorted(configured));
}

INSTANTIATE_TEST_SUITE_P(
    EveryOptionFormat, ConfigRoundTripTest,
    ::testing::Values(
        RoundTripCase{"Addresses", {FORMAT_IPV4_ADDRESS, "192.0.2.1"}, {FORMAT_IPV6_ADDRESS, "2001:db8::99"}},
        RoundTripCase{
            "AddressesSwapped", {FORMAT_IPV6_ADDRESS, "2001:db8::1"}, {FORMAT_IPV4_ADDRESS, "198.51.100.7"}},
        RoundTripCase{
            "TextAndTemplate", {FORMAT_STRING, "desk \"7\" left"}, {FORMAT_USER_DEFINED, "%sysname-%port"}},
        RoundTripCase{"TemplateAndEmptyText", {FORMAT_USER_DEFINED, "vlan%cvlan"}, {FORMAT_STRING, ""}}),
    [](const auto &testInfo) { return std::string(testInfo.param.name); });

TEST(ConfigRoundTrip, RandomConfigurationsComeBackWhole) {
    std::mt19937 random(20261123);
    for (int configuration = 0; configuration < 200; ++configuration) {
        std::vector<uint8_t> bytes(160);
        std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<uint8_t>(random()); });
        fuzz::Input input(bytes.data(), bytes.size());
        const auto failure = fuzz::playConfigRoundTrip(input);
        ASSERT_FALSE(failure.has_value()) << "configuration " << configuration << ": " << *failure;
    }
}

TEST(ConfigInterpreter, RefusedLinesAreReportedAndTheRestIsEntered) {
    fuzz::fuzzSwitch();
    const auto errors =
        switchsim::applyConfigText(fuzz::fuzzSwitch(),
                                   "![DHCPV6-SNOOPING]\r\n"
                                   "dhcpv6-snoop\r\n"
                                   "interface ethernet1/0/99\r\n"
                                   "vlan 4095\r\n"
                                   "dhcpv6-snooping information remote-id ipv4-address 1.2.3\r\n"
                                   "dhcpv6-snooping information remote-id string unquoted\r\n"
                                   "no ipv6-source-guard bind vlan 5-2\r\n"
                                   "ipv6-source-guard bind ip 2001:db8::1 mac 02:00:00:00:00\r\n"
                                   "interface ethernet1/0/2\r\n"
                                   "ipv6-source-guard ipv4\r\n"
                                   "dhcpv6-snooping trust\r\n"
                                   "exit\r\n",
                                   dhcp6snoopingServeNextMessage);
    std::vector<uint32_t> refused;
    refused.reserve(errors.size());
    for (const auto &error : errors) {
        refused.push_back(error.lineNumber);
    }
    EXPECT_THAT(refused, ::testing::ElementsAre(2, 3, 4, 5, 6, 7, 8, 10));
    uint32_t trust = 0;
    dhcp6snooping_port_mode_get(2, &trust);
    EXPECT_EQ(trust, 1U);
}

}  // namespace
