// Partial redraw against whole frames: a window redrawing only what changed and a second window
// of the same size drawing the same scene whole must show the same pixels, frame after frame,
// through every kind of change a scene goes through.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>

#include "host/HostNativeWindow.h"
#include "scene/BlurSprite.h"
#include "scene/Material.h"
#include "scene/Scissor.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

class PartialRedrawTest : public test::SceneWindowTest {
  protected:
    void SetUp() override {
        SceneWindowTest::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        wholeNative_ = host::X11Window::Open(kWidth, kHeight, "kesto whole");
        ASSERT_NE(nullptr, wholeNative_);
        wholeSurface_ = KestoHost_ANativeWindow_fromXWindow(wholeNative_->id(), kWidth, kHeight);
        whole_ = std::make_unique<Window>(env, context);
        whole_->defaultViewport.linkCamera(&scene->defaultCamera);
        whole_->setClearColor(0, 0, 1, 1);
        whole_->setBatching(GetParam());
        ASSERT_TRUE(whole_->bindSurface(wholeSurface_, kWidth, kHeight));
        window->setPartialRedraw(true);
        ASSERT_EQ(Window::BackBuffer::Preserved, window->backBuffer());
    }

    void TearDown() override {
        blur_.reset();
        scissor_.reset();
        group_.reset();
        whole_.reset();
        if (wholeSurface_ != nullptr) {
            ANativeWindow_release(wholeSurface_);
        }
        wholeNative_.reset();
        SceneWindowTest::TearDown();
    }

    // Both windows draw the frame; the pixels each would show, partial first.
    std::pair<std::vector<uint8_t>, std::vector<uint8_t>> Frames(int height) {
        window->render();
        window->prepareToRead();
        auto partial = ReadWindow(height);
        EXPECT_TRUE(window->present());
        whole_->render();
        auto drawn = ReadWindow(height);
        EXPECT_TRUE(whole_->present());
        return {std::move(partial), std::move(drawn)};
    }

    Texture* Picture(int format, int width, int height, uint32_t seed) {
        std::vector<uint32_t> pixels(size_t(width) * height);
        for (size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = (seed * 2654435761u + i * 40503u) |
                        (format == PIXEL_FORMAT_RGBA8888 && i % 3 == 0 ? 0x80000000u : 0xFF000000u);
        }
        if (format == PIXEL_FORMAT_RGB565) {
            std::vector<uint16_t> packed(pixels.begin(), pixels.end());
            return MakeTexture<uint16_t>(format, width, height, packed);
        }
        return MakeTexture<uint32_t>(format, width, height, pixels);
    }

    std::unique_ptr<host::X11Window> wholeNative_;
    ANativeWindow* wholeSurface_ = nullptr;
    std::unique_ptr<Window> whole_;
    std::unique_ptr<SceneNode> group_;
    std::unique_ptr<Scissor> scissor_;
    std::unique_ptr<BlurSprite> blur_;
};

KESTO_ON_BOTH_PATHS(PartialRedrawTest);

TEST_P(PartialRedrawTest, RandomChangesDrawTheSamePixelsAsWholeFrames) {
    std::mt19937 random(20261124);
    auto uniform = [&](float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(random);
    };
    scene->rootNode.setChildrenRenderOrderMode(1);
    std::vector<Texture*> pictures = {Picture(PIXEL_FORMAT_RGBA8888, 8, 8, 1),
                                      Picture(PIXEL_FORMAT_RGBA8888, 4, 16, 2),
                                      Picture(PIXEL_FORMAT_RGB565, 8, 8, 3)};
    Texture* streamed = Picture(PIXEL_FORMAT_RGBA8888, 4, 4, 4);
    pictures.push_back(streamed);
    group_ = std::make_unique<SceneNode>(env);
    scissor_ = std::make_unique<Scissor>(env);
    scissor_->setArea(60, 300, 200, 150);
    scene->rootNode.addChild(group_.get(), true);
    scene->rootNode.addChild(scissor_.get(), true);
    SceneNode* parents[] = {&scene->rootNode, group_.get(), scissor_.get()};
    std::vector<Sprite*> shown;
    auto place = [&](Sprite* sprite) {
        sprite->setPosition(Vector(uniform(-260, 260), uniform(-420, 420), 0));
        sprite->setScale(Vector(uniform(0.2f, 1.2f), uniform(0.2f, 1.2f), 1));
        sprite->setRotate(Vector(0, 0, uniform(0, 360)));
        sprite->setRenderOrder(static_cast<int>(random() % 4));
    };
    auto add = [&] {
        // One in eight untextured: it blends as the draw before it left the state.
        Texture* texture = random() % 8 == 0 ? nullptr : pictures[random() % pictures.size()];
        Sprite* sprite = AddSprite(parents[random() % 3], texture);
        sprite->getLayerMaterial(0)->setColor(random() % 256, random() % 256, random() % 256);
        sprite->getLayerMaterial(0)->setRGBOperation(random() % 2);
        place(sprite);
        shown.push_back(sprite);
    };
    for (int i = 0; i < 40; ++i) {
        add();
    }
    blur_ = std::make_unique<BlurSprite>(env);
    ASSERT_TRUE(blur_->init());
    ASSERT_TRUE(blur_->setTexture(context, pictures[0], 9.0f));
    blur_->setScale(Vector(6, 6, 1));
    scene->rootNode.addChild(blur_.get(), true);

    int height = kHeight;
    int partialFrames = 0, skippedFrames = 0, wholeFrames = 0;
    for (int frame = 0; frame < 150; ++frame) {
        SCOPED_TRACE(frame);
        const int changes = frame % 10 == 9 ? 0 : static_cast<int>(random() % 3) + 1;
        for (int c = 0; c < changes; ++c) {
            Sprite* sprite = shown[random() % shown.size()];
            switch (random() % 14) {
                case 0:
                    sprite->setPosition(Vector(uniform(-260, 260), uniform(-420, 420), 0));
                    break;
                case 1:  // turned out of the plane: perspective
                    sprite->setRotate(Vector(uniform(-60, 60), uniform(-60, 60), uniform(0, 90)));
                    break;
                case 2:
                    sprite->getLayerMaterial(0)->setAlpha(random() % 256);
                    break;
                case 3:
                    group_->setGroupAlpha(uniform(0, 1));
                    break;
                case 4:
                    scissor_->setArea(
                        static_cast<int>(uniform(0, 300)), static_cast<int>(uniform(0, 600)),
                        static_cast<int>(uniform(10, 300)), static_cast<int>(uniform(10, 300)));
                    break;
                case 5:
                    sprite->getLayerMaterial(0)->setTexture(0,
                                                            pictures[random() % pictures.size()]);
                    break;
                case 6: {  // a producer streams a new picture
                    std::thread producer([&] {
                        Bitmap bitmap;
                        ASSERT_TRUE(bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, 4, 4));
                        for (int i = 0; i < 16; ++i) {
                            const uint32_t word = 0xFF000000u | (random() & 0xFFFFFF);
                            std::memcpy(bitmap.buffer + 4 * i, &word, 4);
                        }
                        EXPECT_TRUE(streamed->setupByBitmap(&bitmap, true));
                    });
                    producer.join();
                    break;
                }
                case 7:
                    ASSERT_TRUE(blur_->setBlurParameter(context, uniform(0, 9)));
                    break;
                case 8:
                    blur_->setPosition(Vector(uniform(-200, 200), uniform(-300, 300), 0));
                    break;
                case 9:
                    add();
                    break;
                case 10:  // removed
                    if (sprite->parent != nullptr && shown.size() > 10) {
                        sprite->parent->removeChild(sprite);
                        shown.erase(std::find(shown.begin(), shown.end(), sprite));
                    }
                    break;
                case 11:
                    sprite->setRenderOrder(static_cast<int>(random() % 4));
                    break;
                case 12:
                    sprite->setVisible(random() % 3 != 0);
                    break;
                case 13:
                    if (random() % 4 == 0) {
                        scene->defaultCamera.usePerspectiveProjectionH(uniform(40, 80), 10, 10000);
                    } else if (random() % 3 == 0) {
                        height = height == kHeight ? 700 : kHeight;
                        ASSERT_TRUE(window->bindSurface(nativeWindow, kWidth, height));
                        ASSERT_TRUE(whole_->bindSurface(wholeSurface_, kWidth, height));
                    } else {
                        sprite->getLayerMaterial(0)->setColor(random() % 256, random() % 256,
                                                              random() % 256);
                    }
                    break;
            }
        }
        const auto [partial, drawn] = Frames(height);
        ASSERT_EQ(0, DifferingPixels(partial, drawn)) << "pixels differing from the whole frame";
        const FrameStats& stats = window->frameStats();
        skippedFrames += stats.skipped;
        partialFrames += stats.whole == FrameStats::WHOLE_NO && stats.skipped == 0 ? 1 : 0;
        wholeFrames += stats.whole != FrameStats::WHOLE_NO ? 1 : 0;
        if (stats.whole == FrameStats::WHOLE_NO && stats.skipped == 0) {
            EXPECT_LT(stats.damagedPixels, kWidth * height / 2);
            EXPECT_GT(stats.damagedPixels, 0);
        }
        EXPECT_EQ(FrameStats::WHOLE_OFF, whole_->frameStats().whole);
    }
    // Every tenth frame changes nothing; most others only part of the window.
    EXPECT_GE(skippedFrames, 14);
    EXPECT_GE(partialFrames, 60);
    EXPECT_GE(wholeFrames, 1);
}

TEST_P(PartialRedrawTest, WhatMakesAFrameWholeOrSkipped) {
    Sprite* sprite = AddSprite(&scene->rootNode, Solid(0xFF00FF00u));
    Frames(kHeight);
    EXPECT_EQ(FrameStats::WHOLE_FIRST, window->frameStats().whole);
    EXPECT_EQ(kWidth * kHeight, window->frameStats().damagedPixels);

    // Nothing changed: nothing drawn, nothing swapped, and the back buffer still shows it.
    window->render();
    EXPECT_EQ(1, window->frameStats().skipped);
    EXPECT_EQ(0, window->frameStats().drawCalls);
    window->prepareToRead();
    EXPECT_TRUE(test::Near(test::Pixel{0, 255, 0, 255}, At(240, 400)));
    EXPECT_TRUE(window->present());

    sprite->setPosition(Vector(100, 0, 0));
    window->render();
    const FrameStats moved = window->frameStats();
    EXPECT_EQ(FrameStats::WHOLE_NO, moved.whole);
    // The sprite's old and new 100x100 squares, each a pixel wider all round.
    EXPECT_LE(moved.damagedPixels, 2 * 102 * 102);
    EXPECT_GE(moved.damagedPixels, 2 * 100 * 100);
    EXPECT_TRUE(test::Near(test::Pixel{0, 0, 255, 255}, At(240, 400)));
    EXPECT_TRUE(test::Near(test::Pixel{0, 255, 0, 255}, At(340, 400)));
    window->present();

    // Two overlapping sprites trade places in the draw order, nothing else about them changing.
    scene->rootNode.setChildrenRenderOrderMode(1);
    Sprite* red = AddSprite(&scene->rootNode, Solid(0xFF0000FFu));
    red->setPosition(Vector(150, 0, 0));
    red->setRenderOrder(1);
    Frames(kHeight);
    red->setRenderOrder(-1);
    window->render();
    EXPECT_EQ(FrameStats::WHOLE_NO, window->frameStats().whole);
    EXPECT_TRUE(test::Near(test::Pixel{0, 255, 0, 255}, At(365, 400)));
    window->present();

    const struct {
        const char* what;
        std::function<void()> change;
        int32_t whole;
    } cases[] = {
        {"clear colour", [&] { window->setClearColor(1, 0, 0, 1); },
         FrameStats::WHOLE_CLEAR_COLOUR},
        {"size", [&] { window->bindSurface(nativeWindow, kWidth, 600); }, FrameStats::WHOLE_FIRST},
        {"most of the window", [&] { sprite->setScale(Vector(4.5f, 7.5f, 1)); },
         FrameStats::WHOLE_DAMAGE},
        {"no picture kept",
         [&] {
             window->forgetBackBuffer();
             sprite->setPosition(Vector(0, 0, 0));
         },
         FrameStats::WHOLE_BACK_BUFFER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        c.change();
        window->render();
        EXPECT_EQ(c.whole, window->frameStats().whole);
        EXPECT_EQ(0, window->frameStats().skipped);
        window->present();
    }
    // Without a kept picture, a skipped frame leaves an older back buffer: reading draws it again.
    window->render();
    EXPECT_EQ(1, window->frameStats().skipped);
    window->prepareToRead();
    EXPECT_EQ(0, window->frameStats().skipped);
    EXPECT_TRUE(test::Near(test::Pixel{0, 255, 0, 255}, At(240, 300)));
}

}  // namespace
}  // namespace kesto
