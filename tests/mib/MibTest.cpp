// The daemon's MIB module as a manager reaches it through the switch's agent: registration, the scalars,
// the port and VLAN tables, the client table and the static binding table with its row status. The client
// table is tested beside the operators' walk over the same clients.

#include <gmock/gmock.h>

#include <cstring>

#include "mib/MibHandlers.h"
#include "mib/MibRegistry.h"
#include "source_guard/SourceGuardMode.h"
#include "source_guard/StaticBindRows.h"
#include "support/SnoopingTest.h"
#include "switchsim/MibAgent.h"

namespace {

using namespace switchsim;
using namespace switchsim::dhcp6;
using ::testing::ElementsAre;

constexpr uint32_t kFailed = 0xFFFFFFFFU;

// The OID of a node below the module root.
Oid below(std::initializer_list<uint32_t> arcs) {
    Oid oid = {1, 3, 6, 1, 4, 1, 32473, 1, 2, 4, 9};
    oid.insert(oid.end(), arcs);
    return oid;
}

// The OIDs of the objects, without instance.
const Oid kOnOff = below({1}), kPortDownAction = below({4}), kExemptVlans = below({8});
const Oid kOption18 = below({20, 1}), kRemoteIdFormat = below({20, 3}), kRemoteIdText = below({20, 4});
const Oid kPortTrust = below({2, 1, 2}), kPortMax = below({2, 1, 3}), kPortGuard = below({2, 1, 4});
const Oid kPortIndex = below({2, 1, 1}), kVlanMax = below({3, 1, 2});
const Oid kClientLeases = below({6, 1, 4}), kClientVlan = below({6, 1, 2});
const Oid kClientAddresses = below({6, 1, 5}), kClientAddresses2 = below({6, 1, 6}),
          kClientTimes = below({6, 1, 7});
const Oid kBindIndex = below({7, 1, 1}), kBindIp = below({7, 1, 2}), kBindMac = below({7, 1, 3});
const Oid kBindPort = below({7, 1, 4}), kBindVlan = below({7, 1, 5}), kBindStatus = below({7, 1, 6});

Oid at(Oid oid, std::initializer_list<uint32_t> instance) {
    oid.insert(oid.end(), instance);
    return oid;
}

class MibTest : public SnoopingTest {
  protected:
    MibResult get(const Oid &oid) { return mibRequest(sw, MIB_MODE_GET, oid); }
    uint32_t set(const std::vector<MibVarBind> &varBinds) { return mibSet(sw, varBinds).code; }
    uint32_t set(const Oid &oid, const MibValue &value) { return set({{oid, value}}); }
    // The instances that get-next visits on one object from its start, until it has no next one.
    std::vector<Oid> instancesOf(const Oid &object) {
        std::vector<Oid> instances;
        for (Oid oid = object;;) {
            const MibResult next = mibRequest(sw, MIB_MODE_GET_NEXT, oid);
            if (next.code != 0) {
                EXPECT_EQ(next.code, kMibNoNextInstance);
                return instances;
            }
            oid = next.oid;
            instances.emplace_back(oid.begin() + static_cast<std::ptrdiff_t>(object.size()), oid.end());
        }
    }
};

TEST_F(MibTest, ObjectListNamesOneGroupPerTableAndClosesEachRun) {
    for (uint32_t object = MIB_PORT_INDEX; object <= MIB_PORT_SOURCE_GUARD_MODE; ++object) {
        EXPECT_EQ(kMibObjectList[object].group, kMibObjectList[MIB_PORT_INDEX].group);
        EXPECT_EQ(kMibObjectList[object].object,
                  kMibObjectList[MIB_PORT_INDEX].group->firstObject + object - 1);
    }
    EXPECT_EQ(kMibObjectList[MIB_PORT_INDEX].group->firstObject[4].handler, nullptr);  // the run's end
    EXPECT_EQ(kMibObjectList[kMibObjectCount].group, nullptr);
}

struct TestCase {
    const char *what;
    Oid oid;
    MibValue value;
    uint32_t expected;
};

TEST_F(MibTest, TestsJudgeValuesAndInstancesWithoutChangingAnything) {
    sw.addVlan(20, {2});
    const fuzz::DaemonState before = fuzz::daemonState(sw);
    const std::vector<TestCase> cases = {
        {"on/off 0", at(kOnOff, {0}), MibValue::integer(0), kMibInvalidRange},
        {"on/off 3", at(kOnOff, {0}), MibValue::integer(3), kMibInvalidRange},
        {"on/off in 8 bytes", at(kOnOff, {0}), MibValue::integer(1, 8), kMibInvalidLength},
        {"on/off off", at(kOnOff, {0}), MibValue::integer(2), 0},
        {"on/off off .1", at(kOnOff, {1}), MibValue::integer(2), kMibTestFailed},
        {"option 18 2", at(kOption18, {0}), MibValue::integer(2), kMibInvalidRange},
        {"option 18 0", at(kOption18, {0}), MibValue::integer(0), 0},
        {"format 5", at(kRemoteIdFormat, {0}), MibValue::integer(5), kMibInvalidRange},
        {"text of 65", at(kRemoteIdText, {0}), MibValue::text(std::string(65, 'a')), kMibTooBig},
        {"text of 64", at(kRemoteIdText, {0}), MibValue::text(std::string(64, 'a')), 0},
        {"VLAN list of 256", at(kExemptVlans, {0}), MibValue::text(std::string(256, '1')), kMibTooBig},
        {"trust 3 on port 0", at(kPortTrust, {0}), MibValue::integer(3), kMibWrongValue},
        {"trust 1 on port 0", at(kPortTrust, {0}), MibValue::integer(1), kMibNoSuchInstance},
        {"trust 1 on port 25", at(kPortTrust, {25}), MibValue::integer(1), kMibNoSuchInstance},
        {"guard mode 5", at(kPortGuard, {2}), MibValue::integer(5), kMibWrongValue},
        {"port limit 2049", at(kPortMax, {2}), MibValue::integer(2049), kMibWrongValue},
        {"port index", at(kPortIndex, {0}), MibValue::integer(99), 0},
        {"VLAN limit, no VLAN", at(kVlanMax, {30}), MibValue::integer(100), kMibNoSuchInstance},
        {"VLAN limit 2049", at(kVlanMax, {20}), MibValue::integer(2049), kMibWrongValue},
        {"VLAN limit 2048", at(kVlanMax, {20}), MibValue::integer(2048), 0},
        {"row 512", at(kBindIndex, {1}), MibValue::integer(512), 0},
        {"row 513", at(kBindIndex, {1}), MibValue::integer(513), kMibInvalidRange},
        {"row in 5 bytes", at(kBindIndex, {1}), MibValue::integer(5, 5), kMibInvalidLength},
        {"VLAN 0", at(kBindVlan, {1}), MibValue::integer(0), 0},
        {"VLAN 4095", at(kBindVlan, {1}), MibValue::integer(4095), kMibInvalidRange},
        {"port 0", at(kBindPort, {1}), MibValue::integer(0), kMibInvalidRange},
        {"port 25", at(kBindPort, {1}), MibValue::integer(25), kMibInvalidRange},
        {"MAC of 16", at(kBindMac, {1}), MibValue::text("02:00:00:00:00:0"), kMibInvalidRange},
        {"MAC of 18", at(kBindMac, {1}), MibValue::text("02:00:00:00:00:011"), kMibInvalidRange},
        {"MAC with dashes", at(kBindMac, {1}), MibValue::text("02-00-00-00-00-01"), kMibInvalidRange},
        {"group MAC", at(kBindMac, {1}), MibValue::text("03:00:00:00:00:01"), kMibInvalidRange},
        {"MAC in both cases", at(kBindMac, {1}), MibValue::text("0A:bC:00:00:00:01"), 0},
        {"address of 40", at(kBindIp, {1}), MibValue::text(std::string(40, '1')), kMibInvalidLength},
        {"address of 39", at(kBindIp, {1}), MibValue::text(std::string(39, '1')), 0},
        {"row status 7", at(kBindStatus, {1}), MibValue::integer(7), kMibInvalidRange},
    };
    for (const TestCase &testCase : cases) {
        EXPECT_EQ(mibRequest(sw, MIB_MODE_TEST, testCase.oid, testCase.value).code, testCase.expected)
            << testCase.what;
    }
    EXPECT_EQ(fuzz::daemonState(sw), before);
}

TEST_F(MibTest, OptionTextTakesEffectWithItsFormat) {
    EXPECT_EQ(set(at(kRemoteIdText, {0}), MibValue::text("10.1.2.3")), 0U);
    EXPECT_EQ(infoOptionConfig.remoteIdFormat, FORMAT_DEFAULT);  // no format set through the MIB yet
    EXPECT_EQ(set(at(kRemoteIdFormat, {0}), MibValue::integer(FORMAT_IPV4_ADDRESS)), 0U);
    EXPECT_THAT(std::vector<uint8_t>(infoOptionConfig.remoteIdValue, infoOptionConfig.remoteIdValue + 4),
                ElementsAre(10, 1, 2, 3));
    EXPECT_EQ(get(at(kRemoteIdText, {0})).value, MibValue::text("10.1.2.3"));
    const std::string longest(64, 'x');
    EXPECT_EQ(set({{at(kRemoteIdText, {0}), MibValue::text(longest)},
                   {at(kRemoteIdFormat, {0}), MibValue::integer(FORMAT_STRING)}}),
              0U);
    EXPECT_EQ(get(at(kRemoteIdText, {0})).value, MibValue::text(longest));
}

TEST_F(MibTest, ExemptVlanListOfUpTo128VlansIsAppliedAndReadAsWholeLines) {
    EXPECT_EQ(set(at(kExemptVlans, {0}), MibValue::text("1000-1127")), 0U);
    EXPECT_EQ(ipv6SourceGuardDisabledVlan[1127], 1U);
    const fuzz::DaemonState before = fuzz::daemonState(sw);
    EXPECT_EQ(set(at(kExemptVlans, {0}), MibValue::text("1000-1128")), kFailed);
    EXPECT_EQ(fuzz::daemonState(sw), before);

    // 108 more, each apart, make a list of five full lines; the text holds the first two, whole, and no
    // other fits beside them.
    std::string list = "1000-1127,";
    VlanBitmap more{};
    VlanBitmap failed{};
    for (VlanId vlan = 2000; vlan < 2216; vlan += 2) {
        vlanBitmapAdd(more, vlan);
        list += std::to_string(vlan) + ",";
    }
    ip6_source_guard_vlanlist_config(/*operation=*/0, &more, &failed);
    const auto answer = std::get<Bytes>(get(at(kExemptVlans, {0})).value.content());
    const std::string text(answer.begin(), answer.end());
    EXPECT_LE(text.size(), 255U);
    EXPECT_GT(text.size(), 200U);
    EXPECT_TRUE(list.starts_with(text)) << text;
    EXPECT_EQ(text.back(), ',');
}

TEST_F(MibTest, SetsGoThroughTheSettingOperationsOffIsStoredAsZeroReadAsTwoAndAFailingTestAppliesNone) {
    const struct {
        Oid oid;
        uint32_t value, code, readBack;
    } sets[] = {
        {at(kOnOff, {0}), 2, 0, 2},
        {at(kOnOff, {0}), 2, 0, 2},
        {at(kPortDownAction, {0}), 2, 0, 2},
        {at(kPortGuard, {3}), SOURCE_GUARD_IPV6_MAC, 0, SOURCE_GUARD_IPV6_MAC},
        {at(kPortTrust, {3}), 1, kFailed, 2},  // a guarded port is not trusted
        {at(kPortTrust, {1}), 2, 0, 2},
        {at(kPortMax, {4}), 0, 0, 0},
        {at(kVlanMax, {10}), 7, 0, 7},
    };
    for (const auto &row : sets) {
        EXPECT_EQ(set(row.oid, MibValue::integer(row.value)), row.code) << "row " << &row - sets;
        EXPECT_EQ(get(row.oid).value, MibValue::integer(row.readBack)) << "row " << &row - sets;
    }
    EXPECT_EQ(dhcp6snoopingOnOff + dhcp6snoopingPortDownAction, 0U);
    // No such VLAN; its limit all the same.
    EXPECT_EQ(get(at(kVlanMax, {30})).value, MibValue::integer(2048));
    EXPECT_THAT(addressFilters(/*denyAll=*/true), ElementsAre(Filter::denyAll(3)));
    // A set with a failing test applies none of its values.
    EXPECT_EQ(
        mibSet(sw, {{at(kPortMax, {2}), MibValue::integer(5)}, {at(kPortTrust, {2}), MibValue::integer(3)}}),
        (MibSetResult{kMibWrongValue, 1}));
    EXPECT_EQ(get(at(kPortMax, {2})).value, MibValue::integer(2048));
}

TEST_F(MibTest, WalksVisitEveryPortAndTheExistingVlans) {
    sw.addVlan(4094, {2});
    sw.addVlan(20, {2});
    std::vector<Oid> ports;
    for (uint32_t port = 1; port <= 24; ++port) {
        ports.push_back({port});
    }
    EXPECT_EQ(instancesOf(kPortMax), ports);
    EXPECT_THAT(instancesOf(kVlanMax), ElementsAre(Oid{10}, Oid{20}, Oid{4094}));
    // The last object's instance ends the module.
    EXPECT_EQ(mibGetNext(sw, {below({20, 6, 0})}).front().code, kMibEndOfModule);
}

// The same clients for the operators' walk and the MIB client table: client :03 is granted twelve addresses
// on port 4, then client :01 one on port 5; client :02 on port 3 is never acknowledged.
class ClientWalkTest : public MibTest {
  protected:
    // The valid lifetimes left after the 5 seconds that pass, in every unit the MIB writes.
    static constexpr uint32_t kLeft[12] = {90061, 3600, 59, 61, 86400, 100, 200, 300, 400, 500, 600, 700};

    void SetUp() override {
        MibTest::SetUp();
        Bytes granted;
        for (uint32_t i = 1; i <= 12; ++i) {
            const Bytes address =
                iaAddress(ipv6(("2001:db8::" + std::to_string(i)).c_str()), 50, kLeft[i - 1] + 5);
            granted = join({granted, address});
        }
        acknowledge(mac("02:00:00:00:00:03"), 4, iaNa(1, 0, 0, granted));
        acknowledge(kClient, 5, iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::99"), 50, 105)));
        clientSends(SOLICIT, kOtherClient, 3);
        tick(5);
    }
};

TEST_F(ClientWalkTest,
       OperatorsWalkVisitsTheAcknowledgedClientsInMacOrderWithUpToTenAddressesAndTheirTimeLeft) {
    std::vector<std::string> expected = {"1 port 5 2001:db8::99/128 100", "3 port 4"};
    for (uint32_t i = 1; i <= kClientSummaryLimit; ++i) {
        expected[1] += " 2001:db8::" + std::to_string(i) + "/128 " + std::to_string(kLeft[i - 1]);
    }
    std::vector<std::string> walked;
    uint8_t client[6] = {};
    uint32_t vlan = 0;
    uint32_t port = 0;
    uint32_t count = 0;
    ClientAddressSummary summaries[16] = {};
    uint32_t lifetimes[16] = {};
    int32_t answer = 0;
    while (walked.size() <= expected.size() &&
           (answer = dhcp6snooping_get_nextclients_ext(client, &vlan, &port, &count, summaries, lifetimes)) ==
               0) {
        ASSERT_LE(count, kClientSummaryLimit);
        ASSERT_EQ(std::memcmp(client, kClient.data(), 5), 0);
        ASSERT_EQ(vlan, kVlan);
        walked.push_back(std::to_string(client[5]) + " port " + std::to_string(port));
        for (uint32_t i = 0; i < count; ++i) {
            char text[64] = {};
            vosInetNtop(VOS_AF_INET6, summaries[i].address, text, sizeof text);
            walked.back().append(" ").append(text).append("/").append(
                std::to_string(summaries[i].prefixLength));
            walked.back().append(" ").append(std::to_string(lifetimes[i]));
        }
    }
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(answer, -1);

    std::memcpy(client, kOtherClient.data(), sizeof client);  // from the unacknowledged client on
    ASSERT_EQ(dhcp6snooping_get_nextclients_ext(client, &vlan, &port, &count, summaries, lifetimes), 0);
    EXPECT_EQ(client[5], 3);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(nullptr, &vlan, &port, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(client, nullptr, &port, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(client, &vlan, nullptr, &count, summaries, lifetimes), -1);
    EXPECT_EQ(dhcp6snooping_get_nextclients_ext(client, &vlan, &port, nullptr, summaries, lifetimes), -1);
}

TEST_F(ClientWalkTest, MibTableShowsTheAcknowledgedClientsInMacOrderWithUpToTenAddressesInTwoColumns) {
    EXPECT_THAT(instancesOf(kClientLeases), ElementsAre(Oid{2, 0, 0, 0, 0, 1}, Oid{2, 0, 0, 0, 0, 3}));
    const auto third = [](const Oid &column) { return at(column, {2, 0, 0, 0, 0, 3}); };
    EXPECT_EQ(get(third(kClientLeases)).value, MibValue::integer(10));
    EXPECT_EQ(get(third(kClientAddresses)).value,
              MibValue::text("2001:db8::1,2001:db8::2,2001:db8::3,2001:db8::4,2001:db8::5"));
    EXPECT_EQ(get(third(kClientAddresses2)).value,
              MibValue::text("2001:db8::6,2001:db8::7,2001:db8::8,2001:db8::9,2001:db8::10"));
    EXPECT_EQ(get(third(kClientTimes)).value,
              MibValue::text("1d1h1m1s,1h0m0s,59s,1m1s,1d0h0m0s,1m40s,3m20s,5m0s,6m40s,8m20s"));
    EXPECT_EQ(get(at(kClientAddresses2, {2, 0, 0, 0, 0, 1})),
              (MibResult{0, at(kClientAddresses2, {2, 0, 0, 0, 0, 1}), {}}));
    // Found by MAC, not walked.
    EXPECT_EQ(get(at(kClientVlan, {2, 0, 0, 0, 0, 2})).value, MibValue::integer(kVlan));
    EXPECT_EQ(get(at(kClientVlan, {2, 0, 0, 0, 0, 9})).code, kFailed);
}

// The client walk shows the other units.
TEST(MibLeaseText, NoTimeLeftIsZeroSeconds) {
    char text[32];
    dhcp6snoopingMibLeaseText(0, text, sizeof text);
    EXPECT_STREQ(text, "0s");
}

class MibBindTableTest : public MibTest {
  protected:
    // The columns of a binding and its row status, as one set request would carry them.
    static std::vector<MibVarBind> create(uint32_t row, const char *address, uint32_t rowStatus = 4) {
        return {{at(kBindIndex, {row}), MibValue::integer(row)},
                {at(kBindIp, {row}), MibValue::text(address)},
                {at(kBindMac, {row}), MibValue::text("02:00:00:00:00:05")},
                {at(kBindPort, {row}), MibValue::integer(3)},
                {at(kBindVlan, {row}), MibValue::integer(kVlan)},
                {at(kBindStatus, {row}), MibValue::integer(rowStatus)}};
    }
};

TEST_F(MibBindTableTest, RowStatusCreatesAndDestroysBindings) {
    EXPECT_EQ(set(create(3, "2001:db8::5")), 0U);
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 1);
    EXPECT_THAT(instancesOf(kBindStatus), ElementsAre(Oid{3}));
    EXPECT_EQ(get(at(kBindStatus, {3})).value, MibValue::integer(1));
    EXPECT_EQ(get(at(kBindIp, {3})).value, MibValue::text("2001:db8::5"));

    // The same binding again is refused, and the pending row keeps it for a bare row status.
    const MibSetResult again = mibSet(sw, create(3, "2001:db8::5"));
    EXPECT_EQ(again, (MibSetResult{kMibCommitFailed, 5}));
    EXPECT_EQ(set(at(kBindStatus, {9}), MibValue::integer(5)), kMibCommitFailed);

    // Row 3 taken: the next free row. Row status 1 to 3 do nothing.
    EXPECT_EQ(set(create(3, "2001:db8::6", 1)), 0U);
    EXPECT_EQ(set(create(3, "2001:db8::6")), kMibCommitFailed);  // the MAC is bound to ::5
    ip6v6_source_guard_bind_node_delete_all();
    ip6v6_source_guard_bind_for_snmp_delete_all();
    EXPECT_EQ(set(create(3, "2001:db8::5")), 0U);
    EXPECT_EQ(set({{at(kBindIndex, {3}), MibValue::integer(3)},
                   {at(kBindIp, {3}), MibValue::text("2001:db8::7")},
                   {at(kBindStatus, {3}), MibValue::integer(4)}}),
              0U);
    EXPECT_THAT(instancesOf(kBindStatus), ElementsAre(Oid{3}, Oid{4}));

    EXPECT_EQ(set(at(kBindStatus, {3}), MibValue::integer(6)), 0U);
    EXPECT_EQ(set(at(kBindStatus, {3}), MibValue::integer(6)), kMibResourceUnavailable);
    EXPECT_EQ(set(at(kBindStatus, {600}), MibValue::integer(6)), kMibResourceUnavailable);
    EXPECT_THAT(instancesOf(kBindStatus), ElementsAre(Oid{4}));
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 1);
    EXPECT_EQ(get(at(kBindPort, {3})).value, MibValue::integer(0));  // an empty row answers zeros
}

TEST_F(MibBindTableTest, AFullListTakesOnlyTheBindingsItHolds) {
    Ipv6Address address = ip("2001:db8:1::");
    for (uint32_t i = 0; i < 512; ++i) {
        address.octets[14] = static_cast<uint8_t>(i >> 8);
        address.octets[15] = static_cast<uint8_t>(i);
        ASSERT_EQ(ip6v6_source_guard_bind_node_add(address, nullptr, 0, 0), 0);
    }
    EXPECT_EQ(set({{at(kBindIp, {1}), MibValue::text("2001:db8:1::1ff")},
                   {at(kBindStatus, {1}), MibValue::integer(4)}}),
              0U);
    EXPECT_EQ(set({{at(kBindIp, {1}), MibValue::text("2001:db8:2::")},
                   {at(kBindStatus, {1}), MibValue::integer(4)}}),
              kMibResourceUnavailable);
    EXPECT_EQ(ip6v6_source_guard_bind_entry_num_get(), 512);
}

}  // namespace
