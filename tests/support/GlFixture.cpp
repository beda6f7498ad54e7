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

std::vector<uint8_t> ReadTexture(GLuint texture, int x, int y, int width, int height) {
    GLint previous = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &previous);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    std::vector<uint8_t> pixels;
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        pixels.resize(static_cast<size_t>(width) * height * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    }
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previous));
    glDeleteFramebuffers(1, &framebuffer);
    return pixels;
}

}  // namespace kesto::test
