// The fixed pool of client entries, and the address lists when memory runs out.

#include <gmock/gmock.h>

#include <array>

#include "snooping/ClientTable.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::array<uint8_t, 6> numberedMac(uint32_t n) {
    return {2, 0, 0, uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
}

class ClientTableTest : public DaemonTest {
  protected:
    void SetUp() override {
        startDaemon();
        traceOn();
    }
};

TEST_F(ClientTableTest, PoolOf2048IsExhaustedThenReusedAfterADeletionAsAZeroedEntry) {
    for (uint32_t n = 0; n < kMaxClients; ++n) {
        ClientEntry *entry = clientFindOrCreate(numberedMac(n).data());
        ASSERT_NE(entry, nullptr) << n;
        entry->pendingLifetime = entry->lastUpdate = 7;
    }
    EXPECT_THAT(traces(), IsEmpty());
    EXPECT_EQ(clientFindOrCreate(numberedMac(kMaxClients).data()), nullptr);
    EXPECT_THAT(traces(), ElementsAre("\r\n lstGet failed, no enough node space."));
    // A known client is still found when the pool is empty.
    EXPECT_EQ(clientFindOrCreate(numberedMac(7).data()), clientFind(numberedMac(7).data()));

    EXPECT_EQ(clientDelete(numberedMac(7).data()), 0);
    ClientEntry *entry = clientFindOrCreate(numberedMac(kMaxClients).data());
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

}  // namespace
