#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "core/Matrix.h"
#include "core/Ray.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

TEST(LogTest, MaskIsReadOncePerTagEvenUnderRacingThreads) {
    test::LogCapture log;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([] {
            Ray ray;
            Matrix m;
            for (int i = 0; i < 50; ++i) {
                ray.setup(Vector(), Vector());
                m.logi("race");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(400, log.count("KestoRay", 'E', "setup - illegal ray"));
    EXPECT_EQ(1, test::LogMaskReads("KestoRay"));
    EXPECT_EQ(1, test::LogMaskReads("KestoMtr"));
    EXPECT_EQ(0, test::LogMaskReads("KestoNeverUsed"));
}

}  // namespace
}  // namespace kesto
