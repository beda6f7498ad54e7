// Faults from outside: the native window vanishing under a bound surface, the display being
// terminated under a live context. Memory running out: jvm.AllocationFaultTest.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "draw/Window.h"
#include "gl/Renderer.h"
#include "host/HostNativeWindow.h"
#include "host/X11Window.h"
#include "scene/Scene.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/XClient.h"

namespace kesto {
namespace {

using test::LogCapture;
using FaultTest = test::GlTest;

// Another client destroying the window is only heard of through an event: wait for it, a while at
// most.
bool DestroyFromAnotherClient(unsigned long xid, ANativeWindow* native) {
    if (!test::DestroyXWindowElsewhere(xid)) {
        return false;
    }
    for (int wait = 0; wait < 2000 && ANativeWindow_getWidth(native) >= 0; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return ANativeWindow_getWidth(native) < 0;
}

TEST_F(FaultTest, WindowVanishingUnderABoundSurface) {
    for (const bool byThisProcess : {true, false}) {
        SCOPED_TRACE(byThisProcess ? "destroyed by this process" : "destroyed by another client");
        std::unique_ptr<host::X11Window> x11 = host::X11Window::Open(200, 100, "vanishing");
        ASSERT_NE(nullptr, x11);
        ANativeWindow* native = KestoHost_ANativeWindow_fromXWindow(x11->id(), 200, 100);
        Window window(env, context);
        Scene scene(env);
        window.defaultViewport.linkCamera(&scene.defaultCamera);
        ASSERT_TRUE(window.bindSurface(native, 200, 100));
        window.render();
        ASSERT_TRUE(window.present());

        // Behind the engine's back.
        if (byThisProcess) {
            x11->destroyWindow();
        } else {
            ASSERT_TRUE(DestroyFromAnotherClient(x11->id(), native));
        }
        LogCapture log;
        bool presented = true;
        for (int frame = 0; frame < 5; ++frame) {
            window.render();
            presented = window.present() && presented;
        }
        EXPECT_FALSE(presented);
        EXPECT_EQ(5, log.count("KestoWnd", 'E', "render NG - native window lost"));
        EXPECT_EQ(5, log.count("KestoWnd", 'E', "present NG - native window lost"));
        window.unbindSurface();
        ANativeWindow_release(native);

        // A new window binds and draws as before.
        std::unique_ptr<host::X11Window> fresh = host::X11Window::Open(200, 100, "fresh");
        ANativeWindow* freshNative = KestoHost_ANativeWindow_fromXWindow(fresh->id(), 200, 100);
        window.setClearColor(0, 1, 0, 1);
        ASSERT_TRUE(window.bindSurface(freshNative, 200, 100));
        window.render();
        EXPECT_EQ((std::array<uint8_t, 4>{0, 255, 0, 255}), test::ReadPixel(10, 10));
        EXPECT_TRUE(window.present());
        window.unbindSurface();
        ANativeWindow_release(freshNative);
    }
}

// The display is terminated under a context the environment does not own.
TEST(DisplayFaultTest, ContextOfATerminatedDisplayRefusesWork) {
    Environment env;
    ASSERT_TRUE(env.init(8, 8, 8, 0));
    const test::ResourceCounters start = test::ResourceCounters::Now();
    Context context;
    ASSERT_TRUE(context.init(&env, 8, 8, 8, 0));
    const test::ResourceCounters before = test::ResourceCounters::Now();
    env.deinit();  // eglTerminate

    LogCapture log;
    EXPECT_FALSE(context.runOnCurrentThread());
    Window window(&env, &context);
    window.render();  // unbound, refused before any EGL call
    EXPECT_FALSE(window.present());
    context.deinit();
    // EGL names the terminated display bad (or not initialised); either way every step says so.
    int refusals = 0;
    for (const std::string& message : log.messages("KestoContext")) {
        refusals += message.rfind("eglMakeCurrent NG 0000300", 0) == 0 ||
                    message.rfind("eglDestroySurface NG 300", 0) == 0 ||
                    message.rfind("eglDestroyContext NG 300", 0) == 0;
    }
    EXPECT_GE(refusals, 3) << log.text();
    EXPECT_TRUE(log.has("KestoWnd", 'E', "render - eglSurface 0"));
    EXPECT_EQ(nullptr, context.renderer);
    // The context and its pbuffer are released as far as the engine goes; EGL had already let go
    // of them with the display, which shows as a difference between the two counts.
    const test::ResourceCounters after = test::ResourceCounters::Now();
    EXPECT_EQ(before["eglContext"] - 1, after["eglContext"]);
    EXPECT_EQ(before["eglSurface"] - 1, after["eglSurface"]);
    EXPECT_EQ(start["new"], after["new"]);
    EXPECT_EQ(start["new[]"], after["new[]"]);
    // Balance the refused releases so that later tests compare like with like.
    Environment::eglContextRealCount += after["eglContext"] - after["eglContextReal"];
    Environment::eglSurfaceRealCount += after["eglSurface"] - after["eglSurfaceReal"];
}

}  // namespace
}  // namespace kesto
