#include <gtest/gtest.h>

#include <EGL/egl.h>

#include <string>
#include <vector>

#include "gl/Renderer.h"
#include "gl/VertexBuffer.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::GlTest;
using test::LogCapture;
using test::ResourceCounters;

EGLint ConfigAttribute(Environment* env, EGLConfig config, EGLint attribute) {
    EGLint value = -1;
    eglGetConfigAttrib(env->eglDisplay, config, attribute, &value);
    return value;
}

using ContextTest = GlTest;

TEST_F(ContextTest, InitChoosesTheExactConfigAndLeavesNothingCurrent) {
    Context own;
    LogCapture log;
    ASSERT_TRUE(own.init(env, 8, 8, 8, 0));
    EXPECT_EQ(EGL_NO_CONTEXT, eglGetCurrentContext());
    for (EGLint attribute : {EGL_RED_SIZE, EGL_GREEN_SIZE, EGL_BLUE_SIZE}) {
        EXPECT_EQ(8, ConfigAttribute(env, own.eglConfig, attribute));
    }
    EXPECT_EQ(0, ConfigAttribute(env, own.eglConfig, EGL_ALPHA_SIZE));
    EXPECT_EQ(own.pbufferSurface, own.currentSurface);
    ASSERT_NE(nullptr, own.renderer);
    ASSERT_NE(nullptr, own.shaderManager);

    const std::vector<std::string> messages = log.messages("KestoContext");
    ASSERT_GE(messages.size(), 6u);
    EXPECT_EQ("init +", messages.front());
    EXPECT_EQ(0u, messages[1].rfind("eglChooseConfig ", 0)) << messages[1];
    EXPECT_EQ(0u, messages[2].rfind("eglConfig index:", 0)) << messages[2];
    EXPECT_NE(std::string::npos, messages[2].find("red:8 green:8 blue:8 alpha:0"));
    EXPECT_EQ("GLES2", messages[3]);
    EXPECT_EQ("Context created.", messages[4]);
    EXPECT_EQ("init -", messages.back());
}

TEST_F(ContextTest, FailedInitsTearEverythingDown) {
    const ResourceCounters before = ResourceCounters::Now();
    {
        Context noEnvironment;
        LogCapture log;
        EXPECT_FALSE(noEnvironment.init(nullptr, 8, 8, 8, 0));
        EXPECT_TRUE(log.has("KestoContext", 'E', "init() NG - null environment"));
    }
    {
        // No config has 16-bit channels.
        Context impossible;
        LogCapture log;
        EXPECT_FALSE(impossible.init(env, 16, 16, 16, 16));
        EXPECT_TRUE(log.has("KestoContext", 'E', "eglChooseConfig NG - no match"));
        EXPECT_EQ(nullptr, impossible.renderer);
        EXPECT_EQ(EGL_NO_CONTEXT, impossible.eglContext);
    }
    EXPECT_EQ(before, ResourceCounters::Now());
}

TEST_F(ContextTest, VertexBufferAccountingKeepsPeaksAndRefusesStrangers) {
    VertexBuffer a(env), b(env);
    a.bufferSize = 80;
    b.bufferSize = 20;
    ASSERT_TRUE(context->registerVertexBuffer(&a));
    ASSERT_TRUE(context->registerVertexBuffer(&b));
    EXPECT_EQ(context, a.glContext());

    Context other;
    LogCapture log;
    EXPECT_FALSE(context->registerVertexBuffer(&a));
    EXPECT_FALSE(context->registerVertexBuffer(nullptr));
    other.unregisterVertexBuffer(&a);
    EXPECT_EQ(context, a.glContext());
    context->unregisterVertexBuffer(&a);
    EXPECT_EQ(nullptr, a.glContext());
    context->logResource();
    EXPECT_TRUE(
        log.has("KestoContext", 'E', "registerVertexBuffer NG - vertexBuffer already registered"));
    EXPECT_TRUE(log.has("KestoContext", 'E', "registerVertexBuffer NG - null vertexBuffer"));
    EXPECT_TRUE(log.has("KestoContext", 'E', "unregisterVertexBuffer NG - context not match"));
    EXPECT_TRUE(log.has("KestoContext", 'I', "Context VertexBuffer (1,2) (20,100 bytes) 2"));

    // deinit keeps what is still registered but forgets the peaks.
    LogCapture deinitLog;
    context->deinit();
    EXPECT_EQ(1, context->vertexBufferCount);
    EXPECT_EQ(20, context->vertexBufferBytes);
    EXPECT_EQ(0, context->vertexBufferPeakCount);
    EXPECT_EQ(0, context->vertexBufferRegisterCount);
    context->unregisterVertexBuffer(&b);  // no longer ours: the context forgot its environment
    EXPECT_EQ(nullptr, b.glContext());
}

}  // namespace
}  // namespace kesto
