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

TEST(ListTest, PushPopEraseAndClearKeepTheLinksAndCountEveryNode) {
    CountersRestored restored;
    const ResourceCounters start = ResourceCounters::Now();
    List<Item> list;
    ASSERT_TRUE(list.push_back({1, 0}));
    ASSERT_TRUE(list.push_front({0, 1}));
    ASSERT_TRUE(list.push_back({2, 2}));
    EXPECT_EQ(start["new"] + 3, ResourceCounters::Now()["new"]);
    EXPECT_EQ((std::vector<int>{0, 1, 2}), Field(list, &Item::key));
    ExpectConsistent(list);
    list.pop_back();
    list.pop_back();
    list.pop_back();
    list.pop_back();  // empty: nothing happens
    EXPECT_TRUE(list.head == nullptr && list.tail == nullptr && list.count == 0);
    EXPECT_EQ(start, ResourceCounters::Now());

    Fill(&list, {0, 1, 2, 3, 4});
    list.erase(list.head->next->next);
    list.erase(list.head);
    list.erase(list.tail);
    EXPECT_EQ((std::vector<int>{1, 3}), Field(list, &Item::key));
    ExpectConsistent(list);
    list.erase(list.head);
    list.erase(list.head);
    ExpectConsistent(list);
    EXPECT_EQ(start, ResourceCounters::Now());

    Fill(&list, {5, 6, 7, 8});
    list.clear();
    EXPECT_EQ(start, ResourceCounters::Now());
    ExpectConsistent(list);
    // The values are not the list's: clearing must not free the stack address in this one.
    int value = 7;
    List<int*> pointers;
    ASSERT_TRUE(pointers.push_back(&value));
    pointers.clear();
}

TEST(ListTest, SortedInputCostsAllPairsAndKeepsRunsInOrder) {
    for (int n : {0, 1, 2, 3, 10, 50}) {
        std::vector<int> keys(n), serials(n);
        for (int i = 0; i < n; ++i) {
            keys[i] = i / 3;
        }
        std::iota(serials.begin(), serials.end(), 0);
        List<Item> list;
        Fill(&list, keys);
        int comparisons = 0;
        list.sortByCompareFunction(CountingLess{&comparisons});
        EXPECT_EQ(n * (n - 1) / 2, comparisons) << "n=" << n;
        EXPECT_EQ(serials, Field(list, &Item::serial));
        ExpectConsistent(list);
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
