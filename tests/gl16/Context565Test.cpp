#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <cstdlib>

#include "gl/Context.h"
#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

// The process runs on the 16-bit X server (see TestMain16.cpp), which offers exact 5-6-5 configs.
TEST(Context565Test, DefaultColourSizesGetAnExactConfig) {
    ASSERT_NE(nullptr, std::getenv("KESTO_DISPLAY16")) << "run through scripts/with-x.sh";
    test::CountersRestored restored;
    Environment env;
    ASSERT_TRUE(env.init(5, 6, 5, 0));
    test::LogCapture log;
    Context* context = env.getDefaultContext();
    ASSERT_NE(nullptr, context);
    EGLint sizes[3] = {};
    eglGetConfigAttrib(env.eglDisplay, context->eglConfig, EGL_RED_SIZE, &sizes[0]);
    eglGetConfigAttrib(env.eglDisplay, context->eglConfig, EGL_GREEN_SIZE, &sizes[1]);
    eglGetConfigAttrib(env.eglDisplay, context->eglConfig, EGL_BLUE_SIZE, &sizes[2]);
    EXPECT_EQ(5, sizes[0]);
    EXPECT_EQ(6, sizes[1]);
    EXPECT_EQ(5, sizes[2]);
    bool chosenLine = false;
    for (const std::string& message : log.messages("KestoContext")) {
        chosenLine |= message.find("red:5 green:6 blue:5 alpha:0") != std::string::npos;
    }
    EXPECT_TRUE(chosenLine);

    // The pbuffer renders in 5-6-5: a mid grey comes back quantised.
    ASSERT_TRUE(context->runOnCurrentThread());
    context->renderer->clearBuffers(0.5f, 0.5f, 0.5f, 1.0f);
    GLubyte pixel[4] = {};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_NEAR(128, pixel[0], 4);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    env.deinit();
}

}  // namespace
}  // namespace kesto
