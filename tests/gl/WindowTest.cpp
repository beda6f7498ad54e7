#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "draw/Window.h"
#include "gl/Renderer.h"
#include "host/HostNativeWindow.h"
#include "host/X11Window.h"
#include "platform/Clock.h"
#include "scene/Scene.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProbeNode.h"

namespace kesto {
namespace {

using test::LogCapture;
using test::ReadPixel;
using Pixel = std::array<uint8_t, 4>;

const Pixel kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255};

// What the X server shows at (x, y), once it shows `expected` or after two seconds: presents go out
// on EGL's own X connection, which the test's connection does not wait for.
Pixel ShownPixel(const host::X11Window& window, int x, int y, const Pixel& expected) {
    Pixel shown = window.readPixel(x, y);
    for (int attempt = 0; attempt < 200 && shown != expected; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        shown = window.readPixel(x, y);
    }
    return shown;
}

class WindowTest : public test::GlTest {
  protected:
    void SetUp() override {
        GlTest::SetUp();
        native = host::X11Window::Open(480, 800, "WindowTest");
        ASSERT_NE(nullptr, native) << "no X server";
        surface = KestoHost_ANativeWindow_fromXWindow(native->id(), 480, 800);
    }
    void TearDown() override {
        ANativeWindow_release(surface);
        native.reset();
        GlTest::TearDown();
    }

    // Paints a 10x10 green mark at the bottom left of the back buffer, outside the engine.
    static void Mark() {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 10, 10);
        glClearColor(0, 1, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
    }

    std::unique_ptr<host::X11Window> native;
    ANativeWindow* surface = nullptr;
};

TEST_F(WindowTest, FramesShowTheClearColourOnTheScreen) {
    Window window(env, context);
    Scene scene(env);
    window.defaultViewport.linkCamera(&scene.defaultCamera);
    window.setClearColor(0, 0, 1, 1);
    const int surfacesBefore = Environment::eglSurfaceCount;
    {
        LogCapture log;
        ASSERT_TRUE(window.bindSurface(surface, 480, 800));
        EXPECT_EQ((std::vector<std::string>{"unbindSurface", "bindSurface+", "clear surface",
                                            "bindSurface- 480 800"}),
                  log.messages("KestoWnd"));
    }
    EXPECT_EQ(surfacesBefore + 1, Environment::eglSurfaceCount);
    EXPECT_EQ(window.eglSurface, eglGetCurrentSurface(EGL_DRAW));
    EXPECT_EQ(kBlue, ShownPixel(*native, 240, 400, kBlue)) << "pre-cleared and presented on bind";

    window.setClearColor(1, 0, 0, 1);
    window.render();
    EXPECT_EQ(kRed, ReadPixel(479, 799));
    EXPECT_EQ(480, context->renderer->viewportWidth);
    EXPECT_EQ(800, context->renderer->viewportHeight);
    window.present();
    EXPECT_EQ(kRed, ShownPixel(*native, 0, 0, kRed));
    EXPECT_EQ(kRed, ReadPixel(5, 5)) << "present clears the new back buffer";
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());

    window.unbindSurface();
    EXPECT_EQ(surfacesBefore, Environment::eglSurfaceCount);
    EXPECT_EQ(0, window.width);
    EXPECT_EQ(context->pbufferSurface, eglGetCurrentSurface(EGL_DRAW));
}

TEST_F(WindowTest, RenderSkipsTheClearThatPresentAlreadyMade) {
    Window window(env, context);
    window.setClearColor(1, 0, 0, 1);
    ASSERT_TRUE(window.bindSurface(surface, 480, 800));
    window.render();
    window.present();

    // Straight after a present with the same colour: no clear, the mark survives.
    Mark();
    window.lastClearTime = static_cast<uint32_t>(uptimeMillis());
    window.render();
    EXPECT_EQ(kGreen, ReadPixel(5, 5));
    EXPECT_EQ(kRed, ReadPixel(20, 20));

    // More than 100 ms later the render clears again.
    std::this_thread::sleep_for(std::chrono::milliseconds(110));
    window.render();
    EXPECT_EQ(kRed, ReadPixel(5, 5));

    // So does a new clear colour, however recent the present.
    window.present();
    Mark();
    window.setClearColor(0, 0, 1, 1);
    window.lastClearTime = static_cast<uint32_t>(uptimeMillis());
    window.render();
    EXPECT_EQ(kBlue, ReadPixel(5, 5));
}

TEST_F(WindowTest, BindingRefusesEmptySizesAndKeepsTheSurface) {
    Window window(env, context);
    ASSERT_TRUE(window.bindSurface(surface, 480, 800));
    const EGLSurface bound = window.eglSurface;
    LogCapture log;
    EXPECT_FALSE(window.bindSurface(surface, 0, 800));
    EXPECT_FALSE(window.bindSurface(nullptr, 480, 800));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(bound, window.eglSurface);
    EXPECT_EQ(480, window.width);
}

TEST_F(WindowTest, HitTestsConvertWindowPixelsAndNeedASize) {
    Window window(env, context);
    Scene scene(env);
    std::vector<std::string> journal;
    test::ProbeNode plane(env, "plane", &journal);
    plane.setScale(Vector(1000, 1000, 1));
    scene.rootNode.addChild(&plane, true);
    Vector position;
    {
        LogCapture log;
        EXPECT_FALSE(window.hitTest(240, 400, &position, nullptr, nullptr));
        EXPECT_FALSE(window.querySceneNodeOriginPositionOnViewport(nullptr, plane, &position));
        EXPECT_EQ(
            (std::vector<std::string>{"hitTest - window size zero",
                                      "querySceneNodeOriginPositionOnViewport - window size zero"}),
            log.messages("KestoWnd"));
    }
    ASSERT_TRUE(window.bindSurface(surface, 480, 800));
    EXPECT_FALSE(window.hitTest(240, 400, &position, nullptr, nullptr)) << "no camera yet";
    window.defaultViewport.linkCamera(&scene.defaultCamera);
    window.render();

    // Centre and corners land where one pixel is one unit of the plane z = 0.
    const struct {
        int x, y;
        float worldX, worldY;
    } points[] = {{240, 400, 0, 0}, {0, 0, -240, 400}, {480, 800, 240, -400}, {0, 800, -240, -400}};
    for (const auto& point : points) {
        ASSERT_TRUE(window.hitTest(point.x, point.y, &position, nullptr, nullptr));
        EXPECT_NEAR(point.worldX, position.x * 1000, 0.05f) << point.x << "," << point.y;
        EXPECT_NEAR(point.worldY, position.y * 1000, 0.05f) << point.x << "," << point.y;
    }

    plane.setPosition(Vector(100, 50, 0));
    Vector origin;
    ASSERT_TRUE(window.querySceneNodeOriginPositionOnViewport(nullptr, plane, &origin));
    EXPECT_NEAR(100.0f, origin.x, 1e-3f);
    EXPECT_NEAR(50.0f, origin.y, 1e-3f);

    Viewport unlinked;
    LogCapture log;
    EXPECT_FALSE(window.querySceneNodeOriginPositionOnViewport(&unlinked, plane, &origin));
    EXPECT_TRUE(log.has("KestoVp", 'E', "querySceneNodeOriginPositionOnViewport NG - null camera"));
}

}  // namespace
}  // namespace kesto
