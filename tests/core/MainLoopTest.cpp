// Start-up, the main loop and the debug trace: the hooks registered, the messages served and the replies
// sent, the lines traced and the line lengths that break the trace's contract; the daemon's layers over the
// platform: the filter service (what it counts, traces and passes on) and the packet hook.

#include <gmock/gmock.h>

#include <array>
#include <cstring>

#include "core/DebugTrace.h"
#include "mgmt/RemoteCallTable.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "platform/FilterLayer.h"
#include "platform/PacketRegistration.h"
#include "platform/RmWrapApi.h"
#include "support/DaemonTest.h"

namespace {

using namespace ::testing;

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

using StartupTest = DaemonTest;

TEST_F(StartupTest, RegistersEveryHookInOrderAndThenWaitsForMessages) {
    EXPECT_EQ(sw.runMain(dhcp6snoopingMain, {"/sbin/dhcp6snooping"}), std::nullopt);

    // Start-up, with a wrapper registered for each of the daemon's remote calls once their numbers are
    // reserved.
    std::vector<std::string> expected;
    expected.insert(expected.end(),
                    {"smdProcessInit(/sbin/dhcp6snooping)", "vosMsgInit(/sbin/dhcp6snooping, 255)",
                     "ccdInit(100, 2)", "ccdModuleRegister(vrkL2Dhcp6Snooping, 28 objects)",
                     "vosMsgRegisterBldrun()", "smdRMWrapInit(6250, 6282)"});
    for (uint32_t call = kFirstRemoteCall; call < kEndRemoteCall; ++call) {
        expected.push_back(std::string("smdRmWrapRegister(").append(std::to_string(call)).append(", 0)"));
    }
    expected.insert(expected.end(), {"vosTimerRegister(1, 1000, 0)", "smdVDLinktrapRegPort(0, 0)",
                                     "smdVDPktRegister(1, udp 547 index 0, mode 3)",
                                     "smdVDPktRegister(1, udp 546 index 1, mode 3)"});
    EXPECT_EQ(sw.lifecycleCalls(), expected);
    ASSERT_EQ(sw.packetRegistrations().size(), 2U);
    EXPECT_EQ(sw.packetRegistrations()[0].descriptor, dhcp6Descriptor(547, 0));
    EXPECT_EQ(sw.packetRegistrations()[1].descriptor, dhcp6Descriptor(546, 1));
    EXPECT_TRUE(sw.packetRegistrations()[1].withCallback);
    EXPECT_THAT(sw.consoleLines(), IsEmpty());
}

TEST_F(StartupTest, QueueFailureEndsStartupWithMinus1001BeforeAnyHookIsRegistered) {
    sw.failMsgInit(-5);
    EXPECT_EQ(sw.runMain(dhcp6snoopingMain, {"/sbin/dhcp6snooping"}), -1001);
    EXPECT_THAT(sw.consoleLines(), ElementsAre("\r\nmain:vosMsgInit failed"));
    EXPECT_THAT(sw.lifecycleCalls(),
                ElementsAre("smdProcessInit(/sbin/dhcp6snooping)", "vosMsgInit(/sbin/dhcp6snooping, 255)"));
}

constexpr uint32_t kTestCall = 7000;

// What the test's wrapper answers; it marks its first argument so that the reply shows the processed message.
int32_t wrapperResult = 0;

int32_t testWrapper(void * /*context*/, RemoteCallArg *args, uint32_t ulArgsNum) {
    if (ulArgsNum > 0) {
        std::memcpy(args[0].data, "done", 4);
    }
    return wrapperResult;
}

class MainLoopTest : public DaemonTest {
  protected:
    void SetUp() override {
        startDaemon();
        // Another process's range, so that the test's wrapper stands beside the daemon's calls.
        ASSERT_EQ(smdRMWrapInit(kTestCall, kTestCall + 2), 0);
        ASSERT_EQ(smdRmWrapRegister(kTestCall, 0, testWrapper), 0);
    }

    // A message of just a header whose data length is `dataLength`.
    static switchsim::Bytes headerOnly(uint16_t type, uint16_t dataLength) {
        switchsim::Bytes message(mgmt::kHeaderSize, 0);
        std::memcpy(message.data(), &type, sizeof type);
        std::memcpy(&message[mgmt::kDataLengthOffset], &dataLength, sizeof dataLength);
        return message;
    }
};

TEST_F(MainLoopTest, ServiceResultOtherThanMinus1017IsRepliedWithTheProcessedMessage) {
    for (const int32_t result : {0, 1, 6, -1, -1001, -1016, -1017, -1018}) {
        wrapperResult = result;
        const size_t before = sw.replies().size();
        sw.queueRemoteCall(kTestCall, {switchsim::Bytes(4), switchsim::Bytes{1, 2, 3}});
        serve();
        if (result == -1017) {
            EXPECT_EQ(sw.replies().size(), before);
            continue;
        }
        ASSERT_EQ(sw.replies().size(), before + 1) << result;
        EXPECT_EQ(sw.replies().back().length, mgmt::kHeaderSize + 4 + 4 + 4 + 3);
        const auto decoded = mgmt::decodeRemoteCall(sw.replies().back().message);
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(sw.replies().back().result, result);
        EXPECT_EQ(decoded->result, result);
        EXPECT_THAT(decoded->arguments,
                    ElementsAre(switchsim::Bytes{'d', 'o', 'n', 'e'}, switchsim::Bytes{1, 2, 3}));
    }
    EXPECT_EQ(sw.remoteCallsServed(), 8U);
}

// A failed receive or a message of another type is printed and gets no reply, and the next message is served;
// a reply is the header and the data left, never reaching past the receive buffer.
TEST_F(MainLoopTest, FailureOrOtherTypeIsPrintedUnansweredAndAReplyIsTheHeaderAndTheDataLeftWithinTheBuffer) {
    sw.queueReceiveFailure(0);
    sw.queueReceiveFailure(-3);
    sw.queueMessage(headerOnly(5, 0));
    sw.queueRemoteCall(kTestCall, {});
    sw.queueRemoteCall(kTestCall + 1, {switchsim::Bytes(8)});  // no wrapper: answered without data
    sw.queueMessage(headerOnly(2, 0xFFFF));                    // claims more than was received: refused as is
    serve();
    EXPECT_THAT(sw.consoleLines(),
                ElementsAre("\r\nmain:vosMsgRecv failed iRet = 0", "\r\nmain:vosMsgRecv failed iRet = -3",
                            "\r\nmain:vosMsgRecv receive unkown msg 5"));
    EXPECT_EQ(sw.remoteCallsServed(), 3U);
    ASSERT_EQ(sw.replies().size(), 3U);
    EXPECT_EQ(sw.replies()[1].result, -1);
    EXPECT_EQ(sw.replies()[1].length, mgmt::kHeaderSize);
    EXPECT_EQ(sw.replies()[2].length, 7712U);
}

using DebugTraceTest = StartedDaemonTest;

TEST_F(DebugTraceTest, SendsEachFormattedLineWholeAsBothTextsAtModule54Level7WhileDebuggingIsOn) {
    dhcp6snooping_debug_printf("%s", std::string(300, 'x').c_str());  // off: not even formatted, no abort
    traceOn();
    dhcp6snooping_debug_printf("\r\n record user: mac %s, vlan %d, port %s", "00:00:5e:00:53:01", 10,
                               "ethernet1/0/3");
    dhcp6snooping_debug_printf("%s", "short");
    dhcp6snooping_debug_printf(nullptr);
    dhcp6snooping_debug_printf("%s", std::string(255, 'x').c_str());

    EXPECT_THAT(traces(), ElementsAre("\r\n record user: mac 00:00:5e:00:53:01, vlan 10, port ethernet1/0/3",
                                      "short", std::string(255, 'x')));
    const auto &line = sw.syslogLines()[0];
    EXPECT_EQ(line.name, "dhcp6snooping");
    EXPECT_EQ(line.detail, line.text);
}

TEST_F(DebugTraceTest, EmptyLineOrOneOf256CharactersAborts) {
    traceOn();
    for (const size_t length : {0U, 256U}) {
        const std::string text(length, 'x');
        EXPECT_DEATH(
            {
                sw.echoConsole(true);
                dhcp6snooping_debug_printf("%s", text.c_str());
            },
            R"(dhcp6snooping\([0-9]+\):Assertion failed!ulDebugStrLen < sizeof\(debugStr\) && ulDebugStrLen > 0, )"
            R"(Dhcp6Snooping\.c, dhcp6snooping_debug_printf, line=1643\.)")
            << length;
    }
}

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
