// Snapshot of the engine's accounting counters, for checking that a test gives back everything
// it took.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>

namespace kesto::test {

struct ResourceCounters {
    static constexpr int kCount = 20;
    std::array<int32_t, kCount> values;

    static ResourceCounters Now();
    bool operator==(const ResourceCounters& other) const { return values == other.values; }
    int32_t operator[](const char* name) const;
};

std::ostream& operator<<(std::ostream& out, const ResourceCounters& counters);

// Fails the running test when the counters differ at scope exit from what they were at entry.
class CountersRestored {
  public:
    CountersRestored() : before_(ResourceCounters::Now()) {}
    ~CountersRestored() { EXPECT_EQ(before_, ResourceCounters::Now()) << "resources leaked"; }

  private:
    ResourceCounters before_;
};

}  // namespace kesto::test
