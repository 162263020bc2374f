#include <gtest/gtest.h>

#include <vector>

#include "platform/ContainerApi.h"

namespace {

// The daemon keeps its free client records on a list: it takes one per new client and gives it back.
TEST(ListTest, PoolOf2048DrainsInFifoOrderAndRefills) {
    std::vector<LstNode> pool(2048);
    LstList list{};  // zeroed, as a global that was never initialised: empty all the same
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(lstGet(&list), nullptr);
        for (LstNode &node : pool) {
            lstAdd(&list, &node);
        }
        ASSERT_EQ(list.count, pool.size());
        for (LstNode &node : pool) {
            ASSERT_EQ(lstGet(&list), &node);
        }
        EXPECT_EQ(list.count, 0U);
        lstInit(&list);
    }
    lstAdd(&list, nullptr);
    EXPECT_EQ(lstGet(&list), nullptr);
    lstInit(nullptr);
    lstAdd(nullptr, pool.data());
    EXPECT_EQ(lstGet(nullptr), nullptr);
}

}  // namespace
