// Sprites drawn into a real 480x800 window; pixels read back and compared with values worked out
// here, independently of the engine's own arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "gl/Renderer.h"
#include "scene/Material.h"
#include "scene/Mesh.h"
#include "scene/Scissor.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderManager.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

using test::Near;
using test::Pixel;
using SpriteRenderTest = test::SceneWindowTest;

const Pixel kBlue{0, 0, 255, 255}, kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255};
// Little-endian RGBA8888 words: bytes R, G, B, A.
constexpr uint32_t kRedWord = 0xFF0000FF, kGreenWord = 0xFF00FF00, kWhiteWord = 0xFFFFFFFF,
                   kYellowWord = 0xFF00FFFF;

Pixel PixelOf(const std::vector<uint8_t>& rgba, int width, int x, int y) {
    const size_t at = (static_cast<size_t>(y) * width + x) * 4;
    return {rgba[at], rgba[at + 1], rgba[at + 2], rgba[at + 3]};
}

KESTO_ON_BOTH_PATHS(SpriteRenderTest);

TEST_P(SpriteRenderTest, TexturedQuadLandsOnePixelPerUnitWithItsTopRowUp) {
    // Quadrants: red, green on top; white, yellow below.
    Texture* texture = MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, 2, 2,
                                             {kRedWord, kGreenWord, kWhiteWord, kYellowWord});
    Sprite* sprite = AddSprite(&scene->rootNode, texture);
    sprite->setPosition(Vector(-100, 200, 0));  // centre at window pixel (140, 200)
    window->render();
    // Within a quarter of the quad from a corner, linear filtering clamps to that texel.
    EXPECT_TRUE(Near(kRed, At(140 - 40, 200 - 40)));
    EXPECT_TRUE(Near(kGreen, At(140 + 40, 200 - 40)));
    EXPECT_TRUE(Near(Pixel{255, 255, 255, 255}, At(140 - 40, 200 + 40)));
    EXPECT_TRUE(Near(Pixel{255, 255, 0, 255}, At(140 + 40, 200 + 40)));
    // The quad covers pixels 90..189 by 150..249.
    EXPECT_TRUE(Near(kRed, At(90, 150)));
    EXPECT_TRUE(Near(kBlue, At(89, 150)));
    EXPECT_TRUE(Near(kBlue, At(90, 149)));
    EXPECT_TRUE(Near(kBlue, At(190, 249)));
    EXPECT_TRUE(Near(kBlue, At(189, 250)));
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

TEST_P(SpriteRenderTest, RotationAboutYShowsTruePerspective) {
    Sprite* sprite = AddSprite(&scene->rootNode, Solid(kRedWord));
    sprite->setRotate(Vector(0, 60, 0));
    window->render();
    // Corners at x = +-50 turn to x = +-25 and z = -+43.3; the camera sits at D = 400/tan 30.
    const double d = 400.0 / std::tan(M_PI / 6);
    const double z = 50.0 * std::sin(M_PI / 3);
    const double left = 240 - 25 * d / (d - z);   // nearer, so wider
    const double right = 240 + 25 * d / (d + z);  // further, so narrower
    const double leftHalfHeight = 50 * d / (d - z);
    const double rightHalfHeight = 50 * d / (d + z);
    EXPECT_TRUE(Near(kRed, At(int(std::ceil(left)) + 1, 400)));
    EXPECT_TRUE(Near(kBlue, At(int(std::floor(left)) - 1, 400)));
    EXPECT_TRUE(Near(kRed, At(int(std::floor(right)) - 1, 400)));
    EXPECT_TRUE(Near(kBlue, At(int(std::ceil(right)) + 1, 400)));
    // Near the left edge the quad is taller than 100 px, near the right edge shorter.
    const int probeTop = 400 - 49 - 2;
    EXPECT_TRUE(Near(kRed, At(int(left) + 2, probeTop))) << leftHalfHeight;
    EXPECT_TRUE(Near(kBlue, At(int(right) - 2, probeTop))) << rightHalfHeight;
}

TEST_P(SpriteRenderTest, GroupAlphaBlendsPremultipliedOverTheBackground) {
    SceneNode group(env);
    scene->rootNode.addChild(&group, true);
    Sprite* sprite = AddSprite(&group, Solid(kRedWord));
    group.setGroupAlpha(0.5f);
    sprite->setGroupAlpha(0.5f);
    window->render();
    // Source red times 0.25, plus the blue background times 0.75.
    EXPECT_TRUE(Near(Pixel{64, 0, 191, 255}, At(240, 400)));
    sprite->setGroupAlpha(1.0f);
    window->render();
    EXPECT_TRUE(Near(Pixel{128, 0, 128, 255}, At(240, 400)));
    // At alpha 0 the mesh costs nothing: its buffer is not even uploaded.
    group.setGroupAlpha(0.0f);
    sprite->getLayerMesh(0)->vertexBuffer.unbindGLBuffer();
    window->render();
    EXPECT_EQ(0u, sprite->getLayerMesh(0)->vertexBuffer.glBuffer);
    EXPECT_TRUE(Near(kBlue, At(240, 400)));
}

TEST_P(SpriteRenderTest, BlendStateFollowsTheTextureFormat) {
    // Opaque RGB565 at alpha 1 is drawn unblended; an untextured quad drawn after it inherits
    // that, so its half-transparent colour replaces the background outright.
    Sprite* opaque =
        AddSprite(&scene->rootNode, MakeTexture<uint16_t>(PIXEL_FORMAT_RGB565, 1, 1, {0x07E0}));
    Sprite* plain = AddSprite(&scene->rootNode, nullptr);
    scene->rootNode.removeChild(plain);
    scene->rootNode.addChild(plain, false);  // drawn after the opaque one
    plain->setPosition(Vector(0, 200, 0));
    plain->getLayerMaterial(0)->setColor(255, 0, 0);
    plain->getLayerMaterial(0)->setAlpha(128);
    window->render();
    EXPECT_TRUE(Near(kGreen, At(240, 400)));
    EXPECT_TRUE(Near(kRed, At(240, 200)));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));

    // The same RGB565 texture at alpha 0.5 is premultiplied.
    opaque->getLayerMaterial(0)->setAlpha(128);
    window->render();
    const float a = 128 / 255.0f;
    const uint8_t g = uint8_t(std::lround(255 * a)), b = uint8_t(std::lround(255 * (1 - a)));
    EXPECT_TRUE(Near(Pixel{0, g, b, 255}, At(240, 400)));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
}

TEST_P(SpriteRenderTest, Rgba5551UsesStraightAlpha) {
    // A transparent texel that still carries red: straight alpha hides it, premultiplied would
    // add the red to the background.
    Sprite* sprite = AddSprite(
        &scene->rootNode, MakeTexture<uint16_t>(PIXEL_FORMAT_RGBA5551, 2, 1, {0xF800, 0xF801}));
    sprite->getLayerMaterial(0)->setAlpha(255);
    window->render();
    EXPECT_TRUE(Near(kBlue, At(240 - 40, 400)));
    EXPECT_TRUE(Near(kRed, At(240 + 40, 400)));
    // Tinted: RGB operation 1 multiplies the colour in.
    sprite->getLayerMaterial(0)->setRGBOperation(1);
    sprite->getLayerMaterial(0)->setColor(255, 0, 255);
    sprite->getLayerMaterial(0)->setAlpha(128);
    window->render();
    EXPECT_TRUE(Near(Pixel{128, 0, 127, 255}, At(240 + 40, 400)));
}

TEST_P(SpriteRenderTest, LayerOrderAndRenderOrderDecideWhatIsOnTop) {
    Sprite* layered = AddSprite(&scene->rootNode, nullptr, 2);
    layered->getLayerMaterial(0)->setTexture(0, Solid(kRedWord));
    layered->getLayerMaterial(1)->setTexture(0, Solid(kGreenWord));
    window->render();
    EXPECT_TRUE(Near(kRed, At(240, 400))) << "layer zero on top";

    Sprite* bottomFirst = AddSprite(&scene->rootNode, nullptr, 2, false);
    bottomFirst->getLayerMaterial(0)->setTexture(0, Solid(kRedWord));
    bottomFirst->getLayerMaterial(1)->setTexture(0, Solid(kGreenWord));
    bottomFirst->setPosition(Vector(0, 200, 0));
    window->render();
    EXPECT_TRUE(Near(kGreen, At(240, 200))) << "layer zero at the bottom";

    // Siblings: the newest child is drawn first, unless render orders sort them.
    Sprite* a = AddSprite(&scene->rootNode, Solid(kWhiteWord));
    Sprite* b = AddSprite(&scene->rootNode, Solid(kYellowWord));
    a->setPosition(Vector(-150, -300, 0));
    b->setPosition(Vector(-150, -300, 0));
    window->render();
    EXPECT_TRUE(Near(Pixel{255, 255, 255, 255}, At(90, 700)));
    a->setRenderOrder(2);
    b->setRenderOrder(5);
    scene->rootNode.setChildrenRenderOrderMode(1);
    window->render();
    EXPECT_TRUE(Near(Pixel{255, 255, 0, 255}, At(90, 700)));
}

TEST_P(SpriteRenderTest, ScissorClipsToItsTopDownRectangle) {
    Scissor scissor(env);
    scissor.setArea(10, 20, 100, 50);
    scene->rootNode.addChild(&scissor, true);
    Sprite* sprite = AddSprite(&scissor, Solid(kRedWord));
    sprite->initSpriteGeometry(0, 2000, 2000, 0, 0, 0);
    window->render();
    EXPECT_TRUE(Near(kRed, At(10, 20)));
    EXPECT_TRUE(Near(kRed, At(109, 69)));
    for (const auto& outside : {std::pair<int, int>{9, 20}, {10, 19}, {110, 69}, {109, 70}}) {
        EXPECT_TRUE(Near(kBlue, At(outside.first, outside.second)))
            << outside.first << "," << outside.second;
    }
    EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
    // Hidden, it still switches clipping on and off, but draws nothing.
    scissor.setVisible(false);
    window->render();
    EXPECT_TRUE(Near(kBlue, At(50, 40)));
}

TEST_P(SpriteRenderTest, HitTestsFindTheTopmostSpriteAndMissOutsideIt) {
    Sprite* below = AddSprite(&scene->rootNode, Solid(kRedWord));
    Sprite* above = AddSprite(&scene->rootNode, Solid(kGreenWord));
    scene->rootNode.removeChild(above);
    scene->rootNode.addChild(above, false);  // drawn last, on top
    above->setPosition(Vector(30, 0, 0));
    window->render();
    SceneNode* hit = nullptr;
    ASSERT_TRUE(window->hitTest(260, 400, nullptr, nullptr, nullptr, &hit));
    EXPECT_EQ(above, hit);
    ASSERT_TRUE(window->hitTest(195, 400, nullptr, nullptr, nullptr, &hit));
    EXPECT_EQ(below, hit);
    EXPECT_FALSE(window->hitTest(189, 400, nullptr, nullptr, nullptr, &hit));
    EXPECT_FALSE(window->hitTest(240, 349, nullptr, nullptr, nullptr, &hit));

    // A non-touchable actor is skipped; its child is still found.
    Sprite* child = AddSprite(above, Solid(kWhiteWord));
    above->removeChild(child);
    above->addChild(child, true);
    child->setPosition(Vector(0, 100, 0));
    above->touchable = false;
    ASSERT_TRUE(window->hitTest(260, 400, nullptr, nullptr, nullptr, &hit));
    EXPECT_EQ(below, hit);
    ASSERT_TRUE(window->hitTest(270, 300, nullptr, nullptr, nullptr, &hit));
    EXPECT_EQ(child, hit);
}

TEST_P(SpriteRenderTest, OesProgramWithoutATextureNameDrawsNothing) {
    Sprite* sprite = AddSprite(&scene->rootNode, nullptr);
    sprite->getLayerMaterial(0)->setShaderProgram(
        context->getShaderProgram(DefaultShader::OES_TEXTURE_SP));
    test::LogCapture log;
    window->render();
    EXPECT_TRUE(log.has("KestoRender", 'E', "RenderMesh OES Texture is null"));
    EXPECT_TRUE(Near(kBlue, At(240, 400)));
}

TEST_P(SpriteRenderTest, PartialSceneFillsTheTextureTopRowFirst) {
    // The camera lays the scene out on the render target, here a texture as large as the window.
    // Of the region (140, 300, 200, 200) a flagged red sprite covers the top half, an unflagged
    // green one the bottom half.
    Sprite* flagged = AddSprite(&scene->rootNode, Solid(kRedWord));
    flagged->initSpriteGeometry(0, 200, 100, 0, 0, 0);
    flagged->setPosition(Vector(0, 50, 0));
    flagged->AddRenderFlag(4, false);
    Sprite* plain = AddSprite(&scene->rootNode, Solid(kGreenWord));
    plain->initSpriteGeometry(0, 200, 100, 0, 0, 0);
    plain->setPosition(Vector(0, -50, 0));
    Texture target(env);
    ASSERT_TRUE(target.init());
    ASSERT_TRUE(target.realizeBlankTexture(PIXEL_FORMAT_RGBA8888, kWidth, kHeight));
    ASSERT_TRUE(window->renderToTexture(&target, 4 | 1, 140, 300, 200, 200, false));
    const std::vector<uint8_t> out =
        test::ReadTexture(target.renderTextureHandle, 0, 0, kWidth, kHeight);
    for (int x : {0, 240, kWidth - 1}) {
        EXPECT_TRUE(Near(kRed, PixelOf(out, kWidth, x, 0))) << x;
        EXPECT_TRUE(Near(kRed, PixelOf(out, kWidth, x, 397))) << x;
        EXPECT_TRUE(Near(kBlue, PixelOf(out, kWidth, x, 402))) << x;
        EXPECT_TRUE(Near(kBlue, PixelOf(out, kWidth, x, kHeight - 1))) << x;
    }
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(0, bound);
}

// A node drawn between two sprites that queues a picture into their shared texture, as a producer
// thread may at any moment of a frame.
class QueueingNode : public SceneNode {
  public:
    QueueingNode(Environment* env, Texture* texture, Bitmap* picture)
        : SceneNode(env), texture_(texture), picture_(picture) {}
    void render(Renderer* /*renderer*/) override {
        EXPECT_TRUE(texture_->setupByBitmap(picture_, false));
    }

  private:
    Texture* texture_;
    Bitmap* picture_;
};

TEST_P(SpriteRenderTest, AnUploadQueuedBetweenTwoMeshesOfOneRunShowsOnTheSecondOnly) {
    Texture* shared = Solid(kRedWord);
    Sprite* second = AddSprite(&scene->rootNode, shared);
    second->setPosition(Vector(100, 0, 0));
    Bitmap green;
    ASSERT_TRUE(green.allocateBitmap(PIXEL_FORMAT_RGBA8888, 1, 1));
    std::memcpy(green.buffer, &kGreenWord, 4);
    QueueingNode producer(env, shared, &green);
    scene->rootNode.addChild(&producer, true);
    Sprite* first = AddSprite(&scene->rootNode, shared);
    first->setPosition(Vector(-100, 0, 0));
    // Drawn first, second, and between them the queueing node: the first sprite shows the picture
    // the texture had, the second the one queued after the first was drawn.
    for (int frame = 0; frame < 3; ++frame) {
        window->render();
        EXPECT_TRUE(Near(frame == 0 ? kRed : kGreen, At(140, 400))) << frame;
        EXPECT_TRUE(Near(kGreen, At(340, 400))) << frame;
    }
    scene->rootNode.removeChild(&producer);
}

TEST_P(SpriteRenderTest, RenderingIntoATextureGetsTheFramebufferBeforeRealisingIt) {
    // A size recorded before the upload is the texture's: zero refuses the framebuffer, which
    // leaves the upload pending; a size smaller than the bitmap stays recorded as it is.
    struct Case {
        int32_t recorded;
        bool started;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {0,
         false,
         {"KestoRender E getFramebufferObject NG (width, height) = (0, 0)",
          "KestoRender E toggleRenderToTexture NG framebuffer is 0 line:825",
          "KestoWnd E renderToTexture NG: toggleRenderToTexture failed"}},
        {(64 << 16) | 32, true, {}},
    };
    for (const Case& c : cases) {
        Bitmap picture;
        ASSERT_TRUE(picture.allocateBitmap(PIXEL_FORMAT_RGBA8888, 100, 100));
        Texture target(env);
        ASSERT_TRUE(target.init());
        ASSERT_TRUE(target.setupByBitmap(&picture, false));
        target.info[Texture::INFO_TEXTURE_SIZE] = c.recorded;
        target.info[Texture::INFO_CONTENT_SIZE] = 5;
        test::LogCapture log;
        EXPECT_EQ(c.started, window->renderToTexture(&target, 1, 0, 0, 10, 10, false));
        std::vector<std::string> errors;
        for (const test::LogLine& line : log.lines()) {
            if (line.priority == 'E') {
                errors.push_back(line.tag + " E " + line.message);
            }
        }
        EXPECT_EQ(c.lines, errors) << c.recorded;
        EXPECT_EQ(!c.started, target.uploadPending()) << c.recorded;
        EXPECT_EQ(c.recorded, target.info[Texture::INFO_TEXTURE_SIZE].load());
        EXPECT_EQ(5, target.info[Texture::INFO_CONTENT_SIZE].load());
        while (glGetError() != GL_NO_ERROR) {
        }
    }
}

TEST_P(SpriteRenderTest, AMeshWhoseBufferCannotBeUploadedLeavesItsTextureUnrealised) {
    Texture* texture = Solid(kRedWord);
    Sprite* sprite = AddSprite(&scene->rootNode, texture);
    sprite->getLayerMesh(0)->clear();
    test::LogCapture log;
    window->render();
    const std::vector<std::string> lines = log.messages("VertexBuffer");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(0u, lines[0].find("bindGLBuffer NG - "));
    EXPECT_TRUE(texture->uploadPending());
    EXPECT_EQ(0u, texture->renderTextureHandle);
}

TEST_P(SpriteRenderTest, AProgramDeclaringItsAttributesInAnotherOrderDrawsCorrectly) {
    // The linker may place "texCoord" at 0: the program still gets positions at 0, as bound.
    ShaderManager* manager = context->shaderManager;
    ASSERT_TRUE(manager->registerVertexShader("REVERSED_VS",
                                              "attribute vec2 texCoord;"
                                              "attribute vec4 position;"
                                              "varying vec2 vTexCoord;"
                                              "uniform mat4 ProjectionMatrix;"
                                              "uniform mat4 ModelViewMatrix;"
                                              "void main(){"
                                              "gl_Position = ProjectionMatrix * ModelViewMatrix * "
                                              "position;"
                                              "vTexCoord = texCoord;}"));
    static const char* const kAttributes[] = {"position", "texCoord", nullptr};
    ASSERT_TRUE(manager->registerShaderProgram("REVERSED_SP", "REVERSED_VS",
                                               DefaultShader::DEFAULT_FS, kAttributes, nullptr));
    ShaderProgram* reversed = context->getShaderProgram("REVERSED_SP");
    ASSERT_NE(nullptr, reversed);
    EXPECT_EQ(0, glGetAttribLocation(reversed->glProgram, "position"));
    EXPECT_EQ(1, glGetAttribLocation(reversed->glProgram, "texCoord"));
    Texture* texture = MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, 2, 2,
                                             {kRedWord, kGreenWord, kWhiteWord, kYellowWord});
    Sprite* sprite = AddSprite(&scene->rootNode, texture);
    sprite->getLayerMaterial(0)->setShaderProgram(reversed);
    window->render();
    EXPECT_TRUE(Near(kRed, At(240 - 40, 400 - 40)));
    EXPECT_TRUE(Near(kGreen, At(240 + 40, 400 - 40)));
    EXPECT_TRUE(Near(Pixel{255, 255, 0, 255}, At(240 + 40, 400 + 40)));
    EXPECT_TRUE(Near(kBlue, At(240 + 60, 400)));
}

// A dense scene mixing everything a batch must respect: formats, alphas, tints, untextured layers,
// group alpha, perspective, a scissor, meshes with their own program or uniforms. Both paths must
// draw it to the same pixels, the batched one with fewer draws.
using PathsMatchTest = test::SceneWindowTest;
INSTANTIATE_TEST_SUITE_P(, PathsMatchTest, ::testing::Values(true), test::PathName);

TEST_P(PathsMatchTest, BatchedFrameEqualsPerMeshFrameWithFewerDraws) {
    uint32_t seed = 12345;
    auto next = [&seed](int range) {
        seed = seed * 1664525u + 1013904223u;
        return static_cast<int>((seed >> 8) % static_cast<uint32_t>(range));
    };
    Texture* textures[] = {MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, 2, 2,
                                                 {kRedWord, 0x80008000, kWhiteWord, 0x00000000}),
                           MakeTexture<uint16_t>(PIXEL_FORMAT_RGB565, 2, 1, {0xF800, 0x07E0}),
                           MakeTexture<uint16_t>(PIXEL_FORMAT_RGBA5551, 2, 1, {0xF801, 0x07C0}),
                           nullptr};
    SceneNode faded(env);
    faded.setGroupAlpha(0.6f);
    Scissor clip(env);
    clip.setArea(40, 300, 200, 150);
    scene->rootNode.addChild(&faded, false);
    scene->rootNode.addChild(&clip, false);
    SceneNode* parents[] = {&scene->rootNode, &faded, &clip};
    ShaderProgram* defaultProgram = context->getShaderProgram(DefaultShader::DEFAULT_SP);
    for (int i = 0; i < 600; ++i) {
        Sprite* sprite = AddSprite(parents[next(3)], nullptr, i % 10 == 0 ? 2 : 1);
        for (int layer = 0; layer < sprite->layersCount; ++layer) {
            Material* material = sprite->getLayerMaterial(layer);
            // Runs of sprites share the first layer's texture, as an atlas would make them.
            material->setTexture(0, textures[layer == 0 ? i / 25 % 4 : next(4)]);
            material->setAlpha(
                static_cast<unsigned char>((const int[]){255, 204, 128, 0}[next(4)]));
            material->setColor(next(256), next(256), next(256));
            material->setRGBOperation(next(2));
            sprite->initSpriteGeometry(layer, 8 + next(60), 8 + next(60), next(9) - 4, 0, 0);
        }
        if (i % 97 == 0) {
            sprite->getLayerMaterial(0)->setShaderProgram(defaultProgram);
        }
        if (i % 101 == 0) {
            int unit = 0;
            sprite->getLayerMaterial(0)->setUniformVariable("Sampler0", 1, &unit);
        }
        sprite->setPosition(Vector(next(480) - 240, next(800) - 400, 0));
        sprite->setRotate(Vector(i % 7 == 0 ? next(60) : 0, i % 5 == 0 ? next(60) : 0, next(360)));
    }
    // Untextured meshes blend as the previous draw left GL, also the previous frame's last draw:
    // each path is compared on its second frame.
    auto frame = [&](bool batching, FrameStats* stats) {
        window->setBatching(batching);
        window->render();
        window->render();
        *stats = window->frameStats();
        return ReadWindow();
    };
    FrameStats perMesh, batched;
    const std::vector<uint8_t> expected = frame(false, &perMesh);
    const std::vector<uint8_t> actual = frame(true, &batched);
    int differing = 0, largest = 0;
    for (size_t i = 0; i < expected.size(); i += 4) {
        int worst = 0;
        for (size_t c = i; c < i + 4; ++c) {
            worst = std::max(worst, std::abs(int(expected[c]) - int(actual[c])));
        }
        differing += worst != 0;
        largest = std::max(largest, worst);
    }
    EXPECT_EQ(0, differing) << "largest channel difference " << largest;
    EXPECT_EQ(perMesh.meshes, batched.meshes);
    EXPECT_EQ(perMesh.meshes, perMesh.drawCalls);
    EXPECT_EQ(0, perMesh.batches);
    EXPECT_LT(batched.drawCalls * 2, perMesh.drawCalls);
    EXPECT_GT(batched.batches, 0);
    EXPECT_GT(batched.breaks[FrameStats::BREAK_CUSTOM], 0);
    EXPECT_GT(batched.breaks[FrameStats::BREAK_SCISSOR], 0);
    EXPECT_GT(batched.breaks[FrameStats::BREAK_TEXTURE], 0);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    scene->rootNode.removeChild(&faded);
    scene->rootNode.removeChild(&clip);
}

}  // namespace
}  // namespace kesto
