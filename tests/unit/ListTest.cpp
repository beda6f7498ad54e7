#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
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

std::vector<Item> Forward(const List<Item>& list) {
    std::vector<Item> items;
    for (auto* node = list.head; node != nullptr; node = node->next) {
        items.push_back(node->value);
    }
    return items;
}

// Walks both ways and checks the links agree with each other and with count.
void ExpectConsistent(const List<Item>& list) {
    std::vector<const ListNode<Item>*> forward;
    for (auto* node = list.head; node != nullptr; node = node->next) {
        forward.push_back(node);
    }
    std::vector<const ListNode<Item>*> backward;
    for (auto* node = list.tail; node != nullptr; node = node->prev) {
        backward.push_back(node);
    }
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(static_cast<size_t>(list.count), forward.size());
    EXPECT_EQ(list.head == nullptr, list.count == 0);
    EXPECT_EQ(list.tail == nullptr, list.count == 0);
}

void Fill(List<Item>* list, const std::vector<int>& keys) {
    for (size_t i = 0; i < keys.size(); ++i) {
        ASSERT_TRUE(list->push_back({keys[i], static_cast<int>(i)}));
    }
}

TEST(ListTest, PushPopAndClearCountEveryNode) {
    CountersRestored restored;
    const ResourceCounters start = ResourceCounters::Now();
    List<Item> list;
    ASSERT_TRUE(list.push_back({1, 0}));
    ASSERT_TRUE(list.push_front({0, 1}));
    ASSERT_TRUE(list.push_back({2, 2}));
    EXPECT_EQ(start["new"] + 3, ResourceCounters::Now()["new"]);
    ExpectConsistent(list);
    std::vector<int> keys;
    for (const Item& item : Forward(list)) {
        keys.push_back(item.key);
    }
    EXPECT_EQ((std::vector<int>{0, 1, 2}), keys);

    list.pop_back();
    EXPECT_EQ(1, list.tail->value.key);
    list.pop_back();
    list.pop_back();
    EXPECT_EQ(nullptr, list.head);
    EXPECT_EQ(nullptr, list.tail);
    EXPECT_EQ(0, list.count);
    EXPECT_EQ(start, ResourceCounters::Now());
    list.pop_back();  // empty: nothing happens
    EXPECT_EQ(0, list.count);

    Fill(&list, {5, 6, 7, 8});
    list.clear();
    EXPECT_EQ(start, ResourceCounters::Now());
    ExpectConsistent(list);
}

TEST(ListTest, EraseUnlinksHeadMiddleAndTail) {
    CountersRestored restored;
    List<Item> list;
    Fill(&list, {0, 1, 2, 3, 4});
    list.erase(list.head->next->next);  // middle
    list.erase(list.head);
    list.erase(list.tail);
    ExpectConsistent(list);
    std::vector<int> keys;
    for (const Item& item : Forward(list)) {
        keys.push_back(item.key);
    }
    EXPECT_EQ((std::vector<int>{1, 3}), keys);
    list.erase(list.head);
    list.erase(list.head);
    ExpectConsistent(list);
}

TEST(ListTest, ClearLeavesPointedValuesAlone) {
    CountersRestored restored;
    int values[3] = {7, 8, 9};
    List<int*> list;
    for (int& value : values) {
        ASSERT_TRUE(list.push_back(&value));
    }
    list.clear();
    EXPECT_EQ(8, values[1]);
}

TEST(ListTest, SortingShortListsComparesNothing) {
    CountersRestored restored;
    int comparisons = 0;
    List<Item> list;
    list.sortByCompareFunction(CountingLess{&comparisons});
    Fill(&list, {3});
    list.sortByCompareFunction(CountingLess{&comparisons});
    EXPECT_EQ(0, comparisons);
    EXPECT_EQ(list.head, list.tail);
    ExpectConsistent(list);
}

TEST(ListTest, SortIsStableForRenderOrders) {
    CountersRestored restored;
    // Render orders 2, 1, 2, 0 for A, B, C, D sort to D, B, A, C.
    List<Item> list;
    Fill(&list, {2, 1, 2, 0});
    int comparisons = 0;
    list.sortByCompareFunction(CountingLess{&comparisons});
    std::string order;
    for (const Item& item : Forward(list)) {
        order += static_cast<char>('A' + item.serial);
    }
    EXPECT_EQ("DBAC", order);
    ExpectConsistent(list);
}

TEST(ListTest, SortedInputCostsAllPairs) {
    for (int n : {2, 3, 10, 50}) {
        List<Item> list;
        std::vector<int> keys(n);
        for (int i = 0; i < n; ++i) {
            keys[i] = i / 3;  // sorted, with runs of equal keys
        }
        Fill(&list, keys);
        int comparisons = 0;
        list.sortByCompareFunction(CountingLess{&comparisons});
        EXPECT_EQ(n * (n - 1) / 2, comparisons) << "n=" << n;
        int serial = 0;
        for (const Item& item : Forward(list)) {
            EXPECT_EQ(serial++, item.serial);
        }
    }
}

TEST(ListTest, RandomSortsMatchStableSortAndAllocateNothing) {
    std::mt19937 random(1234);
    for (int round = 0; round < 200; ++round) {
        const int n = static_cast<int>(random() % 40);
        std::vector<int> keys(n);
        for (int& key : keys) {
            key = static_cast<int>(random() % 6) - 3;
        }
        List<Item> list;
        Fill(&list, keys);
        std::vector<Item> expected = Forward(list);
        std::stable_sort(expected.begin(), expected.end(),
                         [](const Item& a, const Item& b) { return a.key < b.key; });

        const ResourceCounters before = ResourceCounters::Now();
        int comparisons = 0;
        list.sortByCompareFunction(CountingLess{&comparisons});
        EXPECT_EQ(before, ResourceCounters::Now());

        const std::vector<Item> sorted = Forward(list);
        ASSERT_EQ(expected.size(), sorted.size());
        for (size_t i = 0; i < sorted.size(); ++i) {
            EXPECT_EQ(expected[i].serial, sorted[i].serial) << "round " << round << " at " << i;
        }
        ExpectConsistent(list);
    }
}

}  // namespace
}  // namespace kesto
