#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::CountersRestored;
using test::LogCapture;
using test::ResourceCounters;

// These tests open and terminate the display themselves, so they run without the GL fixture.

TEST(EnvironmentTest, DefaultContextNeedsInitAndIsRetriedAfterAFailure) {
    CountersRestored restored;
    Environment env;
    {
        LogCapture log;
        EXPECT_EQ(nullptr, env.getDefaultContext());
        EXPECT_TRUE(log.has("KestoEnv", 'E', "getDefaultContext() NG - env not inited."));
    }
    ASSERT_TRUE(env.init(16, 16, 16, 16));  // sizes no config offers
    {
        LogCapture log;
        EXPECT_EQ(nullptr, env.getDefaultContext());
        EXPECT_TRUE(log.has("KestoEnv", 'E', "init default Context NG"));
        EXPECT_EQ(nullptr, env.defaultContext);
    }
    env.redSize = env.greenSize = env.blueSize = 8;
    env.alphaSize = 0;
    Context* context = env.getDefaultContext();
    ASSERT_NE(nullptr, context);
    EXPECT_EQ(context, env.getDefaultContext());
    EXPECT_EQ(1, ResourceCounters::Now()["eglContext"]);

    env.deinit();
    EXPECT_EQ(nullptr, env.defaultContext);
    EXPECT_EQ(0, env.inited);
    EXPECT_EQ(0, env.redSize);
}

}  // namespace
}  // namespace kesto
