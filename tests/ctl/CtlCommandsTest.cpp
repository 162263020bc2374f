// The command line run whole, words to exit code, against the daemon on the simulated switch: every view
// agrees with the daemon's own state, in text and in JSON, and every configuring command changes what it
// says and nothing when it refuses, with the exit code and the sentence the man page promises. The JSON of
// every view is written out for the schema check that follows.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Commands.h"
#include "SwitchsimTransport.h"
#include "platform/PlatformVariables.h"
#include "support/SnoopingTest.h"

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace switchsim::dhcp6;  // NOLINT(google-build-using-namespace): the message and option builders

struct Outcome {
    int code = 0;
    std::string out;
    std::string err;
};

// A client acknowledged on port 3 with an address and a prefix, one waiting for its REPLY on port 4, a
// template for option 37, a binding and an exempt VLAN.
class CtlCommandsTest : public SnoopingTest {
  protected:
    void SetUp() override {
        SnoopingTest::SetUp();
        acknowledge(kClient, 3,
                    join({iaNa(1, 0, 0, iaAddress(switchsim::ipv6("2001:db8::1"), 300, 600)),
                          iaPd(2, 0, 0, iaPrefix(300, 900, 56, switchsim::ipv6("2001:db8:100::")))}));
        clientSends(SOLICIT, kWaiting, 4);
        ASSERT_EQ(
            run({"config", "dhcpv6-snooping information remote-id user-defined \"%sysname-%port\"",
                 "dhcpv6-snooping information option 37", "ipv6-source-guard bind ip 2001:db8::99",
                 "no ipv6-source-guard bind vlan 20", "vlan 10", "dhcpv6-snooping max-clients 50", "exit"})
                .code,
            0);
    }

    Outcome run(const std::vector<std::string> &words, const std::string &input = "") {
        std::istringstream in(input);
        std::ostringstream out;
        std::ostringstream err;
        const int code = ctl::runCommandLine(
            words, [this](const std::string &) { return std::make_unique<ctltest::SwitchsimTransport>(sw); },
            in, out, err);
        return {code, out.str(), err.str()};
    }
    json view(const std::string &name) {
        const Outcome shown = run({"show", name, "--json=short"});
        EXPECT_EQ(shown.code, 0) << shown.err;
        return json::parse(shown.out);
    }
    // The view as the test of every view reads it, written out for the schema check.
    json keptView(const std::string &name) {
        json value = view(name);
        std::filesystem::create_directories(CTL_JSON_DIR);
        std::ofstream(std::string(CTL_JSON_DIR) + "/" + name + ".json") << value.dump(2);
        return value;
    }
    std::string runningConfig() { return run({"show", "running-config"}).out; }

    const switchsim::MacAddress kWaiting = switchsim::mac("02:00:00:00:00:02");
};

TEST_F(CtlCommandsTest, EveryViewAgreesWithTheDaemonsState) {
    const size_t tracesBefore = traces().size();
    const json ports = keptView("ports");
    ASSERT_EQ(ports.size(), gul_max_port_num);
    for (const auto &port : ports) {
        const auto number = port["port"].get<uint32_t>();
        uint32_t trust = 0;
        uint32_t mode = 0;
        uint32_t maximum = 0;
        uint32_t count = 0;
        ASSERT_EQ(dhcp6snooping_port_mode_get(number, &trust) +
                      get_ip6_source_guard_port_mode(number, &mode) +
                      dhcp6snooping_port_maxclients_get(number, &maximum, &count),
                  0);
        EXPECT_EQ(port["trusted"], trust == 1);
        EXPECT_EQ(port["max_clients"], maximum);
        EXPECT_EQ(port["clients"], count) << number;
        EXPECT_EQ(port["source_guard"], mode == SOURCE_GUARD_NONE ? "none" : port["source_guard"]);
    }
    EXPECT_EQ(keptView("vlans"), json::parse(R"([{"vlan":10,"max_clients":50,"clients":2}])"));
    EXPECT_EQ(traces().size(), tracesBefore) << "a whole-list read writes no trace line";

    const json clients = keptView("clients");
    ASSERT_EQ(clients.size(), 2U) << "the waiting client is listed too";
    EXPECT_EQ(clients[0]["mac"], "02:00:00:00:00:01");
    EXPECT_EQ(clients[0]["waiting"], false);
    EXPECT_EQ(clients[0]["port_name"], "1/0/3");
    EXPECT_EQ(clients[0]["addresses"],
              json::parse(R"([{"address":"2001:db8::1","prefix_length":128,"valid_seconds_left":600},
                              {"address":"2001:db8:100::","prefix_length":56,"valid_seconds_left":900}])"));
    EXPECT_EQ(clients[1]["waiting"], true);
    EXPECT_EQ(clients[1]["addresses"], json::array());
    EXPECT_THAT(run({"show", "clients"}).out, HasSubstr("02:00:00:00:00:02 vlan 10 port 1/0/4 (waiting"));

    const json global = keptView("global");
    EXPECT_EQ(global["remote_id"],
              json::parse(R"({"enabled":true,"format":"user-defined","value":"%sysname-%port"})"));
    EXPECT_EQ(global["snooping"], true);
    EXPECT_EQ(keptView("bindings"), json::parse(R"([{"address":"2001:db8::99"}])"));
    EXPECT_EQ(keptView("exempt-vlans"), json::parse("[20]"));
    EXPECT_THAT(runningConfig(), HasSubstr("user-defined \"%sysname-%port\""));
}

struct CommandCase {
    const char *name;
    std::vector<std::string> words;
    int code;
    const char *said;       // on standard error, or "" for nothing
    const char *configHas;  // in the running configuration after; with configLacks "" it must be as before
    const char *configLacks = "";
};

class CtlCommandTest : public CtlCommandsTest, public ::testing::WithParamInterface<CommandCase> {};

TEST_P(CtlCommandTest, ChangesWhatItSaysOrNothingWithItsExitCode) {
    const CommandCase &command = GetParam();
    const std::string before = runningConfig();
    const Outcome outcome = run(command.words, "interface ethernet1/0/6\ndhcpv6-snooping trust\nexit\n");
    EXPECT_EQ(outcome.code, command.code) << outcome.err;
    if (*command.said != '\0') {
        EXPECT_THAT(outcome.err, HasSubstr(command.said));
    }
    if (*command.configHas == '\0' && *command.configLacks == '\0') {
        EXPECT_EQ(runningConfig(), before);
    }
    if (*command.configHas != '\0') {
        EXPECT_THAT(runningConfig(), HasSubstr(command.configHas));
    }
    if (*command.configLacks != '\0') {
        EXPECT_THAT(runningConfig(), Not(HasSubstr(command.configLacks)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, CtlCommandTest,
    ::testing::Values(
        CommandCase{"ConfigSetsALimit",
                    {"config", "interface ethernet1/0/5", "dhcpv6-snooping max-clients 7", "exit"},
                    0,
                    "",
                    "interface ethernet1/0/5\ndhcpv6-snooping max-clients 7"},
        CommandCase{"ConfigRefusesALimitAbove2048",
                    {"config", "interface ethernet1/0/5", "dhcpv6-snooping max-clients 5000", "exit"},
                    2,
                    "max-clients: 5000 is above 2048",
                    ""},
        CommandCase{"ConfigRefusesAPortThatIsNot",
                    {"config", "interface ethernet1/0/99"},
                    2,
                    "no such port: 1/0/99",
                    ""},
        CommandCase{"NoUndoesAValue",
                    {"config", "vlan 10", "no dhcpv6-snooping max-clients", "exit"},
                    0,
                    "",
                    "",
                    "max-clients 50"},
        CommandCase{"NoUndoesABinding",
                    {"config", "no ipv6-source-guard bind ip 2001:db8::99"},
                    0,
                    "",
                    "",
                    "2001:db8::99"},
        CommandCase{"TheDaemonsRefusalIsASentence",
                    {"config", "ipv6-source-guard bind ip 2001:db8::99"},
                    1,
                    "binding 2001:db8::99 exists already",
                    ""},
        CommandCase{"AMulticastBindingIsRefusedUnsent",
                    {"config", "ipv6-source-guard bind ip ff02::1"},
                    2,
                    "not a unicast address",
                    ""},
        CommandCase{"ApplyReadsStandardInput",
                    {"apply", "-"},
                    0,
                    "",
                    "interface ethernet1/0/6\ndhcpv6-snooping trust"},
        CommandCase{"ClearClientsOfAPort", {"clear", "clients", "port", "1/0/3"}, 0, "", ""},
        CommandCase{
            "ClearClientsOfAVlanOutsideTheRange", {"clear", "clients", "vlan", "4095"}, 2, "not a VLAN", ""},
        CommandCase{
            "StatisticsOfAPortThatIsNot", {"show", "statistics", "port", "1/0/99"}, 2, "no such port", ""},
        CommandCase{"DebugTakesOnOrOff", {"debug", "maybe"}, 2, "debug takes on or off", ""},
        CommandCase{"JsonAnywhereAndUnknownOptionsRefused",
                    {"show", "ports", "--json=long"},
                    2,
                    "--json takes pretty or short",
                    ""}),
    [](const auto &testInfo) { return std::string(testInfo.param.name); });

TEST_F(CtlCommandsTest, ClearAndResetForgetWhatTheySay) {
    EXPECT_EQ(run({"clear", "clients", "port", "1/0/3"}).code, 0);
    EXPECT_EQ(view("clients").size(), 1U);
    EXPECT_EQ(run({"-j", "reset"}).code, 0);
    EXPECT_EQ(view("clients"), json::array());
    EXPECT_EQ(view("bindings"), json::array());
    EXPECT_THAT(runningConfig(), Not(HasSubstr("dhcpv6-snooping")));
}

TEST_F(CtlCommandsTest, StatisticsCountWhatTheSwitchSawAndClearToZero) {
    serverSends(ADVERTISE, kClient, 5);
    serverSends(ADVERTISE, kClient, 5);
    const json all = keptView("statistics");
    EXPECT_EQ(all["total"]["dropped"]["server_message_on_untrusted_port"], 2);
    EXPECT_EQ(all["total"]["passed"]["request"], 1) << "the REQUEST of the set-up";
    const json port5 = json::parse(run({"show", "statistics", "port", "1/0/5", "-j"}).out);
    EXPECT_EQ(port5["dropped"]["server_message_on_untrusted_port"], 2);
    EXPECT_EQ(port5["passed"]["request"], 0);
    EXPECT_THAT(run({"show", "statistics", "port", "1/0/5"}).out,
                HasSubstr("port 1/0/5\n  dropped: server message on untrusted port 2\n"));

    EXPECT_EQ(run({"clear", "statistics"}).code, 0);
    const json cleared = view("statistics");
    json every = cleared["ports"];
    every.push_back(cleared["total"]);
    for (const auto &port : every) {
        for (const auto &[group, counters] : port.items()) {
            if (counters.is_object()) {
                for (const auto &[key, value] : counters.items()) {
                    EXPECT_EQ(value, 0) << port.value("name", "total") << " " << group << " " << key;
                }
            }
        }
    }
    EXPECT_THAT(run({"show", "statistics"}).out, HasSubstr("every port\n  nothing counted\n"));
}

TEST_F(CtlCommandsTest, DebugSwitchesTheTraceAndGlobalSaysSo) {
    EXPECT_EQ(run({"debug", "off"}).code, 0);
    EXPECT_EQ(view("global")["trace"], false);
    const size_t before = traces().size();
    serverSends(ADVERTISE, kClient, 5);
    EXPECT_EQ(traces().size(), before);
    EXPECT_EQ(run({"debug", "on"}).code, 0);
    EXPECT_THAT(run({"show", "global"}).out, HasSubstr("debug trace: on"));
    serverSends(ADVERTISE, kClient, 5);
    EXPECT_EQ(traces().size(), before + 1);
}

}  // namespace
