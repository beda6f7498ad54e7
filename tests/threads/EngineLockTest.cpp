// The engine lock under racing threads: mutual exclusion, re-entry, and updates that hold it across
// calls so that no other thread gets in between. Also built with ThreadSanitizer.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "jni/Binding.h"

namespace kesto::jni {
namespace {

TEST(EngineLockTest, UpdatesHoldTheLockAcrossCallsWhileOtherThreadsQueue) {
    constexpr int kThreads = 4, kRounds = 2000;
    int shared = 0;  // written only under the engine lock
    int split = 0;   // updates whose second call saw another thread's write
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&shared, &split] {
            for (int round = 0; round < kRounds; ++round) {
                if (round % 10 != 0) {
                    const auto engine = LockEngine();
                    ++shared;
                    continue;
                }
                BeginUpdate();
                int written;
                {
                    const auto engine = LockEngine();
                    const auto nested = LockEngine();  // natives call natives
                    written = ++shared;
                }
                {
                    const auto engine = LockEngine();
                    split += shared != written ? 1 : 0;
                    ++shared;
                }
                EXPECT_TRUE(EndUpdate("EndUpdate"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, split);
    EXPECT_EQ(kThreads * (kRounds + kRounds / 10), shared);
    EXPECT_FALSE(EndUpdate("EndUpdate")) << "no update is open on this thread";
}

}  // namespace
}  // namespace kesto::jni
