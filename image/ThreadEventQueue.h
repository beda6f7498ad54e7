// Two-slot hand-over ring from one producer thread to one consumer thread, without locks.
//
// Each item's `valid` flag is the hand-over: the producer fills an item whose flag is clear and
// then sets it (release); the consumer empties an item whose flag is set (acquire) and then clears
// it (release). Each index is touched by one side only.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/Accounting.h"

namespace kesto {

// The queue's messages, under its own log tag.
void ThreadEventQueueLog(const char* message);

template <class T>
class ThreadEventQueue {
  public:
    struct Item {
        T value;
        std::atomic<bool> valid{false};
    };

    Item* items = nullptr;
    int32_t capacity = 0;
    int32_t pushIndex = 0;
    int32_t popIndex = 0;

    ThreadEventQueue() = default;
    ~ThreadEventQueue() { deinit(); }
    ThreadEventQueue(const ThreadEventQueue&) = delete;
    ThreadEventQueue& operator=(const ThreadEventQueue&) = delete;

    bool init() {
        if (items != nullptr) {
            ThreadEventQueueLog("Already init.");
            return false;
        }
        items = NewArray<Item>(2);
        if (items == nullptr) {
            ThreadEventQueueLog("new Items NG !");
            deinit();
            return false;
        }
        capacity = 2;
        pushIndex = 0;
        popIndex = 0;
        return true;
    }

    void deinit() {
        DeleteArray(items);
        items = nullptr;
        capacity = 0;
        pushIndex = 0;
        popIndex = 0;
    }

    // The item to fill next, or null when the ring is full (or was never set up).
    Item* pushBegin() {
        if (items == nullptr) {
            return nullptr;
        }
        Item* item = &items[pushIndex];
        return item->valid.load(std::memory_order_acquire) ? nullptr : item;
    }

    void pushEnd(Item* item) {
        if (item != &items[pushIndex]) {
            ThreadEventQueueLog("pushEnd NG - event not match");
            return;
        }
        if (item->valid.load(std::memory_order_relaxed)) {
            ThreadEventQueueLog("push end when full ??? NG");
            return;
        }
        pushIndex = (pushIndex + 1) % capacity;
        item->valid.store(true, std::memory_order_release);
    }

    // The item to empty next, or null when nothing is pending.
    Item* popBegin() {
        if (items == nullptr) {
            return nullptr;
        }
        Item* item = &items[popIndex];
        return item->valid.load(std::memory_order_acquire) ? item : nullptr;
    }
    bool hasItem() const {
        return items != nullptr && items[popIndex].valid.load(std::memory_order_acquire);
    }

    void popEnd(Item* item) {
        if (item != &items[popIndex]) {
            ThreadEventQueueLog("popEnd NG - event not match");
            return;
        }
        if (!item->valid.load(std::memory_order_relaxed)) {
            ThreadEventQueueLog("pop end when empty ??? NG");
            return;
        }
        popIndex = (popIndex + 1) % capacity;
        item->valid.store(false, std::memory_order_release);
    }
};

}  // namespace kesto
