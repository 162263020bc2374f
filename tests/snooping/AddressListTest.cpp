// The growable list of a client's address records.

#include <gmock/gmock.h>

#include <vector>

#include "snooping/AddressList.h"
#include "support/DaemonTest.h"

namespace {

class AddressListTest : public DaemonTest {
  protected:
    void TearDown() override { addressListClear(&list, addressListFreeItem); }

    void appendNumbered(uint32_t count) {
        for (uint32_t n = 0; n < count; ++n) {
            ClientAddress record{};
            record.validLifetime = next++;
            addressListAppend(&list, &record, sizeof record);
        }
    }

    [[nodiscard]] std::vector<uint32_t> lifetimes() const {
        std::vector<uint32_t> values;
        for (uint32_t i = 0; i < list.count; ++i) {
            values.push_back(addressAt(list, i)->validLifetime);
        }
        return values;
    }

    AddressList list{};
    uint32_t next = 1;
};

TEST_F(AddressListTest, GrowsToSixThenDoublesAndKeepsItsCopiesInOrder) {
    appendNumbered(1);
    EXPECT_EQ(list.capacity, 6U);
    appendNumbered(5);
    EXPECT_EQ(list.capacity, 6U);
    appendNumbered(1);
    EXPECT_EQ(list.capacity, 12U);
    appendNumbered(6);
    EXPECT_EQ(list.capacity, 24U);
    EXPECT_THAT(lifetimes(), ::testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST_F(AddressListTest, RemovingFromTheMiddleKeepsTheOrderOfTheRest) {
    appendNumbered(4);
    addressListRemove(&list, list.items[1], addressListFreeItem);
    EXPECT_THAT(lifetimes(), ::testing::ElementsAre(1, 3, 4));

    ClientAddress stranger{};
    addressListRemove(&list, &stranger, addressListFreeItem);
    EXPECT_EQ(list.count, 3U);
}

TEST_F(AddressListTest, ClearLeavesAnEmptyListThatCanGrowAgain) {
    appendNumbered(8);
    addressListClear(&list, addressListFreeItem);
    EXPECT_EQ(list.count, 0U);
    EXPECT_EQ(list.capacity, 0U);
    EXPECT_EQ(list.items, nullptr);

    // Without a copy the list stores the caller's pointer and a clear without release leaves it alone.
    ClientAddress kept{};
    addressListAppend(&list, &kept, 0);
    EXPECT_EQ(list.items[0], &kept);
    addressListClear(&list, nullptr);
    EXPECT_EQ(list.count, 0U);
}

TEST_F(AddressListTest, WithoutMemoryTheRecordIsLostAndTheListStaysWhole) {
    sw.failAllocations(1);  // the pointer array
    appendNumbered(1);
    EXPECT_EQ(list.capacity, 0U);
    appendNumbered(1);
    sw.failAllocations(1);  // the copy of the record
    appendNumbered(1);
    appendNumbered(1);
    EXPECT_THAT(lifetimes(), ::testing::ElementsAre(2, 4));
}

}  // namespace
