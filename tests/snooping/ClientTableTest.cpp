// Recording, finding and removing clients, with the counts and filters that a removal undoes.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "snooping/ClientTable.h"
#include "source_guard/SourceGuardMode.h"
#include "source_guard/StaticBindList.h"
#include "support/DaemonTest.h"
#include "switchsim/FrameBuilder.h"

namespace {

using Mac = std::array<uint8_t, 6>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kPort = 3;
constexpr uint32_t kVlan = 10;

Mac numberedMac(uint32_t n) {
    return {0x02,
            0x00,
            0x00,
            static_cast<uint8_t>(n >> 16),
            static_cast<uint8_t>(n >> 8),
            static_cast<uint8_t>(n)};
}

ClientAddress binding(const char *address, uint32_t prefixLength) {
    ClientAddress record{};
    const auto bytes = switchsim::ipv6(address);
    std::memcpy(record.address, bytes.data(), bytes.size());
    record.prefixLength = prefixLength;
    record.validLifetime = 100;
    return record;
}

class ClientTableTest : public DaemonTest {
  protected:
    void SetUp() override { startDaemon(); }

    // An acknowledged client on kPort with the given bindings, a filter installed for each /128 address.
    ClientEntry &acknowledged(const Mac &mac, std::vector<ClientAddress> records) {
        ClientEntry *entry = clientFindOrCreate(mac.data());
        entry->portIndex = kPort;
        entry->vlanId = kVlan;
        entry->acked = 1;
        for (ClientAddress &record : records) {
            addressListAppend(&entry->addresses, &record, sizeof record);
            if (record.prefixLength == 128) {
                Ipv6Address address;
                std::memcpy(address.octets, record.address, sizeof address.octets);
                dhcp6snoopingFilterInstall(FILTER_PORT_IP_MAC_VLAN, address, mac.data(), kPort, kVlan);
            }
        }
        return *entry;
    }

    [[nodiscard]] std::vector<std::string> filterRemovals() const {
        std::vector<std::string> removals;
        for (const auto &call : sw.filterCalls()) {
            if (call.function.find("Remove") != std::string::npos) {
                removals.push_back(call.arguments);
            }
        }
        return removals;
    }
};

TEST_F(ClientTableTest, NewEntryHoldsOnlyItsMacAndIsFoundAgain) {
    const Mac mac = numberedMac(1);
    ClientEntry *entry = clientFindOrCreate(mac.data());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(Mac(std::to_array(entry->mac)), mac);
    EXPECT_EQ(entry->portIndex + entry->vlanId + entry->acked + entry->counted + entry->addresses.capacity,
              0U);
    EXPECT_EQ(clientFindOrCreate(mac.data()), entry);
    EXPECT_EQ(clientFind(mac.data()), entry);

    EXPECT_EQ(clientFind(numberedMac(2).data()), nullptr);
    EXPECT_EQ(clientFind(nullptr), nullptr);
    EXPECT_EQ(clientFindOrCreate(nullptr), nullptr);
    EXPECT_EQ(clientDelete(nullptr), -1);
    EXPECT_EQ(clientDelete(numberedMac(2).data()), 0);
    EXPECT_EQ(clientFind(mac.data()), entry);
}

TEST_F(ClientTableTest, PoolOf2048IsExhaustedThenReusedAfterADeletion) {
    traceOn();
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        ASSERT_NE(clientFindOrCreate(numberedMac(n).data()), nullptr) << n;
    }
    EXPECT_THAT(traces(), IsEmpty());
    EXPECT_EQ(clientFindOrCreate(numberedMac(kMaxClients).data()), nullptr);
    EXPECT_THAT(traces(), ElementsAre("\r\n lstGet failed, no enough node space."));
    // A known client is still found when the pool is empty.
    EXPECT_NE(clientFindOrCreate(numberedMac(7).data()), nullptr);

    EXPECT_EQ(clientDelete(numberedMac(7).data()), 0);
    ClientEntry *entry = clientFindOrCreate(numberedMac(kMaxClients).data());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->counted + entry->pendingLifetime + entry->lastUpdate, 0U);
}

TEST_F(ClientTableTest, DeletionUndoesItsCountsButNeverBelowZero) {
    for (const uint32_t n : {1, 2}) {
        ClientEntry *entry = clientFindOrCreate(numberedMac(n).data());
        entry->portIndex = kPort;
        entry->vlanId = kVlan;
        entry->counted = 1;
    }
    portClientCount[kPort - 1] = 1;
    vlanClientCount[kVlan] = 0;  // as after a reset of the VLAN's count

    clientDelete(numberedMac(1).data());
    EXPECT_EQ(portClientCount[kPort - 1], 0);
    EXPECT_EQ(vlanClientCount[kVlan], 0);
    clientDelete(numberedMac(2).data());
    EXPECT_EQ(portClientCount[kPort - 1], 0);
    EXPECT_EQ(vlanClientCount[kVlan], 0);
}

TEST_F(ClientTableTest, DeletionRemovesTheFiltersOfUncoveredAddressesOfAcknowledgedGuardedClients) {
    portIpSourceGuardMode[kPort - 1] = SOURCE_GUARD_IPV6_MAC_VLAN;
    StaticBindEntry bound{};
    std::memcpy(bound.ip, switchsim::ipv6("2001:db8::b").data(), 16);
    staticBindInsertNewest(&bound);
    const Mac mac = numberedMac(1);
    acknowledged(mac, {binding("2001:db8::a", 128), binding("2001:db8::b", 128), binding("2001:db8:1::", 56),
                       binding("2001:db8::c", 128)});

    EXPECT_EQ(clientDelete(mac.data()), 0);

    EXPECT_THAT(filterRemovals(), ElementsAre("3, 02:00:00:00:00:01, 2001:db8::a, 10",
                                              "3, 02:00:00:00:00:01, 2001:db8::c, 10"));
    // The covered address kept the filter installed for it above: a static binding serves it instead.
    EXPECT_THAT(sw.installedFilters(),
                ElementsAre("forward ip6 2001:db8::b mac 02:00:00:00:00:01 port 3 vlan 10"));
    EXPECT_EQ(clientFind(mac.data()), nullptr);
    staticBindUnlink(&bound);
}

TEST_F(ClientTableTest, DeletionLeavesFiltersAloneOnUnguardedPortsAndForUnacknowledgedClients) {
    ClientEntry &unguarded = acknowledged(numberedMac(1), {binding("2001:db8::a", 128)});
    clientDelete(unguarded.mac);

    portIpSourceGuardMode[kPort - 1] = SOURCE_GUARD_IPV6;
    ClientEntry &pending = acknowledged(numberedMac(2), {binding("2001:db8::d", 128)});
    pending.acked = 0;
    clientDelete(pending.mac);

    EXPECT_THAT(filterRemovals(), IsEmpty());
}

TEST_F(ClientTableTest, WalkThatDeletesEveryEntryVisitsEachOnceInMacOrder) {
    std::mt19937 random(7);
    std::set<Mac> expected;
    while (expected.size() < 300) {
        Mac mac{};
        std::generate(mac.begin(), mac.end(), [&] { return static_cast<uint8_t>(random()); });
        expected.insert(mac);
        clientFindOrCreate(mac.data());
    }

    std::vector<Mac> visited;
    for (ClientEntry *entry = clientFirst(); entry != nullptr;) {
        ClientEntry *next = clientAfter(entry->mac);
        visited.push_back(std::to_array(entry->mac));
        clientDelete(entry->mac);
        entry = next;
    }

    EXPECT_THAT(visited, ::testing::ElementsAreArray(expected));
    EXPECT_EQ(clientFirst(), nullptr);
    EXPECT_EQ(clientNodePool.freeList.count, kMaxClients);
}

}  // namespace
