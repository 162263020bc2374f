// Snooping. Reading DHCPv6 options: the option walker, and the usable addresses and prefixes, with their
// lifetimes, read out of IA_NA and IA_PD options; the fixed pool of client entries, and the address lists
// when memory runs out, and the ordered tree that holds the client table, against a model. What the switch
// sees the daemon do with each DHCPv6 frame: frames sent and where (the MAC table, trust, link aggregation,
// flooding), clients recorded, counts and filters; snooping on and off; frames the receive callback must
// leave alone; bindings and clients running out of time, ports going down, and removal in bulk.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <set>

#include "platform/ContainerApi.h"
#include "snooping/BulkRemoval.h"
#include "snooping/Dhcp6Options.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/LeaseExtraction.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim::dhcp6;
using namespace switchsim;
using namespace ::testing;

using Ports = std::vector<uint32_t>;
const Ports kFloodFrom3 = {1, 2, 4, 5, 6, 7, 8};
const auto kAddress1 = ipv6("2001:db8::1"), kAddress2 = ipv6("2001:db8::2");

// Options area: Client Identifier (2 bytes), IA_NA (0 bytes), Status Code 2 "no", Client Identifier
// (1 byte), then 3 trailing bytes.
const Bytes kArea = {
    0x00, 0x01, 0x00, 0x02, 0xAA, 0xBB,            // option 1, length 2
    0x00, 0x03, 0x00, 0x00,                        // option 3, length 0
    0x00, 0x0D, 0x00, 0x04, 0x00, 0x02, 'n', 'o',  // option 13, status 2, message "no"
    0x00, 0x01, 0x00, 0x01, 0xCC,                  // option 1, length 1
    0x00, 0x01, 0x00,                              // too short for a header
};

// Every option of `code` in `area`, visited with a cursor, as "offset/length".
std::vector<std::string> visitAll(uint16_t code, const Bytes &area) {
    std::vector<std::string> found;
    OptionCursor cursor{};
    uint32_t length = 0;
    for (const uint8_t *option = dhcp6FindOption(code, &length, area.data(), area.size(), &cursor);
         option != nullptr; option = dhcp6FindOption(code, &length, nullptr, 0, &cursor)) {
        EXPECT_LE(option - area.data() + kOptionHeaderSize + length, area.size());
        found.push_back(std::to_string(option - area.data()) + "/" + std::to_string(length));
    }
    EXPECT_EQ(cursor.position, nullptr);
    EXPECT_EQ(cursor.remaining, 0U);
    return found;
}

TEST(OptionWalker, CursorVisitsEveryOptionOfACodeInOrderAndNeverReadsOutsideAnyCutOfTheArea) {
    EXPECT_THAT(visitAll(1, kArea), ElementsAre("0/2", "18/1"));
    EXPECT_THAT(visitAll(3, kArea), ElementsAre("6/0"));  // a zero-length option is an option like any other
    EXPECT_THAT(visitAll(0x0101, kArea), IsEmpty());      // codes are compared as whole 16-bit values
    // Every prefix of the area in a buffer of exactly its size, so that the sanitizer sees a read past it.
    for (size_t size = 0; size <= kArea.size(); ++size) {
        const Bytes cut(kArea.begin(), kArea.begin() + static_cast<std::ptrdiff_t>(size));
        for (const uint16_t code : {1, 3, 13, 0xFFFF}) {
            visitAll(code, cut);
        }
        EXPECT_EQ(dhcp6AreaStatus(cut.data(), cut.size(), nullptr), size >= 18 ? 2 : 0) << "size " << size;
    }
    // An option claiming more than is left ends the walk; what lies inside its claim is never seen.
    const Bytes overlong = {0x00, 0x02, 0x00, 0x05, 0xEE, 0x00, 0x03, 0x00, 0x00};
    EXPECT_THAT(visitAll(3, overlong), IsEmpty());
}

const auto kPrefix = ipv6("2001:db8:0:100::");
const Bytes kReleased = iaNa(1, 0, 0, join({iaAddress(kAddress1, 0, 0), iaAddress(kAddress2, 5, 10)}));

// The final flag, the result, the bindings kept as bindingTexts writes them joined by ", ", the one trace
// line or none, and the options read.
struct LeaseCase {
    uint32_t finalFlag, result;
    const char *bindings, *trace;
    Bytes options;
};

class LeaseCaseTest : public DaemonTest, public WithParamInterface<LeaseCase> {
  protected:
    void SetUp() override {
        startDaemon();
        traceOn();
    }
    void TearDown() override { addressListClear(&settings.addresses, addressListFreeItem); }

    LeaseSettings settings{};
};

TEST_P(LeaseCaseTest, KeepsTheUsableBindingsAndTracesWhatItDiscards) {
    const LeaseCase &c = GetParam();
    EXPECT_EQ(leaseExtractSettings(&settings, c.options.data(), c.options.size(), c.finalFlag), c.result);
    std::string bindings;
    for (const std::string &text : bindingTexts(settings.addresses)) {
        bindings += (bindings.empty() ? "" : ", ") + text;
    }
    EXPECT_EQ(bindings, c.bindings);
    EXPECT_EQ(traces(), c.trace != nullptr ? std::vector<std::string>{c.trace} : std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    Options, LeaseCaseTest,
    Values(
        // A later option for the same address overwrites.
        LeaseCase{1, 1, "2001:db8::1/128 30/40, 2001:db8::2/128 1/2", nullptr,
                  iaNa(1, 0, 0,
                       join({iaAddress(kAddress1, 10, 20), iaAddress(kAddress2, 1, 2),
                             iaAddress(kAddress1, 30, 40)}))},
        // Only the first IA_NA long enough counts; short options and valid below preferred pass silently.
        LeaseCase{1, 1, "2001:db8::2/128 100/200", nullptr,
                  join({option(3, Bytes(11, 0)),
                        iaNa(7, 0, 0,
                             join({option(5, Bytes(23, 0x20)), iaAddress(kAddress1, 200, 100),
                                   iaAddress(kAddress2, 100, 200)})),
                        iaNa(8, 0, 0, iaAddress(kAddress1, 1, 1))})},
        // T1 above a non-zero T2 discards the IA.
        LeaseCase{1, 0, "", "\r\n Discarding message, since T1 (500) > T2 (400)",
                  iaNa(1, 500, 400, iaAddress(kAddress1, 10, 20))},
        // T1 above a zero T2 is fine.
        LeaseCase{1, 1, "2001:db8::1/128 10/20", nullptr, iaNa(1, 500, 0, iaAddress(kAddress1, 10, 20))},
        // A failure status of the IA drops it.
        LeaseCase{1, 0, "", "\r\n Discarding settings na, since status no addresses available",
                  iaNa(1, 0, 0, join({iaAddress(kAddress1, 10, 20), statusCode(2, "none left")}))},
        // A failure status of an address drops it.
        LeaseCase{1, 0, "", "\r\n Discarding settings na, since no usable bindings",
                  iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20, statusCode(3)))},
        // A zero-lifetime address of a REPLY is dropped,
        LeaseCase{1, 1, "2001:db8::2/128 5/10", nullptr, kReleased},
        // that of a RELEASE kept.
        LeaseCase{0, 1, "2001:db8::1/128 0/0, 2001:db8::2/128 5/10", nullptr, kReleased},
        // An accepted IA_PD after the addresses drops the expired ones whatever the flag.
        LeaseCase{0, 1, "2001:db8::2/128 5/10, 2001:db8:0:100::/56 100/200", nullptr,
                  join({kReleased, iaPd(2, 60, 90, iaPrefix(100, 200, 56, kPrefix))})},
        // A refused IA_PD empties the list, but the IA_NA still counts.
        LeaseCase{1, 1, "", "\r\n Discarding settings pd, since status unknown status code",
                  join({iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)),
                        iaPd(2, 0, 0, join({iaPrefix(100, 200, 56, kPrefix), statusCode(6)}))})},
        // Prefixes alone are read with their length.
        LeaseCase{1, 1, "2001:db8:0:100::/56 100/200", nullptr,
                  iaPd(2, 0, 0,
                       join({option(26, Bytes(24, 0x01)), iaPrefix(100, 200, 56, kPrefix),
                             iaPrefix(0, 0, 48, ipv6("2001:db8:1::"))}))}));

using Mac = std::array<uint8_t, 6>;

struct Item {  // keyed by MAC address, as the daemon keys its clients
    AvlNode node;
    Mac key;
};

int32_t compareItem(const void *entry, const void *key) {
    return std::memcmp(key, static_cast<const Item *>(entry)->key.data(), 6);
}

// Spreads n over three bytes, out of the order of n; 151 is odd, so no two n below 65536 collide.
Mac macOf(uint32_t n) {
    return {2, 0x1b, uint8_t(n >> 16), uint8_t(n * 151 >> 8), uint8_t(n * 151), 1};
}

// The in-order walk gives the keys of `model` in order, each record found by search, balanced, and with
// the height its subtrees give it.
AssertionResult matches(AvlNode *root, const std::set<Mac> &model) {
    auto *item = static_cast<Item *>(avlMinimumGet(root));
    for (const Mac &key : model) {
        if (item == nullptr || item->key != key || avlSearch(root, key.data(), compareItem) != item) {
            return AssertionFailure() << "walk or search lost a key";
        }
        const int32_t left = item->node.left != nullptr ? item->node.left->height : 0;
        const int32_t right = item->node.right != nullptr ? item->node.right->height : 0;
        if (item->node.height != 1 + std::max(left, right) || std::abs(left - right) > 1) {
            return AssertionFailure() << "unbalanced or wrong height";
        }
        item = static_cast<Item *>(avlSuccessorGet(root, key.data(), compareItem));
    }
    if (item != nullptr) {
        return AssertionFailure() << "walk went past the largest key";
    }
    return AssertionSuccess();
}

enum class Order { Ascending, Descending, Shuffled };

class AvlTreeModelTest : public TestWithParam<Order> {};

TEST_P(AvlTreeModelTest, StaysOrderedAndBalancedThroughInsertsAndDeletes) {
    std::vector<Item> pool(2048);
    for (uint32_t n = 0; n < pool.size(); ++n) {
        pool[n].key = macOf(n);
    }
    std::sort(pool.begin(), pool.end(), [](const Item &a, const Item &b) { return a.key < b.key; });
    std::mt19937 rng(2048);
    if (GetParam() == Order::Descending) {
        std::reverse(pool.begin(), pool.end());
    } else if (GetParam() == Order::Shuffled) {
        std::shuffle(pool.begin(), pool.end(), rng);
    }
    AvlNode *root = nullptr;
    std::set<Mac> model;
    for (Item &item : pool) {
        ASSERT_EQ(avlInsert(&root, &item.node, item.key.data(), compareItem), 0);
        model.insert(item.key);
        ASSERT_TRUE(matches(root, model));
    }
    // Churn: delete a present record, delete an absent key (macOf above 2047) and ask for its successor, as
    // the aging walk does after deleting the record it stood on, or insert a deleted record again.
    std::uniform_int_distribution<uint32_t> pick(0, 2 * pool.size() - 1);
    for (int round = 0; round < 2048; ++round) {
        const uint32_t n = pick(rng);
        if (n >= pool.size()) {
            const Mac absent = macOf(n);
            EXPECT_EQ(avlDelete(&root, absent.data(), compareItem), nullptr);
            const auto next = model.upper_bound(absent);
            const void *successor = avlSuccessorGet(root, absent.data(), compareItem);
            ASSERT_EQ(successor == nullptr ? Mac{} : static_cast<const Item *>(successor)->key,
                      next == model.end() ? Mac{} : *next);
        } else if (model.erase(pool[n].key) == 1) {
            ASSERT_EQ(avlDelete(&root, pool[n].key.data(), compareItem), &pool[n]);
        } else {
            ASSERT_EQ(avlInsert(&root, &pool[n].node, pool[n].key.data(), compareItem), 0);
            model.insert(pool[n].key);
        }
        ASSERT_TRUE(matches(root, model));
    }
    // A key already in the tree is refused, and the tree stays as it was.
    Item twin{.node = {}, .key = *model.begin()};
    EXPECT_NE(avlInsert(&root, &twin.node, twin.key.data(), compareItem), 0);
    EXPECT_TRUE(matches(root, model));
}

INSTANTIATE_TEST_SUITE_P(Orders, AvlTreeModelTest,
                         Values(Order::Ascending, Order::Descending, Order::Shuffled));

using ClientTableTest = SnoopingTest;

TEST_F(ClientTableTest, PoolOf2048IsExhaustedThenReusedAfterADeletionAsAZeroedEntry) {
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        ClientEntry *entry = clientFindOrCreate(macOf(n).data());
        ASSERT_NE(entry, nullptr) << n;
        entry->pendingLifetime = entry->lastUpdate = 7;
    }
    EXPECT_THAT(traces(), IsEmpty());
    EXPECT_EQ(clientFindOrCreate(macOf(kMaxClients).data()), nullptr);
    EXPECT_THAT(traces(), ElementsAre("\r\n lstGet failed, no enough node space."));
    // A known client is still found when the pool is empty.
    EXPECT_EQ(clientFindOrCreate(macOf(7).data()), clientFind(macOf(7).data()));

    EXPECT_EQ(clientDelete(macOf(7).data()), 0);
    ClientEntry *entry = clientFindOrCreate(macOf(kMaxClients).data());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->counted + entry->acked + entry->pendingLifetime + entry->lastUpdate + entry->portIndex,
              0U);
    EXPECT_EQ(clientFind(nullptr), nullptr);
    EXPECT_EQ(clientFindOrCreate(nullptr), nullptr);
    EXPECT_EQ(clientDelete(nullptr), -1);
}

TEST_F(ClientTableTest, AddressListWithoutMemoryLosesTheRecordAndStaysWhole) {
    AddressList list{};
    ClientAddress record{};
    for (uint32_t n = 1; n <= 4; ++n) {
        if (n == 1 || n == 3) {
            sw.failAllocations();  // the pointer array, then the copy of the record
        }
        record.validLifetime = n;
        addressListAppend(&list, &record, sizeof record);
    }
    ASSERT_EQ(list.count, 2U);
    EXPECT_EQ(addressAt(list, 0)->validLifetime * 10 + addressAt(list, 1)->validLifetime, 24U);
    addressListRemove(&list, list.items[0], addressListFreeItem);
    EXPECT_EQ(addressAt(list, 0)->validLifetime, 4U);
    addressListClear(&list, addressListFreeItem);
    EXPECT_EQ(list.items, nullptr);
}

class SnoopingDecisionTest : public SnoopingTest {
  protected:
    // SOLICIT, ADVERTISE, REQUEST and REPLY for kClient on `port`, the REPLY granting `granted`.
    void exchange(uint32_t port, const Bytes &granted) {
        sw.learnMac(kClient, kVlan, port);
        clientSends(SOLICIT, kClient, port);
        serverSends(ADVERTISE, kClient, kServerPort);
        acknowledge(kClient, port, granted);
    }
    static uint32_t countOn(uint32_t port) { return portClientCount[portSlot(port)]; }
    // A client message sent to the server's own MAC rather than to the multicast group.
    void clientSendsToServer(uint32_t port) {
        Dhcp6Frame frame = fromClient(SOLICIT, kClient, {});
        frame.destinationMac = kServer;
        deliver(port, frame);
    }
};

TEST_F(SnoopingDecisionTest, FullExchangeLeavesAnAcknowledgedClientCountedOnItsPortAndVlan) {
    exchange(3, iaNa(1, 300, 480, join({iaAddress(kAddress1, 600, 900), iaAddress(kAddress2, 600, 900)})));

    // Client messages are flooded (no server answers the multicast group alone); answers go to port 3.
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, Ports{3}, kFloodFrom3, Ports{3}));
    EXPECT_EQ(clientFind(kClient.data())->acked, 1U);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 600/900", "2001:db8::2/128 600/900"));
    EXPECT_EQ(countOn(3) * 10 + vlanClientCount[kVlan], 11U);
    EXPECT_THAT(traces(),
                Contains("\r\n receive dhcpv6 SOLICIT msg, record user: mac 02:00:00:00:00:01, vlan 10, "
                         "port ethernet1/0/3"));
}

TEST_F(SnoopingDecisionTest,
       ServerMessagesFromAnUntrustedPortAndZeroClientMacsEvenFromATrustedOneAreDropped) {
    clientSends(SOLICIT, kClient, 3);
    takeSent();
    for (const uint8_t type : {ADVERTISE, REPLY, RECONFIGURE, RELAY_REPLY}) {
        serverSends(type, kClient, 5, iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)));
    }
    const MacAddress zero{};
    clientSends(SOLICIT, zero, kServerPort);
    clientSends(RELEASE, zero, 3);
    serverSends(REPLY, zero, kServerPort);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(clientFind(kClient.data())->acked, 0U);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 RELAY_REPLY msg comes from untrust port, drop msg."));
    EXPECT_THAT(traces(), Contains("\r\n client mac = 0, drop dhcpv6 REPLY msg"));
}

TEST_F(SnoopingDecisionTest, OnlyKnownTypesPassAndRelayForwardAndInformationRequestPassUnchecked) {
    for (const uint8_t type : {INFORMATION_REQUEST, RELAY_FORWARD, uint8_t{0}, uint8_t{14}, uint8_t{255}}) {
        clientSends(type, kClient, 3);
    }
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, kFloodFrom3));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(traces(), IsEmpty());
}

class ClientLimitTest : public SnoopingDecisionTest, public WithParamInterface<bool> {};

TEST_P(ClientLimitTest, FullPortOrVlanAdmitsOnlyClientsRecordedThere) {
    ASSERT_EQ(GetParam() ? dhcp6snooping_vlan_maxclients(kVlan, 1) : dhcp6snooping_port_maxclients(3, 1), 0);
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, GetParam() ? 4 : 3);
    clientSends(REQUEST, kClient, 3);
    EXPECT_EQ(takeSent().size(), 2U);
    EXPECT_THAT(traces(), Contains("\r\n user number reaches max of port or vlan, drop dhcpv6 SOLICIT msg"));
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    EXPECT_EQ(countOn(3) + countOn(4), 1U);

    // A client message from a trusted port is neither limited nor recorded.
    ASSERT_EQ(dhcp6snooping_port_maxclients(kServerPort, 0), 0);
    clientSends(SOLICIT, kOtherClient, kServerPort);
    EXPECT_EQ(takeSent().size(), 1U);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
}

INSTANTIATE_TEST_SUITE_P(PortOrVlan, ClientLimitTest, Bool());

TEST_F(SnoopingDecisionTest, ClientThatMovesIsRecordedAfreshWithItsCounts) {
    clientSends(SOLICIT, kClient, 3);
    clientSends(REQUEST, kClient, 4);
    EXPECT_EQ(countOn(3) * 100 + countOn(4) * 10 + vlanClientCount[kVlan], 11U);
    EXPECT_EQ(clientFind(kClient.data())->portIndex, 4U);
}

TEST_F(SnoopingDecisionTest, RepliesMergeAndAReplyOnTheClientsOwnPortDeletesIt) {
    exchange(3, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    serverSends(REPLY, kClient, kServerPort,
                iaNa(1, 0, 0, join({iaAddress(kAddress1, 300, 400), iaAddress(kAddress2, 5, 10)})));
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 300/400", "2001:db8::2/128 5/10"));
    takeSent();

    // Port 3 became trusted: a REPLY coming in where the client sits cannot be meant for it.
    ASSERT_EQ(dhcp6snooping_port_mode(3, 1), 0);
    serverSends(REPLY, kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 300, 400)));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(countOn(3), 0U);
}

TEST_F(SnoopingDecisionTest, ReleaseOfTheLastAddressDeletesTheClientAndIsForwardedFromAnyPort) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    exchange(3, iaNa(1, 0, 0, join({iaAddress(kAddress1, 100, 200), iaAddress(kAddress2, 100, 200)})));
    takeSent();
    clientSends(RELEASE, kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress2, 0, 0)));
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::1/128 100/200"));
    EXPECT_THAT(addressFilters(), ElementsAre(Filter::forward(kAddress1, kClient, 3, kVlan)));

    // From the trusted port the guard mode of port 1 decides: no filter is removed, the client still goes.
    clientSends(DECLINE, kClient, kServerPort, iaNa(1, 0, 0, iaAddress(kAddress1, 0, 0)));
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(takeSent(), ElementsAre(kFloodFrom3, Ports{2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(countOn(3), 0U);
}

TEST_F(SnoopingDecisionTest, StoppingForgetsEveryClientWithItsCountsAndFiltersAndThenNothingIsSent) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)));
    clientSends(SOLICIT, kOtherClient, 4);
    ASSERT_EQ(addressFilters().size(), 1U);
    takeSent();

    const size_t calls = sw.filterCalls().size();
    EXPECT_EQ(dhcp6snoopingStart(), 0);  // already on: nothing to do
    EXPECT_EQ(dhcp6snoopingStop(), 0);
    EXPECT_EQ(dhcp6snoopingStop(), 0);
    EXPECT_EQ(sw.filterCalls().size(), calls + 3);  // the two snooping filters and the client's
    // Each hook moved back to mode 3 by the descriptor it was registered with.
    ASSERT_EQ(sw.packetRegistrations().size(), 6U);
    for (size_t i = 2; i < 6; ++i) {
        const auto &registration = sw.packetRegistrations()[i];
        EXPECT_EQ(registration.descriptor, sw.packetRegistrations()[i % 2].descriptor);
        EXPECT_EQ(registration.mode, i < 4 ? 1U : 3U);
        EXPECT_EQ(registration.result, 0);
    }
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_THAT(sw.installedFilters(), ElementsAre(Filter::denyAll(3)));  // the guard stays
    EXPECT_EQ(countOn(3) + countOn(4) + vlanClientCount[kVlan], 0U);
    for (uint8_t type = 0; type <= RELAY_REPLY; ++type) {
        clientSends(type, kClient, 3);
        serverSends(type, kClient, kServerPort);
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
}

class ReceiveCallbackTest : public SnoopingTest {
  protected:
    // Hands the first `length` bytes of a SOLICIT straight to the callback in a buffer that ends with them,
    // 2 bytes past a 4-byte boundary as the packet service delivers frames.
    int32_t receive(uint32_t length, uint32_t port, uint32_t vlan, PktRecvInfo info) {
        const auto buffer = std::make_unique<uint8_t[]>(length + 2);
        std::copy_n(built_.bytes.begin(), length, buffer.get() + 2);
        return dhcp6snoopingRegPktProcess(buffer.get() + 2, length, PktRecvTag{vlan, port, {}}, info);
    }

    const BuiltFrame built_ = buildDhcp6Frame(fromClient(SOLICIT, kClient, clientId(duidLl(kClient))));
};

TEST_F(ReceiveCallbackTest, CutFramesOtherKindsAndPortsOrVlansOutsideTheTablesAreLeftAlone) {
    const auto size = static_cast<uint32_t>(built_.bytes.size());
    const uint32_t header = built_.info.payloadOffset + 4U;
    for (uint32_t length = 0; length < header; ++length) {
        EXPECT_EQ(receive(length, 3, kVlan, built_.info), 0);
    }
    PktRecvInfo info = built_.info;
    info.payloadOffset = 0xFFFF;
    EXPECT_EQ(receive(size, 3, kVlan, info), 0);
    info = built_.info;
    info.frameKind = 2;
    EXPECT_EQ(receive(size, 3, kVlan, info), 2);
    for (const auto &[port, vlan] : {std::pair{0U, kVlan}, std::pair{225U, kVlan}, std::pair{3U, 4096U}}) {
        EXPECT_EQ(receive(size, port, vlan, built_.info), 0);
    }
    EXPECT_THAT(sw.sentFrames(), IsEmpty());
    EXPECT_EQ(clientFirst(), nullptr);

    // The message header alone is a whole message; only the low 16 bits of each word of the tag count.
    EXPECT_EQ(receive(header, 0x10003, 0x7000A, built_.info), 0);
    EXPECT_EQ(sw.sentFrames().size(), 1U);
    EXPECT_EQ(clientFind(kClient.data())->portIndex, 3U);
}

TEST_F(ReceiveCallbackTest, FrameOnAFourByteBoundaryIsABrokenContract) {
    sw.echoConsole(true);
    const auto words = std::make_unique<uint32_t[]>(32);
    auto *frame = reinterpret_cast<uint8_t *>(words.get());
    EXPECT_DEATH(dhcp6snoopingRegPktProcess(frame, 64, PktRecvTag{}, PktRecvInfo{}),
                 "Assertion failed!IP_ALLIGN == \\(\\(ulong_t\\)pkt\\) % 4, Dhcp6Snooping.c, "
                 "dhcp6snoopingRegPktProcess, line=4704");
}

constexpr uint32_t kAggregation = 7, kAggregationValue = 0x80000000U | kAggregation;

using ForwardingTest = SnoopingDecisionTest;

TEST_F(ForwardingTest, ClientMessageGoesToATrustedServerPortAloneIsFloodedOtherwiseAndNeverSentBack) {
    clientSendsToServer(3);
    sw.learnMac(kServer, kVlan, 2);
    clientSendsToServer(3);
    sw.learnMac(kServer, kVlan, 3);
    ASSERT_EQ(dhcp6snooping_port_mode(3, 1), 0);
    clientSendsToServer(3);
    // Toward the servers the lookup is told the ingress port.
    EXPECT_EQ(sw.macLookups().front().port, 2U);

    EXPECT_THAT(takeSent(), ElementsAre(Ports{1}, kFloodFrom3));
}

TEST_F(ForwardingTest, AnswerGoesWhereTheClientWasLearnedWhateverTheTrustButNeverBackWhereItCameFrom) {
    sw.learnMac(kClient, kVlan, 5);
    serverSends(REPLY, kClient, kServerPort, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    sw.learnMac(kClient, kVlan, kServerPort);
    serverSends(ADVERTISE, kClient, kServerPort);
    EXPECT_THAT(takeSent(), ElementsAre(Ports{5}));
    EXPECT_EQ(sw.macLookups().front().port, 0U);
    EXPECT_EQ(clientFirst(), nullptr);  // a REPLY for a client never recorded teaches nothing
}

TEST_F(ForwardingTest, LinkAggregationTakesTheAnswerAndIsFloodedOnceForClientMessages) {
    sw.addAggregation(kAggregation, {5, 6});
    sw.learnMacOnAggregation(kClient, kVlan, kAggregation);
    serverSends(ADVERTISE, kClient, kServerPort);
    sw.learnMacOnAggregation(kServer, kVlan, kAggregation);
    clientSendsToServer(3);
    EXPECT_THAT(takeSent(), ElementsAre(Ports{kAggregationValue}, Ports{1, 2, 4, 5, 7, 8}));
}

TEST_F(ForwardingTest, FrameLeavesExactlyAsReceivedAndNotAtAllWithoutAnotherVlanMember) {
    const BuiltFrame built = buildDhcp6Frame(fromClient(RENEW, kClient, clientId(duidLl(kClient))));
    sw.queueFrame(3, kVlan, built.bytes);
    serve();
    ASSERT_EQ(sw.sentFrames().size(), 1U);
    EXPECT_EQ(sw.sentFrames()[0].bytes, built.bytes);
    EXPECT_EQ(sw.sentFrames()[0].vlan, kVlan);
    EXPECT_EQ(std::memcmp(&sw.sentFrames()[0].info, &built.info, sizeof built.info), 0);
    takeSent();

    // A VLAN without another member sends nothing.
    sw.addVlan(kVlan, {3});
    clientSends(SOLICIT, kClient, 3);
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_THAT(traces(), Contains("\r\n Send packet failed, can't find any send port"));
}

using AgingTest = SnoopingTest;

TEST_F(AgingTest, BindingGoesWithItsFilterOneSecondBeforeItsLifetimeEndsAndTheClientWithItsLast) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6), 0);
    acknowledge(kClient, 3, iaNa(1, 0, 0, join({iaAddress(kAddress1, 5, 5), iaAddress(kAddress2, 9, 9)})));
    tick(3);
    EXPECT_EQ(addressFilters().size(), 2U);
    tick(1);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::2/128 9/5"));
    EXPECT_THAT(addressFilters(), ElementsAre(Filter::forward(kAddress2, kClient, 3, kVlan)));
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete user:mac 02:00:00:00:00:01, ipv6 "
                                   "address/prefix : 2001:db8::1"));
    tick(4);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_THAT(addressFilters(), IsEmpty());
    EXPECT_EQ(portClientCount[portSlot(3)], 0);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete ack user:mac 02:00:00:00:00:01."));
    EXPECT_THAT(traces(),
                Not(Contains("\r\n dhcpv6 snooping timer delete unack user:mac 02:00:00:00:00:01.")));
}

TEST_F(AgingTest, UnacknowledgedClientLivesAbout180SecondsAfterItsLastMessage) {
    clientSends(SOLICIT, kClient, 3);
    tick(100);
    clientSends(SOLICIT, kClient, 3);
    tick(178);
    ASSERT_NE(clientFind(kClient.data()), nullptr);
    tick(1);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(vlanClientCount[kVlan], 0);
    EXPECT_THAT(traces(), Contains("\r\n dhcpv6 snooping timer delete unack user:mac 02:00:00:00:00:01."));
}

TEST_F(AgingTest, RemovalByAddressTakesOnlyTheFirstHoldersBindingAndUnknownKindsAreRefused) {
    EXPECT_EQ(fuzz::removeClients(5, 0, 0), 0);  // an unknown kind, but nothing to walk over

    acknowledge(kClient, 3, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    acknowledge(kOtherClient, 4, iaNa(1, 0, 0, iaAddress(kAddress1, 100, 200)));
    EXPECT_EQ(fuzz::removeClients(5, 0, 0), -1);
    EXPECT_EQ(fuzz::removeClients(DELETE_BY_ADDRESS, 0, 0, nullptr, kAddress1.data()), 0);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_NE(clientFind(kOtherClient.data()), nullptr);
}

TEST_F(AgingTest, RemovalByVlanMacOrPortAndLinkDownTakeEveryMatchingClientAndLinkUpNone) {
    const auto third = mac("02:00:00:00:00:03");
    clientSends(SOLICIT, kClient, 3);
    clientSends(SOLICIT, kOtherClient, 3, {}, 20);
    clientSends(SOLICIT, third, 4, {}, 20);
    fuzz::removeClients(DELETE_BY_VLAN, 0, 20);
    EXPECT_EQ(clientFind(kOtherClient.data()), nullptr);
    EXPECT_EQ(clientFind(third.data()), nullptr);
    clientSends(SOLICIT, kOtherClient, 3);
    clientSends(SOLICIT, third, 4);
    fuzz::removeClients(DELETE_BY_MAC, 0, 0, kClient.data());
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    fuzz::removeClients(DELETE_BY_PORT, 4, 0);
    EXPECT_EQ(clientFind(third.data()), nullptr);
    sw.queueLinkChange(3, 1);
    serve();
    EXPECT_NE(clientFind(kOtherClient.data()), nullptr);
    sw.queueLinkChange(3, 0);
    serve();
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_EQ(portClientCount[portSlot(3)] + portClientCount[portSlot(4)] + vlanClientCount[kVlan] +
                  vlanClientCount[20],
              0);
}

TEST_F(AgingTest, BulkRemovalWarnsAfter10SecondsAndStopsAt30LeavingTheRest) {
    for (uint32_t n = 1; n <= 40; ++n) {
        clientSends(SOLICIT, MacAddress{2, 0, 0, 0, 1, uint8_t(n)}, 3);
    }
    sw.advanceClockOnEachRead(1);
    EXPECT_EQ(fuzz::removeClients(DELETE_ALL, 0, 0), 0);
    sw.advanceClockOnEachRead(0);

    // One second passes at the start and at every check: the 30th check gives up.
    EXPECT_EQ(portClientCount[portSlot(3)], 10);
    EXPECT_EQ(clientFirst()->mac[5], 31);
    const auto lines = traces();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "\r\ntoo many ipv6-source-guard filters to release, it's taking long!!"),
              21);
    EXPECT_THAT(lines,
                Contains("\r\nhas been releasing ipv6-source-guard filters for 30 seconds, stop process"));
}

}  // namespace
