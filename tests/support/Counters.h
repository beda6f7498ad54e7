// Snapshot of the engine's accounting counters, for checking that a test gives back everything
// it took.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

#include "core/Accounting.h"

namespace kesto::test {

struct ResourceCounters {
    int32_t newCount;
    int32_t newArrayCount;

    static ResourceCounters Now() {
        return {g_newCount.load(std::memory_order_relaxed),
                g_newArrayCount.load(std::memory_order_relaxed)};
    }
    bool operator==(const ResourceCounters& other) const {
        return newCount == other.newCount && newArrayCount == other.newArrayCount;
    }
};

inline std::ostream& operator<<(std::ostream& out, const ResourceCounters& c) {
    return out << "{new " << c.newCount << ", new[] " << c.newArrayCount << "}";
}

// Fails the running test when the counters differ at scope exit from what they were at entry.
class CountersRestored {
  public:
    CountersRestored() : before_(ResourceCounters::Now()) {}
    ~CountersRestored() { EXPECT_EQ(before_, ResourceCounters::Now()) << "engine objects leaked"; }

  private:
    ResourceCounters before_;
};

}  // namespace kesto::test
