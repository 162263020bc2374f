// The ordered tree that holds the client table, against a model.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "platform/ContainerApi.h"

namespace {

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
::testing::AssertionResult matches(AvlNode *root, const std::set<Mac> &model) {
    auto *item = static_cast<Item *>(avlMinimumGet(root));
    for (const Mac &key : model) {
        if (item == nullptr || item->key != key || avlSearch(root, key.data(), compareItem) != item) {
            return ::testing::AssertionFailure() << "walk or search lost a key";
        }
        const int32_t left = item->node.left != nullptr ? item->node.left->height : 0;
        const int32_t right = item->node.right != nullptr ? item->node.right->height : 0;
        if (item->node.height != 1 + std::max(left, right) || std::abs(left - right) > 1) {
            return ::testing::AssertionFailure() << "unbalanced or wrong height";
        }
        item = static_cast<Item *>(avlSuccessorGet(root, key.data(), compareItem));
    }
    if (item != nullptr) {
        return ::testing::AssertionFailure() << "walk went past the largest key";
    }
    return ::testing::AssertionSuccess();
}

enum class Order { Ascending, Descending, Shuffled };

class AvlTreeModelTest : public ::testing::TestWithParam<Order> {};

TEST_P(AvlTreeModelTest, StaysOrderedAndBalancedThroughInsertsAndDeletes) {
    std::vector<Item> pool(2048);
    for (uint32_t n = 0; n < pool.size(); ++n) {
        pool[n].key = macOf(n);
    }
    std::sort(pool.begin(), pool.end(), [](const Item &a, const Item &b) { return a.key < b.key; });
    std::vector<size_t> order(pool.size());
    std::iota(order.begin(), order.end(), 0U);
    std::mt19937 rng(2048);
    if (GetParam() == Order::Descending) {
        std::reverse(order.begin(), order.end());
    } else if (GetParam() == Order::Shuffled) {
        std::shuffle(order.begin(), order.end(), rng);
    }
    AvlNode *root = nullptr;
    std::set<Mac> model;
    for (const size_t i : order) {
        ASSERT_EQ(avlInsert(&root, &pool[i].node, pool[i].key.data(), compareItem), 0);
        model.insert(pool[i].key);
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
                         ::testing::Values(Order::Ascending, Order::Descending, Order::Shuffled));

}  // namespace
