#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "core/List.h"
#include "tests/support/Counters.h"

namespace kesto {
namespace {

using test::CountersRestored;
using test::ResourceCounters;

struct Item {
    int key;
    int serial;  // input position, to check stability
};

struct CountingLess {
    int* comparisons;
    bool operator()(const Item& a, const Item& b) const {
        ++*comparisons;
        return a.key < b.key;
    }
};

std::vector<int> Field(const List<Item>& list, int Item::*field) {
    std::vector<int> values;
    for (auto* node = list.head; node != nullptr; node = node->next) {
        values.push_back(node->value.*field);
    }
    return values;
}

// The links must agree both ways and with count.
void ExpectConsistent(const List<Item>& list) {
    std::vector<const ListNode<Item>*> forward, backward;
    for (auto* node = list.head; node != nullptr; node = node->next) {
        forward.push_back(node);
    }
    for (auto* node = list.tail; node != nullptr; node = node->prev) {
        backward.insert(backward.begin(), node);
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(static_cast<size_t>(list.count), forward.size());
}

void Fill(List<Item>* list, const std::vector<int>& keys) {
    for (size_t i = 0; i < keys.size(); ++i) {
        ASSERT_TRUE(list->push_back({keys[i], static_cast<int>(i)}));
    }
}

TEST(ListTest, RandomSortsMatchStableSortAndAllocateNothing) {
    std::mt19937 random(1234);
    for (int round = 0; round < 200; ++round) {
        std::vector<int> keys(random() % 40), order(keys.size());
        for (int& key : keys) {
            key = static_cast<int>(random() % 6) - 3;
        }
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return keys[a] < keys[b]; });
        List<Item> list;
        Fill(&list, keys);

        const ResourceCounters before = ResourceCounters::Now();
        int comparisons = 0;
        list.sortByCompareFunction(CountingLess{&comparisons});
        EXPECT_EQ(before, ResourceCounters::Now());
        EXPECT_EQ(order, Field(list, &Item::serial)) << "round " << round;
        ExpectConsistent(list);
    }
}

}  // namespace
}  // namespace kesto
