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

std::vector<std::string> ExpectedStatistics(const std::vector<std::string>& objectRows) {
    const ResourceCounters c = ResourceCounters::Now();
    auto row = [](const char* format, auto... values) {
        char line[128];
        std::snprintf(line, sizeof line, format, values...);
        return std::string(line);
    };
    std::vector<std::string> lines = {
        row("eglDisplay %d %d", c["eglDisplay"], c["eglDisplayReal"]),
        row("eglContext %d %d", c["eglContext"], c["eglContextReal"]),
        row("eglSurface %d %d", c["eglSurface"], c["eglSurfaceReal"]),
    };
    lines.insert(lines.end(), objectRows.begin(), objectRows.end());
    const std::vector<std::string> rest = {
        row("Shader %d %d", c["GLShader"], c["Shader"]),
        row("ShaderProgram %d %d", c["GLProgram"], c["Program"]),
        row("Bitmap 0 %d %d", c["Bitmap"], c["BitmapBytes"]),
        row("Texture 0 GL %d %d", c["GLTexture"], c["GLTextureBytes"]),
        "GLArrayBuffer 0",
        row("new %d", c["new"]),
        row("new [] %d", c["new[]"]),
    };
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
}

TEST(EnvironmentTest, StatisticsPrintObjectRowsOnlyWhenNonZero) {
    CountersRestored restored;
    Environment env;
    ASSERT_TRUE(env.init(8, 8, 8, 0));
    ASSERT_NE(nullptr, env.getDefaultContext());
    {
        LogCapture log;
        env.LogResourceCount();
        EXPECT_EQ(ExpectedStatistics({}), log.messages("KestoEnv"));
    }
    env.windowCount = 1;
    env.meshCount = 3;
    {
        LogCapture log;
        env.LogResourceCount();
        EXPECT_EQ(ExpectedStatistics({"Window 1", "Mesh 3"}), log.messages("KestoEnv"));
    }
    env.windowCount = 0;
    env.meshCount = 0;
    env.deinit();
    // Everything released: the display, contexts and surfaces balance out.
    const ResourceCounters c = ResourceCounters::Now();
    EXPECT_EQ(0, c["eglDisplay"] + c["eglContext"] + c["eglSurface"]);
}

}  // namespace
}  // namespace kesto
