#include "tests/support/GlFixture.h"

#include "core/Accounting.h"

namespace kesto::test {

void GlTest::SetUp() {
    before_ = ResourceCounters::Now();
    env = NewObject<Environment>();
    ASSERT_NE(nullptr, env);
    ASSERT_TRUE(env->init(8, 8, 8, 0)) << "no EGL display: is DISPLAY set?";
    context = env->getDefaultContext();
    ASSERT_NE(nullptr, context);
    ASSERT_TRUE(context->runOnCurrentThread());
}

void GlTest::TearDown() {
    if (env != nullptr) {
        env->deinit();
        DeleteObject(env);
        env = nullptr;
        context = nullptr;
    }
    EXPECT_EQ(before_, ResourceCounters::Now()) << "resources leaked";
}

std::array<uint8_t, 4> ReadPixel(int x, int y) {
    std::array<uint8_t, 4> pixel{};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    return pixel;
}

}  // namespace kesto::test
