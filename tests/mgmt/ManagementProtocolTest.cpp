// The management protocol as a caller meets it: every message carries the version it was written for, a
// call whose arguments are not of the sizes the daemon takes is refused before the daemon sees it, every
// answer of the daemon reads as a sentence, and configuration lines are checked and undone as an operator
// types them.

#include <gmock/gmock.h>

#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/ConfigDifference.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "mgmt_protocol/RefusalText.h"
#include "mgmt_protocol/Statistics.h"
#include "mgmt_protocol/Vocabulary.h"
#include "support/DaemonTest.h"
#include "switchsim/ConfigInterpreter.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::vector<mgmt::Bytes> argumentsOf(const mgmt::CallShape &shape) {
    std::vector<mgmt::Bytes> arguments;
    for (const uint16_t size : shape.argumentSizes()) {
        arguments.emplace_back(size, 0);
    }
    return arguments;
}

TEST(ManagementProtocol, EveryCallWithAnArgumentOneByteShortOrLongIsRefusedAndAWrongCountIsTheDaemons) {
    for (const mgmt::CallShape &shape : mgmt::kCallShapes) {
        SCOPED_TRACE(shape.number);
        auto arguments = argumentsOf(shape);
        EXPECT_EQ(mgmt::screenRemoteCall(mgmt::encodeRemoteCall(shape.number, arguments)),
                  mgmt::CallVerdict::kServe);
        for (size_t i = 0; i < arguments.size(); ++i) {
            for (const int change : {-1, +1}) {
                auto changed = arguments;
                changed[i].resize(changed[i].size() + static_cast<size_t>(change));
                EXPECT_EQ(mgmt::screenRemoteCall(mgmt::encodeRemoteCall(shape.number, changed)),
                          mgmt::CallVerdict::kWrongSize)
                    << "argument " << i << " changed by " << change;
            }
        }
        arguments.emplace_back(4, 0);
        EXPECT_EQ(mgmt::screenRemoteCall(mgmt::encodeRemoteCall(shape.number, arguments)),
                  mgmt::CallVerdict::kServe);
    }
}

TEST(ManagementProtocol, AMessageCutShortOrDeclaringMoreThanItCarriesIsMalformed) {
    const mgmt::Bytes call =
        mgmt::encodeRemoteCall(mgmt::kAddBinding, argumentsOf(*mgmt::callShape(mgmt::kAddBinding)));
    for (size_t length = 0; length < call.size(); ++length) {
        EXPECT_EQ(mgmt::screenRemoteCall(std::span(call).first(length)), mgmt::CallVerdict::kMalformed)
            << length;
    }
    mgmt::Bytes declaringMore = mgmt::encodeRemoteCall(mgmt::kGlobalInfoGet, {});
    mgmt::storeAt<uint16_t>(declaringMore, mgmt::kDataLengthOffset, 7000);
    EXPECT_EQ(mgmt::screenRemoteCall(declaringMore), mgmt::CallVerdict::kMalformed);
}

TEST(ManagementProtocol, VlanBitsLieWhereTheDaemonReadsThem) {
    VlanBitmap daemon{};
    mgmt::Bytes ours(mgmt::kVlanBitmapSize, 0);
    for (const uint32_t vlan : {1U, 7U, 8U, 100U, 4094U}) {
        vlanBitmapAdd(daemon, static_cast<VlanId>(vlan));
        mgmt::setVlanBit(ours, vlan);
        EXPECT_TRUE(mgmt::hasVlanBit(ours, vlan));
    }
    EXPECT_EQ(std::memcmp(&daemon, ours.data(), ours.size()), 0);
    EXPECT_FALSE(mgmt::hasVlanBit(ours, 2));
}

TEST(ManagementProtocol, EveryMessageCarriesTheVersionItWasWrittenFor) {
    for (const auto &message : {mgmt::encodeRemoteCall(mgmt::kStartSnooping, {}),
                                mgmt::encodePlatformRequest(mgmt::kRunningConfigMessage),
                                mgmt::encodePlatformReply(mgmt::kSaveConfigMessage, 0, "x")}) {
        EXPECT_EQ(mgmt::messageVersion(message), mgmt::kProtocolVersion);
    }
    EXPECT_EQ(mgmt::messageVersion(mgmt::Bytes(mgmt::kHeaderSize - 1, 1)), 0);
}

TEST(ManagementProtocol, ListsComeBackAsTheyWereWrittenInNetworkByteOrder) {
    const std::vector<mgmt::PortSettings> ports = {{1, "swp1", true, 4, 2048, 3},
                                                   {224, "a-name-of-16-chr", false, 2, 0, 70000}};
    const mgmt::Bytes portData = mgmt::encodePortList(ports);
    ASSERT_EQ(portData.size(), 2 * mgmt::kPortRecordSize);
    EXPECT_EQ(portData[3], 1) << "the port number's low byte comes last";
    EXPECT_EQ(mgmt::decodePortList(portData), ports);
    const std::vector<mgmt::VlanSettings> vlans = {{1, 2048, 0}, {4094, 5, 2}};
    const mgmt::Bytes vlanData = mgmt::encodeVlanList(vlans);
    EXPECT_EQ(vlanData[0], 0);
    EXPECT_EQ(vlanData[1], 1);
    EXPECT_EQ(mgmt::decodeVlanList(vlanData), vlans);
    // A list cut inside a record, or a name that claims more than its field, is no list.
    EXPECT_EQ(mgmt::decodePortList(std::span(portData).first(portData.size() - 1)), std::nullopt);
    EXPECT_EQ(mgmt::decodeVlanList(std::span(vlanData).first(mgmt::kVlanRecordSize + 1)), std::nullopt);
    mgmt::Bytes longName = portData;
    longName[17] = 17;
    EXPECT_EQ(mgmt::decodePortList(longName), std::nullopt);
}

TEST(ManagementProtocol, StatisticsComeBackWholeAndAreSummedOverThePorts) {
    mgmt::Statistics statistics{1ULL << 40U, 3, {{0, "", 0, {}}, {7, "swp7", 9, {}}}};
    statistics.ports[0].counters[static_cast<size_t>(mgmt::Counter::DroppedNotSnooped)] = 1;
    statistics.ports[1].counters[static_cast<size_t>(mgmt::Counter::DroppedNotSnooped)] = 1ULL << 33U;
    statistics.ports[1].counters.back() = 5;
    const mgmt::Bytes data = mgmt::encodeStatistics(statistics);
    EXPECT_EQ(mgmt::decodeStatistics(data), statistics);
    const mgmt::PortStatistics total = mgmt::totalOf(statistics);
    EXPECT_EQ(total.counters[static_cast<size_t>(mgmt::Counter::DroppedNotSnooped)], (1ULL << 33U) + 1);
    EXPECT_EQ(total.guardDropped, 9U);
    // Cut short, or counted by a build with other counters, they are no statistics.
    EXPECT_EQ(mgmt::decodeStatistics(std::span(data).first(data.size() - 1)), std::nullopt);
    mgmt::Bytes otherCounters = data;
    ++otherCounters[3];
    EXPECT_EQ(mgmt::decodeStatistics(otherCounters), std::nullopt);
    EXPECT_EQ(mgmt::passedCounterOf(1), mgmt::Counter::PassedSolicit);
    EXPECT_EQ(mgmt::passedCounterOf(13), mgmt::Counter::PassedRelayReply);
    EXPECT_EQ(mgmt::passedCounterOf(14), std::nullopt);
}

TEST(ManagementProtocol, AChangeOfConfigurationIsSummedUpOnOneLine) {
    const std::string before =
        "dhcpv6-snooping\ninterface ethernet swp2\n dhcpv6-snooping max-clients 5\nexit\n";
    const std::string after =
        "dhcpv6-snooping\nipv6-source-guard bind ip 2001:db8::1\ninterface ethernet swp2\n"
        " dhcpv6-snooping max-clients 10\nexit\n";
    EXPECT_EQ(mgmt::configChangeSummary(before, after),
              "+ipv6-source-guard bind ip 2001:db8::1; "
              "interface ethernet swp2: -dhcpv6-snooping max-clients 5 +dhcpv6-snooping max-clients 10");
    EXPECT_EQ(mgmt::configChangeSummary(after, after), "");
    mgmt::ClientSelection byMac;
    byMac.kind = mgmt::ClearBy::kMac;
    byMac.mac = {2, 0, 0, 0, 0, 1};
    const auto argument = mgmt::clearClientsArgument(byMac);
    const auto back = mgmt::clientSelectionOf(std::span<const uint8_t, mgmt::kDeleteSelectorSize>(argument));
    EXPECT_EQ(back.kind, mgmt::ClearBy::kMac);
    EXPECT_EQ(back.mac, byMac.mac);
    EXPECT_TRUE(mgmt::callOnlyReads(mgmt::kGlobalInfoGet));
    EXPECT_FALSE(mgmt::callOnlyReads(mgmt::kDeleteClients));
}

TEST(Vocabulary, AMacReadsBackAsItIsWrittenAndNoOtherFormIsTaken) {
    for (const char *text : {"02:00:00:00:00:01", "AA:bb:CC:dd:EE:ff", "00:00:00:00:00:00"}) {
        const auto mac = mgmt::parseMac(text);
        ASSERT_TRUE(mac.has_value()) << text;
        std::string lower(text);
        std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
        EXPECT_EQ(mgmt::macText(mac->data()), lower);
    }
    for (const char *text : {"02:00:00:00:00", "02:00:00:00:00:0g", "2:00:00:00:00:01", "02-00-00-00-00-01",
                             "02:00:00:00:00:01 ", "+2:00:00:00:00:01", "02:00:00:00:00:001", ""}) {
        EXPECT_EQ(mgmt::parseMac(text), std::nullopt) << text;
    }
}

TEST(Vocabulary, ATemplateKeywordIsKnownWhateverItsCaseAndTheFirstUnknownOneIsNamed) {
    const std::vector<std::pair<const char *, std::optional<std::string>>> cases = {
        {"%sysname-%port", std::nullopt}, {"vlan%cvlan", std::nullopt}, {"%PORT%ClientDuid", std::nullopt},
        {"100%", std::nullopt},           {"%ports", "%ports"},         {"%port/%bogus1%frame", "%bogus"},
    };
    for (const auto &[text, unknown] : cases) {
        EXPECT_EQ(mgmt::unknownTemplateKeyword(text), unknown) << text;
    }
}

TEST(Vocabulary, EveryNameStandsForOneValueAndBack) {
    for (const auto &named : mgmt::kGuardModeNames) {
        EXPECT_EQ(mgmt::valueNamed(mgmt::kGuardModeNames, named.name), named.value);
        EXPECT_EQ(mgmt::nameOf(mgmt::kGuardModeNames, named.value), named.name);
    }
    for (const auto &named : mgmt::kOptionFormatNames) {
        EXPECT_EQ(mgmt::valueNamed(mgmt::kOptionFormatNames, named.name), named.value);
    }
    EXPECT_EQ(mgmt::nameOf(mgmt::kGuardModeNames, 9), "?");
    EXPECT_EQ(mgmt::valueNamed(mgmt::kOptionFormatNames, "hex"), std::nullopt);
}

// Every answer a call is known to give reads as a sentence about the command's subject; so do the
// platform's answers, for any call.
TEST(RefusalText, EveryKnownAnswerOfEveryCallIsASentenceNamingItsSubject) {
    ASSERT_FALSE(mgmt::refusalMeanings().empty());
    for (const auto &meaning : mgmt::refusalMeanings()) {
        const auto sentence = mgmt::refusalSentence(meaning.callNumber, meaning.result, "SUBJECT");
        EXPECT_THAT(sentence, HasSubstr("SUBJECT"));
        EXPECT_THAT(sentence, Not(HasSubstr("code")));
        EXPECT_NE(mgmt::callShape(meaning.callNumber), nullptr) << meaning.callNumber;
    }
    for (const auto &shape : mgmt::kCallShapes) {
        for (const int32_t platformAnswer :
             {mgmt::kWrongArgumentCount, mgmt::kWrongArgumentSize, mgmt::kWrongVersion}) {
            EXPECT_THAT(mgmt::refusalSentence(shape.number, platformAnswer, "x"), Not(HasSubstr("code")));
        }
    }
    EXPECT_EQ(mgmt::refusalSentence(mgmt::kAddBinding, 2, "binding 2001:db8::1"),
              "binding 2001:db8::1 exists already");
    EXPECT_EQ(mgmt::refusalSentence(mgmt::kSetGuardMode, 5, "port 3"),
              "port 3: refused by the daemon (code 5)");
}

// The interpreter on a switch whose VLAN 10 holds ports 1 to 4.
class ConfigLinesTest : public DaemonTest {
  protected:
    void SetUp() override {
        sw.addVlan(10, {1, 2, 3, 4});
        startDaemon();
    }
    std::vector<mgmt::ConfigLineError> enter(const std::string &text) {
        return switchsim::applyConfigText(sw, text, dhcp6snoopingServeNextMessage);
    }
    std::string runningConfig() {
        sw.queueRunningConfigRequest(1U << 16);
        serve();
        return sw.runningConfigAnswers().back().text;
    }
};

struct RefusedLine {
    const char *text;  // the lines entered; the last is refused
    const char *reason;
};

class RefusedLineTest : public ConfigLinesTest, public ::testing::WithParamInterface<RefusedLine> {};

TEST_P(RefusedLineTest, IsRefusedWithASentenceNamingTheWordAtFault) {
    const std::string before = runningConfig();
    const auto errors = enter(GetParam().text);
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0].reason, GetParam().reason);
    if (errors[0].lineNumber == 1) {
        EXPECT_EQ(runningConfig(), before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    ConfigInterpreter, RefusedLineTest,
    ::testing::Values(
        RefusedLine{"interface ethernet1/0/3\ndhcpv6-snooping max-clients 5000",
                    "max-clients: 5000 is above 2048"},
        RefusedLine{"vlan 10\ndhcpv6-snooping max-clients 99999999999",
                    "max-clients: 99999999999 is above 2048"},
        RefusedLine{"vlan 10\ndhcpv6-snooping max-clients ten", "max-clients: ten is not a number"},
        RefusedLine{"vlan 4095", "vlan: 4095 is not a VLAN from 1 to 4094"},
        RefusedLine{"ipv6-source-guard bind ip ff02::1",
                    "binding ff02::1: not a unicast address a host can send from"},
        RefusedLine{"ipv6-source-guard bind ip ::", "binding ::: not a unicast address a host can send from"},
        RefusedLine{"ipv6-source-guard bind ip 2001:db8::1\nipv6-source-guard bind ip 2001:db8::1",
                    "binding 2001:db8::1 exists already"},
        RefusedLine{"no ipv6-source-guard bind ip 2001:db8::7", "binding 2001:db8::7 does not exist"},
        RefusedLine{"interface ethernet1/0/3\ndhcpv6-snooping trust\nipv6-source-guard ipv6",
                    "port 1/0/3: a trusted port cannot be guarded; say no dhcpv6-snooping trust first"},
        RefusedLine{"dhcpv6-snooping information remote-id user-defined \"%ports\"",
                    "remote-id user-defined: %ports is not a template keyword"},
        RefusedLine{"dhcpv6-snooping information remote-id user-defined \"%port%Port\"",
                    "remote-id user-defined \"%port%Port\": a keyword is used twice"}));

// Each line of the grammar, entered and then undone by its "no" (or "default") form, gives back the
// running configuration of before, which it had changed.
struct UndoneLine {
    const char *block;  // the block the lines stand in, or ""
    const char *line;
    const char *undo;
};

class UndoneLineTest : public ConfigLinesTest, public ::testing::WithParamInterface<UndoneLine> {};

TEST_P(UndoneLineTest, GivesBackTheRunningConfigurationOfBefore) {
    const char *block = GetParam().block;
    const char *line = GetParam().line;
    const char *undo = GetParam().undo;
    ASSERT_TRUE(enter("dhcpv6-snooping\n").empty());
    const std::string before = runningConfig();
    const auto inBlock = [block](const char *text) {
        return *block == '\0' ? std::string(text) + "\n" : std::string(block) + "\n" + text + "\nexit\n";
    };
    const auto errors = enter(inBlock(line));
    ASSERT_TRUE(errors.empty()) << errors[0].reason;
    EXPECT_NE(runningConfig(), before);
    ASSERT_TRUE(enter(inBlock(undo)).empty());
    EXPECT_EQ(runningConfig(), before);
}

INSTANTIATE_TEST_SUITE_P(
    EveryLine, UndoneLineTest,
    ::testing::Values(
        UndoneLine{"", "no dhcpv6-snooping port-down-action fast-remove",
                   "dhcpv6-snooping port-down-action fast-remove"},
        UndoneLine{"", "no dhcpv6-snooping port-down-action fast-remove",
                   "default dhcpv6-snooping port-down-action fast-remove"},
        UndoneLine{"", "dhcpv6-snooping information option 18", "no dhcpv6-snooping information option 18"},
        UndoneLine{"", "dhcpv6-snooping information option 37", "no dhcpv6-snooping information option 37"},
        UndoneLine{"", "dhcpv6-snooping information interface-id string \"desk  7\"",
                   "no dhcpv6-snooping information interface-id"},
        UndoneLine{"", "dhcpv6-snooping information remote-id ipv6-address 2001:db8::9",
                   "default dhcpv6-snooping information remote-id"},
        UndoneLine{"", "dhcpv6-snooping information remote-id user-defined \"%sysname-%port\"",
                   "no dhcpv6-snooping information remote-id"},
        UndoneLine{"", "dhcpv6-snooping information interface-id ipv4-address 192.0.2.1",
                   "no dhcpv6-snooping information interface-id"},
        UndoneLine{"", "no ipv6-source-guard bind vlan 10,20-22", "ipv6-source-guard bind vlan 10,20-22"},
        UndoneLine{"", "ipv6-source-guard bind ip 2001:db8::1", "no ipv6-source-guard bind ip 2001:db8::1"},
        UndoneLine{
            "",
            "ipv6-source-guard bind ip 2001:db8::2 mac 02:00:00:00:00:02 interface ethernet 1/0/2 vlan 10",
            "no ipv6-source-guard bind ip 2001:db8::2"},
        UndoneLine{"interface ethernet1/0/2", "dhcpv6-snooping trust", "no dhcpv6-snooping trust"},
        UndoneLine{"interface ethernet1/0/2", "dhcpv6-snooping max-clients 0",
                   "no dhcpv6-snooping max-clients"},
        UndoneLine{"interface ethernet1/0/2", "dhcpv6-snooping max-clients 7",
                   "default dhcpv6-snooping max-clients"},
        UndoneLine{"interface  ethernet1/0/2", "ipv6-source-guard ipv6-mac-vlan", "no ipv6-source-guard"},
        UndoneLine{"vlan 10", "dhcpv6-snooping max-clients 5", "no   dhcpv6-snooping max-clients"},
        UndoneLine{"", "no dhcpv6-snooping", "dhcpv6-snooping"}));

}  // namespace
