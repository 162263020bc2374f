#include <gmock/gmock.h>

#include <string>

#include "core/DebugTrace.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DebugTraceTest : public DaemonTest {
  protected:
    void SetUp() override { startDaemon(); }
};

TEST_F(DebugTraceTest, SendsNothingWhileDebuggingIsOff) {
    dhcp6snooping_debug_printf("\r\n dhcpv6 %s msg to user: mac %s", "REPLY", "00:00:5e:00:53:01");

    EXPECT_THAT(sw.syslogLines(), IsEmpty());
}

TEST_F(DebugTraceTest, SendsExactlyTheFormattedTextAsBothTextsAtModule54Level7) {
    traceOn();
    dhcp6snooping_debug_printf("\r\n receive dhcpv6 %s msg, record user: mac %s, vlan %d, port %s", "SOLICIT",
                               "00:00:5e:00:53:01", 10, "ethernet1/0/3");

    ASSERT_EQ(sw.syslogLines().size(), 1U);
    const auto &line = sw.syslogLines()[0];
    const std::string expected =
        "\r\n receive dhcpv6 SOLICIT msg, record user: mac 00:00:5e:00:53:01, vlan 10, port ethernet1/0/3";
    EXPECT_EQ(line.module, 54U);
    EXPECT_EQ(line.level, 7U);
    EXPECT_EQ(line.name, "dhcp6snooping");
    EXPECT_EQ(line.text, expected);
    EXPECT_EQ(line.detail, expected);
}

TEST_F(DebugTraceTest, EachLineIsFormattedAfresh) {
    traceOn();
    dhcp6snooping_debug_printf("%s", "a much longer first line");
    dhcp6snooping_debug_printf("%s", "short");

    EXPECT_THAT(traces(), ElementsAre("a much longer first line", "short"));
}

TEST_F(DebugTraceTest, MissingFormatSendsNothing) {
    traceOn();
    dhcp6snooping_debug_printf(nullptr);

    EXPECT_THAT(sw.syslogLines(), IsEmpty());
}

TEST_F(DebugTraceTest, LineOf255CharactersIsSentWhole) {
    traceOn();
    const std::string text(255, 'x');
    dhcp6snooping_debug_printf("%s", text.c_str());

    EXPECT_THAT(traces(), ElementsAre(text));
}

using DebugTraceDeathTest = DebugTraceTest;

constexpr char kLengthAssertion[] =
    R"(dhcp6snooping\([0-9]+\):Assertion failed!ulDebugStrLen < sizeof\(debugStr\) && ulDebugStrLen > 0, )"
    R"(Dhcp6Snooping\.c, dhcp6snooping_debug_printf, line=1643\.)";

TEST_F(DebugTraceDeathTest, LineOf256CharactersBreaksTheContractAndAborts) {
    traceOn();
    const std::string text(256, 'x');
    EXPECT_DEATH(
        {
            sw.echoConsole(true);
            dhcp6snooping_debug_printf("%s", text.c_str());
        },
        kLengthAssertion);
}

TEST_F(DebugTraceDeathTest, EmptyLineBreaksTheContractAndAborts) {
    traceOn();
    EXPECT_DEATH(
        {
            sw.echoConsole(true);
            dhcp6snooping_debug_printf("%s", "");
        },
        kLengthAssertion);
}

TEST_F(DebugTraceTest, OverlongLineIsNotEvenFormattedWhileDebuggingIsOff) {
    const std::string text(300, 'x');
    dhcp6snooping_debug_printf("%s", text.c_str());

    EXPECT_THAT(sw.syslogLines(), IsEmpty());
}

}  // namespace
