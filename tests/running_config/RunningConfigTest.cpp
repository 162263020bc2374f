// The daemon's section of the running configuration: nothing at its defaults, the exact lines of each
// setting in their order, the space accounting that refuses a piece the counter cannot hold, and the text
// entered again through the switch's command line giving back the whole configuration.

#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <string>
#include <tuple>

#include "ConfigRoundTrip.h"
#include "running_config/RunningConfig.h"
#include "support/DaemonTest.h"
#include "switchsim/ConfigInterpreter.h"

namespace {

class RunningConfigTest : public DaemonTest {
  protected:
    void SetUp() override {
        sw.addVlan(10, {1, 2, 3});
        sw.addVlan(20, {4});
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

TEST_F(RunningConfigTest, EverySectionInItsOrder) {
    configureRichly();
    // Neither the port and VLAN of a binding without a MAC nor the VLAN of one for every port are written.
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 6};
    for (const auto &[last, withMac, port] : {std::tuple{5, false, 3U}, std::tuple{6, true, 0U}}) {
        const Ipv6Address address{
            {0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(last)}};
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(address, withMac ? mac : nullptr, port, 10), 0);
    }
    EXPECT_EQ(
        section(),
        "![DHCPV6-SNOOPING]\r\n"
        "dhcpv6-snooping\r\n"
        "no dhcpv6-snooping port-down-action fast-remove\r\n"
        "interface ethernet1/0/1\r\ndhcpv6-snooping trust\r\nexit\r\n"
        "interface ethernet1/0/2\r\nipv6-source-guard ipv6-mac\r\ndhcpv6-snooping max-clients 100\r\nexit\r\n"
        "interface ethernet1/0/3\r\nipv6-source-guard ipv6\r\nexit\r\n"
        "vlan 10\r\ndhcpv6-snooping max-clients 5\r\nexit\r\n"
        "vlan 20\r\ndhcpv6-snooping max-clients 0\r\nexit\r\n"
        "dhcpv6-snooping information interface-id string \"desk \"7\" left\"\r\n"
        "dhcpv6-snooping information option 37\r\n"
        "dhcpv6-snooping information remote-id user-defined \"%cvlan-%port\"\r\n"
        "no ipv6-source-guard bind vlan 30,40-43,4094\r\n"
        "ipv6-source-guard bind ip 2000::6 mac 02:00:00:00:00:06\r\n"
        "ipv6-source-guard bind ip 2000::5\r\n"
        "ipv6-source-guard bind ip 2000::4 mac 02:00:00:00:00:04 interface ethernet 1/0/3 vlan 10\r\n"
        "ipv6-source-guard bind ip 2000::3 mac 02:00:00:00:00:03 interface ethernet 1/0/3\r\n"
        "ipv6-source-guard bind ip 2000::2 mac 02:00:00:00:00:02\r\n"
        "ipv6-source-guard bind ip 2000::1\r\n");
}

TEST_F(RunningConfigTest,
       DefaultsWriteNothingNotEvenTheHeaderAndACounterEqualToAPieceRefusesItOneMoreTakesIt) {
    uint32_t result = 99;
    EXPECT_EQ(section(8192, &result, "!previous\r\n"), "!previous\r\n");
    EXPECT_EQ(result, 0U);
    dhcp6snoopingStart();
    const std::string header = "![DHCPV6-SNOOPING]\r\n";
    const std::string line = "dhcpv6-snooping\r\n";
    EXPECT_EQ(section(static_cast<uint32_t>(header.size()), &result), "");
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size()), &result), header);
    EXPECT_EQ(result, 0xFFFFFFFFU);
    EXPECT_EQ(section(static_cast<uint32_t>(header.size() + line.size() + 1), &result), header + line);
    EXPECT_EQ(result, 0U);
    sw.failModuleName();
    EXPECT_EQ(dhcp6snoopingBuildRunningConfig(nullptr, nullptr), 0xFFFFFFFFU);
    section(8192, &result);
    EXPECT_EQ(result, 0xFFFFFFFFU);
}

// The formats the options take on top of the rich configuration, both switched on.
struct OptionFormats {
    const char *name;
    InfoOptionFormat interfaceId;
    const char *interfaceIdValue;
    InfoOptionFormat remoteId;
    const char *remoteIdValue;
};

class RoundTripTest : public RunningConfigTest, public ::testing::WithParamInterface<OptionFormats> {
  protected:
    // The value as the option record holds it: the bytes of an address, or the text itself.
    static std::string valueOf(InfoOptionFormat format, const char *text) {
        if (format != FORMAT_IPV4_ADDRESS && format != FORMAT_IPV6_ADDRESS) {
            return text;
        }
        std::string bytes(16, '\0');
        EXPECT_EQ(inet_pton(format == FORMAT_IPV4_ADDRESS ? AF_INET : AF_INET6, text, bytes.data()), 1);
        return bytes;
    }
};

// The configuration is made by a daemon in another process and entered here, on a daemon that never had one.
TEST_P(RoundTripTest, EnteredOnAFreshDaemonTheRunningConfigurationGivesBackTheSameState) {
    const OptionFormats &formats = GetParam();
    const fuzz::ChildOutcome child = fuzz::inChildProcess([&formats, this](std::string &made) {
        configureRichly();
        EXPECT_EQ(fuzz::enableRelayOption(true, true), 0);
        EXPECT_EQ(fuzz::setRelayOptionFormat(true, formats.interfaceId,
                                             valueOf(formats.interfaceId, formats.interfaceIdValue)),
                  0);
        EXPECT_EQ(fuzz::setRelayOptionFormat(false, formats.remoteId,
                                             valueOf(formats.remoteId, formats.remoteIdValue)),
                  0);
        made = configurationAndFilters();
        return !::testing::Test::HasFailure();
    });
    ASSERT_TRUE(child.succeeded) << "the configuring process failed";
    const std::string &configured = child.text;
    const std::string text = configured.substr(0, configured.find("filters:"));
    const auto errors = switchsim::applyConfigText(sw, text, dhcp6snoopingServeNextMessage);
    for (const auto &error : errors) {
        ADD_FAILURE() << "line " << error.lineNumber << " " << error.line << ": " << error.reason;
    }
    EXPECT_EQ(fuzz::withBindingLinesSorted(configurationAndFilters()),
              fuzz::withBindingLinesSorted(configured));
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, RoundTripTest,
                         ::testing::Values(OptionFormats{"Addresses", FORMAT_IPV4_ADDRESS, "192.0.2.1",
                                                         FORMAT_IPV6_ADDRESS, "2001:db8::99"},
                                           OptionFormats{"TemplateAndEmptyText", FORMAT_USER_DEFINED,
                                                         "vlan%cvlan", FORMAT_STRING, ""},
                                           OptionFormats{"TextAndTemplate", FORMAT_STRING, "desk \"7\"",
                                                         FORMAT_USER_DEFINED, "%sysname-%port"}),
                         [](const auto &testInfo) { return std::string(testInfo.param.name); });

TEST(ConfigRoundTrip, RandomConfigurationsComeBackWhole) {
    EXPECT_EQ(fuzz::playRandomInputs(200, 160, fuzz::playConfigRoundTrip), std::nullopt);
}

TEST(ConfigRoundTrip, RandomConfigurationsReplaceEachOtherThroughTheirDifferences) {
    EXPECT_EQ(fuzz::playRandomInputs(200, 200, fuzz::playConfigReplace), std::nullopt);
}

TEST(ConfigInterpreter, RefusedLinesAreReportedAndTheRestIsEntered) {
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
