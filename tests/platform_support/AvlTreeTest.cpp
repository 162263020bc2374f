#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <set>
#include <string>
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
    // Churn: delete a present record, delete an absent key (macOf above 2047), or re-insert a deleted one.
    std::uniform_int_distribution<uint32_t> pick(0, 2 * pool.size() - 1);
    for (int round = 0; round < 2048; ++round) {
        const uint32_t n = pick(rng);
        if (n >= pool.size()) {
            EXPECT_EQ(avlDelete(&root, macOf(n).data(), compareItem), nullptr);
        } else if (model.erase(pool[n].key) == 1) {
            ASSERT_EQ(avlDelete(&root, pool[n].key.data(), compareItem), &pool[n]);
        } else {
            ASSERT_EQ(avlInsert(&root, &pool[n].node, pool[n].key.data(), compareItem), 0);
            model.insert(pool[n].key);
        }
        ASSERT_TRUE(matches(root, model));
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, AvlTreeModelTest,
                         ::testing::Values(Order::Ascending, Order::Descending, Order::Shuffled),
                         [](const ::testing::TestParamInfo<Order> &param) {
                             return std::string(std::array{"Ascending", "Descending", "Shuffled"}.at(
                                 static_cast<size_t>(param.param)));
                         });

class AvlTreeTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (Item *item : {&low_, &middle_, &high_}) {
            ASSERT_EQ(avlInsert(&root_, &item->node, item->key.data(), compareItem), 0);
            model_.insert(item->key);
        }
    }

    Item low_{.node = {}, .key = macOf(10)};
    Item middle_{.node = {}, .key = macOf(20)};
    Item high_{.node = {}, .key = macOf(30)};
    AvlNode *root_ = nullptr;
    std::set<Mac> model_;
};

TEST_F(AvlTreeTest, RefusesAnEqualKeyAndNullArgumentsLeavingTheTreeAsItWas) {
    Item twin{.node = {}, .key = middle_.key};
    EXPECT_NE(avlInsert(&root_, &twin.node, twin.key.data(), compareItem), 0);
    EXPECT_NE(avlInsert(nullptr, &twin.node, twin.key.data(), compareItem), 0);
    EXPECT_NE(avlInsert(&root_, nullptr, twin.key.data(), compareItem), 0);
    EXPECT_EQ(avlDelete(&root_, macOf(15).data(), compareItem), nullptr);
    EXPECT_EQ(avlDelete(nullptr, middle_.key.data(), compareItem), nullptr);
    EXPECT_EQ(avlMinimumGet(nullptr), nullptr);
    EXPECT_EQ(avlSuccessorGet(nullptr, middle_.key.data(), compareItem), nullptr);
    EXPECT_TRUE(matches(root_, model_));
}

// The daemon's aging walk deletes the record it stands on, then asks for the one after the deleted key.
TEST_F(AvlTreeTest, SuccessorOfAnAbsentKeyIsTheNextLargerSoAWalkMayDeleteAsItGoes) {
    EXPECT_EQ(avlSuccessorGet(root_, macOf(5).data(), compareItem), &low_);
    EXPECT_EQ(avlSuccessorGet(root_, macOf(15).data(), compareItem), &middle_);
    EXPECT_EQ(avlSuccessorGet(root_, macOf(35).data(), compareItem), nullptr);
    std::vector<void *> visited;
    for (void *record = avlMinimumGet(root_); record != nullptr;) {
        visited.push_back(record);
        const Mac key = static_cast<Item *>(record)->key;
        EXPECT_EQ(avlDelete(&root_, key.data(), compareItem), record);
        record = avlSuccessorGet(root_, key.data(), compareItem);
    }
    EXPECT_EQ(visited, (std::vector<void *>{&low_, &middle_, &high_}));
    EXPECT_EQ(root_, nullptr);
}

}  // namespace
