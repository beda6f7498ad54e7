// A lost GL context, simulated as the app-facing call does it (the EGL context destroyed under
// the engine): the call that meets it gives up, the engine makes a new context, and once the
// pictures are supplied again the frame is the one drawn before, pixel for pixel.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "gl/Renderer.h"
#include "scene/BlurSprite.h"
#include "scene/Material.h"
#include "shader/ShaderProgram.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

using test::Near;
using test::Pixel;

constexpr int kThumbnailFlag = 4;

// Loses the context when armed, in the middle of whatever walk draws it.
class LosingNode : public SceneNode {
  public:
    LosingNode(Environment* env, Context* lost) : SceneNode(env), context(lost) {}
    void render(Renderer*) override {
        if (armed) {
            armed = false;
            EXPECT_TRUE(context->simulateLoss());
        }
    }
    Context* context;
    bool armed = false;
};

// A picture the test can supply again, as the object layer does from the app's bitmap.
struct Picture {
    Texture* texture;
    int width;
    int height;
    std::vector<uint32_t> pixels;

    void supply() {
        Bitmap bitmap;
        ASSERT_TRUE(bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, width, height));
        for (int row = 0; row < height; ++row) {
            std::memcpy(bitmap.buffer + row * bitmap.scanlineBytes, &pixels[row * width],
                        width * sizeof(uint32_t));
        }
        ASSERT_TRUE(texture->setupByBitmap_InRenderThread(&bitmap, true));
    }
};

class ContextLossTest : public test::SceneWindowTest {
  protected:
    void SetUp() override {
        SceneWindowTest::SetUp();
        if (HasFatalFailure()) {
            return;
        }
        scene->rootNode.setChildrenRenderOrderMode(1);
        // A gradient background, a card at half alpha, tinted sprites sharing one texture.
        std::vector<uint32_t> gradient(32 * 32);
        for (int i = 0; i < 32 * 32; ++i) {
            gradient[i] = 0xFF000000u | (i % 32 * 8) << 16 | (i / 32 * 8) << 8 | 0x40;
        }
        Sprite* background = AddPicture(32, 32, gradient, 0);
        background->setScale(Vector(4.8f, 8.0f, 1.0f));
        Sprite* card = AddPicture(2, 2, {0xFF2040FFu, 0xFFFFFFFFu, 0x8000FF00u, 0xFF00FFFFu}, 1);
        card->setPosition(Vector(-120, 250, 0));
        card->setRotate(Vector(0, 40, 0));
        card->getLayerMaterial(0)->alpha = 0.5f;
        Texture* spark = pictures_.back().texture;
        for (int i = 0; i < 5; ++i) {
            Sprite* tinted = AddSprite(&scene->rootNode, spark);
            tinted->setRenderOrder(2);
            tinted->setScale(Vector(0.4f, 0.4f, 1.0f));
            tinted->setPosition(Vector(-180.0f + 60 * i, 120, 0));
            tinted->getLayerMaterial(0)->setColor(255, 40 * i, 255 - 40 * i);
            tinted->getLayerMaterial(0)->rgbOperation = 1;
        }
        // A blur of the gradient, mid level.
        blur_ = std::make_unique<BlurSprite>(env);
        ASSERT_TRUE(blur_->init());
        ASSERT_TRUE(blur_->setTexture(context, pictures_[0].texture, 6.0f));
        ASSERT_TRUE(blur_->setBlurParameter(context, 3.0f));
        blur_->setPosition(Vector(120, -50, 0));
        blur_->setRenderOrder(3);
        scene->rootNode.addChild(blur_.get(), true);
        // A mid-frame loss comes right after the blur and before the thumbnail.
        losing_ = std::make_unique<LosingNode>(env, context);
        losing_->setRenderOrder(3);
        losing_->AddRenderFlag(kThumbnailFlag, false);
        scene->rootNode.addChild(losing_.get(), true);
        background->AddRenderFlag(kThumbnailFlag, false);
        card->AddRenderFlag(kThumbnailFlag, false);
        // A thumbnail rendered from part of the scene.
        textures.push_back(std::make_unique<Texture>(env));
        thumbnail_ = textures.back().get();
        ASSERT_TRUE(thumbnail_->init());
        RenderThumbnail();
        Sprite* shown = AddSprite(&scene->rootNode, thumbnail_);
        shown->setRenderOrder(4);
        shown->setPosition(Vector(-100, -250, 0));
    }

    void TearDown() override {
        losing_.reset();
        blur_.reset();
        SceneWindowTest::TearDown();
    }

    Sprite* AddPicture(int width, int height, std::vector<uint32_t> pixels, int order) {
        textures.push_back(std::make_unique<Texture>(env));
        Texture* texture = textures.back().get();
        EXPECT_TRUE(texture->init());
        pictures_.push_back(Picture{texture, width, height, std::move(pixels)});
        pictures_.back().supply();
        Sprite* sprite = AddSprite(&scene->rootNode, texture);
        sprite->setRenderOrder(order);
        return sprite;
    }

    void RenderThumbnail() {
        ASSERT_TRUE(thumbnail_->realizeBlankTexture(PIXEL_FORMAT_RGBA8888, 128, 128));
        ASSERT_TRUE(window->renderToTexture(thumbnail_, kThumbnailFlag, 0, 0, 240, 400, false));
    }

    // What the object layer does after a loss, in the order the app first did it.
    void Restore() {
        for (Picture& picture : pictures_) {
            EXPECT_TRUE(picture.texture->isLost());
            picture.supply();
            EXPECT_FALSE(picture.texture->isLost());
        }
        EXPECT_TRUE(thumbnail_->isLost());
        ASSERT_TRUE(blur_->setTexture(context, pictures_[0].texture, 6.0f));
        ASSERT_TRUE(blur_->setBlurParameter(context, 3.0f));
        RenderThumbnail();
    }

    // Draws a frame and reads the whole back buffer before presenting it.
    std::vector<uint8_t> Frame(bool* presented = nullptr) {
        window->render();
        std::vector<uint8_t> pixels = ReadWindow();
        const bool shown = window->present();
        if (presented != nullptr) {
            *presented = shown;
        }
        return pixels;
    }

    // A new scene showing one opaque sprite of the texture, 200 pixels square in the middle.
    void ShowOnly(Texture* texture) {
        scene = std::make_unique<Scene>(env);
        window->defaultViewport.linkCamera(&scene->defaultCamera);
        AddSprite(&scene->rootNode, texture)->setScale(Vector(2, 2, 1));
    }

    std::vector<Picture> pictures_;
    std::unique_ptr<BlurSprite> blur_;
    std::unique_ptr<LosingNode> losing_;
    Texture* thumbnail_ = nullptr;
};

KESTO_ON_BOTH_PATHS(ContextLossTest);

TEST_P(ContextLossTest, TheFrameAfterALossIsTheFrameBeforeIt) {
    enum When { kBetweenFrames, kBeforePresent, kMidFrame, kDuringRenderIntoTexture };
    const struct {
        When when;
        const char* reportedBy;
    } cases[] = {{kBetweenFrames, "eglMakeCurrent"},
                 {kBeforePresent, "eglSwapBuffers"},
                 {kMidFrame, "eglSwapBuffers"},
                 {kDuringRenderIntoTexture, "eglMakeCurrent"}};
    bool presented = false;
    const std::vector<uint8_t> before = Frame(&presented);
    ASSERT_TRUE(presented);
    ASSERT_NE(0, before.size());
    uint32_t losses = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.when);
        test::LogCapture log;
        switch (c.when) {
            case kBetweenFrames:
                ASSERT_TRUE(context->simulateLoss());
                break;
            case kBeforePresent:
                window->render();
                ASSERT_TRUE(context->simulateLoss());
                break;
            case kMidFrame:
                losing_->armed = true;
                window->render();
                break;
            case kDuringRenderIntoTexture:
                losing_->armed = true;
                window->renderToTexture(thumbnail_, kThumbnailFlag, 0, 0, 240, 400, false);
                break;
        }
        EXPECT_FALSE(losing_->armed);
        if (c.when == kBetweenFrames || c.when == kDuringRenderIntoTexture) {
            window->render();  // gives up, and makes the new context
        }
        EXPECT_FALSE(window->present()) << "a frame that met the loss is never shown";
        EXPECT_EQ(++losses, context->lossCount);
        EXPECT_FALSE(context->lost());
        EXPECT_TRUE(context->isCurrent());
        int lossLines = 0;
        for (const std::string& line : log.messages("KestoContext")) {
            lossLines += line.rfind("GL context lost", 0) == 0 ? 1 : 0;
        }
        EXPECT_EQ(1, lossLines) << log.text();
        EXPECT_EQ(1, log.count("KestoContext", 'E',
                               std::string("GL context lost (") + c.reportedBy +
                                   "): its textures, programs and buffers are gone"));
        // Every GL object went with the old context, and the counts say so.
        const auto lost = test::ResourceCounters::Now();
        EXPECT_EQ(0, lost["GLTexture"]);
        EXPECT_EQ(0, lost["GLTextureBytes"]);
        EXPECT_EQ(0, lost["GLProgram"]);
        EXPECT_EQ(0, lost["GLShader"]);
        EXPECT_EQ(0, context->vertexBufferCount);
        EXPECT_EQ(0, env->glArrayBufferCount.load());

        Restore();
        const std::vector<uint8_t> after = Frame(&presented);
        EXPECT_TRUE(presented);
        EXPECT_EQ(0, DifferingPixels(before, after)) << "pixels differing from the frame before";
        EXPECT_GT(test::ResourceCounters::Now()["GLProgram"], 0);
        EXPECT_GT(context->vertexBufferCount, 0);
        EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    }
}

TEST_P(ContextLossTest, APictureNobodySuppliesDrawsUntexturedUntilUploadedAgain) {
    // The card alone, opaque, over the blue clear colour.
    Picture& card = pictures_[1];
    ShowOnly(card.texture);
    Frame();
    window->render();
    const Pixel textured = At(160, 320);
    EXPECT_TRUE(Near(Pixel{0xFF, 0x40, 0x20, 0xFF}, textured));
    window->present();

    ASSERT_TRUE(context->simulateLoss());
    window->render();
    EXPECT_TRUE(card.texture->isLost());
    window->render();
    // The material's own grey, as before any picture arrived.
    EXPECT_TRUE(Near(Pixel{69, 69, 69, 255}, At(160, 320)));
    EXPECT_TRUE(card.texture->isLost()) << "drawing does not restore a picture";
    window->present();

    card.supply();
    EXPECT_FALSE(card.texture->isLost()) << "queued again, it is on its way";
    window->render();
    EXPECT_TRUE(Near(textured, At(160, 320)));
    EXPECT_FALSE(card.texture->isLost());
}

TEST_P(ContextLossTest, AProducerQueuesThroughLosses) {
    Picture& card = pictures_[1];
    ShowOnly(card.texture);
    std::atomic<bool> stop{false};
    std::atomic<uint32_t> last{0};
    std::thread producer([&] {
        for (uint32_t shade = 1; !stop.load(); shade = shade % 250 + 1) {
            Bitmap bitmap;
            ASSERT_TRUE(bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, 1, 1));
            const uint32_t word = 0xFF000000u | shade;
            std::memcpy(bitmap.buffer, &word, 4);
            if (card.texture->setupByBitmap(&bitmap, true)) {
                last.store(shade);
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));  // two wait already
            }
        }
    });
    uint32_t drawn = 0;
    for (int frame = 0; frame < 200; ++frame) {
        if (frame % 20 == 7) {
            ASSERT_TRUE(context->simulateLoss());
        }
        window->render();
        drawn += window->present() ? 1 : 0;
    }
    stop.store(true);
    producer.join();
    EXPECT_EQ(10u, context->lossCount);
    EXPECT_EQ(190u, drawn);
    // The newest picture queued is the one drawn.
    window->render();
    EXPECT_TRUE(Near(Pixel{static_cast<uint8_t>(last.load()), 0, 0, 255}, At(240, 400)));
}

TEST_P(ContextLossTest, ALossLeftUnrecoveredStillTearsDownToZero) {
    // The fixture's tear-down checks every counter against the start.
    Frame();
    ASSERT_TRUE(context->simulateLoss());
    EXPECT_TRUE(context->lost());
    EXPECT_FALSE(context->isCurrent());
}

}  // namespace
}  // namespace kesto
