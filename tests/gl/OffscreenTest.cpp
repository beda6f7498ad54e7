#include <gtest/gtest.h>

#include <cmath>

#include "gl/Renderer.h"
#include "host/ExternalImage.h"
#include "scene/Material.h"
#include "scene/Mesh.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderProgram.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

using test::LogCapture;
using test::Near;
using test::Pixel;
using test::ReadTexture;
using OffscreenTest = test::SceneWindowTest;

Pixel PixelOf(const std::vector<uint8_t>& rgba, int width, int x, int y) {
    const size_t at = (static_cast<size_t>(y) * width + x) * 4;
    return {rgba[at], rgba[at + 1], rgba[at + 2], rgba[at + 3]};
}

std::unique_ptr<Texture> BlankTexture(Environment* env, int width, int height) {
    auto texture = std::make_unique<Texture>(env);
    EXPECT_TRUE(texture->init());
    EXPECT_TRUE(texture->realizeBlankTexture(PIXEL_FORMAT_RGBA8888, width, height));
    return texture;
}

KESTO_ON_BOTH_PATHS(OffscreenTest);

TEST_P(OffscreenTest, PostProcessQuadBuffersAndRefusals) {
    Renderer* renderer = context->renderer;
    ASSERT_TRUE(renderer->createPostProcessBuffers());
    const struct {
        GLuint buffer;
        GLenum target;
        GLint bytes;
    } buffers[] = {{renderer->postProcessPositionBuffer, GL_ARRAY_BUFFER, 192},
                   {renderer->postProcessTexCoordBuffer, GL_ARRAY_BUFFER, 128},
                   {renderer->postProcessIndexBuffer, GL_ELEMENT_ARRAY_BUFFER, 64}};
    for (const auto& b : buffers) {
        GLint size = 0;
        glBindBuffer(b.target, b.buffer);
        glGetBufferParameteriv(b.target, GL_BUFFER_SIZE, &size);
        EXPECT_EQ(b.bytes, size);
    }
    Material material;
    DrawItem uniforms;
    material.describeUniforms(&uniforms);
    ShaderProgram* blur = context->getShaderProgram(DefaultShader::POST_PROCESS_BLUR_SP);
    LogCapture log;
    EXPECT_FALSE(renderer->postProcess(blur, uniforms, 0));
    EXPECT_FALSE(renderer->postProcess(nullptr, DrawItem(), 7));
    const std::vector<std::string> messages = log.messages("KestoRender");
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(0u, messages[0].rfind("postProcess NG - material:", 0));
    EXPECT_EQ("srcTexture:0 ", messages[0].substr(messages[0].size() - 13));
    EXPECT_EQ("postProcess NG - program is null", messages[1]);
}

TEST_P(OffscreenTest, BlurPassSpreadsOnePixelToTheFiveTaps) {
    // A white texel at (16, 16) of a transparent 32x32 source; a step of 12 texels turns the tap
    // offsets into whole texels, so each output pixel that reaches the white texel gets 0.2.
    std::vector<uint32_t> pixels(32 * 32, 0);
    pixels[16 * 32 + 16] = 0xFFFFFFFF;
    Texture* source = MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, 32, 32, pixels);
    ASSERT_TRUE(source->createRenderTexture());
    std::unique_ptr<Texture> target = BlankTexture(env, 32, 32);
    Material material;
    material.setShaderProgram(context->getShaderProgram(DefaultShader::POST_PROCESS_BLUR_SP));
    float step[2] = {12.0f / 32, 12.0f / 32};
    float white[4] = {1, 1, 1, 1};
    ASSERT_TRUE(material.setUniformVariable("TextureSize", 2, step));
    ASSERT_TRUE(material.setUniformVariable("BlendColor", 4, white));
    Renderer* renderer = context->renderer;
    renderer->clearStatus();
    glDisable(GL_BLEND);
    ASSERT_TRUE(renderer->toggleRenderToTexture(target->renderTextureHandle, 32, 32));
    DrawItem uniforms;
    material.describeUniforms(&uniforms);
    ASSERT_TRUE(
        renderer->postProcess(material.getShaderProgram(), uniforms, source->renderTextureHandle));
    renderer->endRenderToTexture();

    const std::vector<uint8_t> out = ReadTexture(target->renderTextureHandle, 0, 0, 32, 32);
    const float taps[5][2] = {{0.25f, 0.083333f},
                              {-0.416666f, 0.75f},
                              {0.75f, 0.416666f},
                              {0.583333f, -0.75f},
                              {-0.75f, -0.416666f}};
    std::vector<int> expected(32 * 32, 0);
    for (const auto& tap : taps) {
        const int x = 16 - int(std::lround(tap[0] * 12)), y = 16 - int(std::lround(tap[1] * 12));
        expected[y * 32 + x] += 51;
    }
    int lit = 0;
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 32; ++x) {
            const int value = expected[y * 32 + x];
            lit += value != 0;
            EXPECT_TRUE(Near(Pixel{uint8_t(value), uint8_t(value), uint8_t(value), uint8_t(value)},
                             PixelOf(out, 32, x, y)))
                << x << "," << y;
        }
    }
    EXPECT_EQ(5, lit);
}

TEST_P(OffscreenTest, PartialSceneFillsTheTextureTopRowFirst) {
    // The camera lays the scene out on the render target, here a texture as large as the window.
    // Of the region (140, 300, 200, 200) a flagged red sprite covers the top half, an unflagged
    // green one the bottom half.
    Sprite* flagged = AddSprite(&scene->rootNode, Solid(0xFF0000FF));
    flagged->initSpriteGeometry(0, 200, 100, 0, 0, 0);
    flagged->setPosition(Vector(0, 50, 0));
    flagged->AddRenderFlag(4, false);
    Sprite* plain = AddSprite(&scene->rootNode, Solid(0xFF00FF00));
    plain->initSpriteGeometry(0, 200, 100, 0, 0, 0);
    plain->setPosition(Vector(0, -50, 0));
    std::unique_ptr<Texture> target = BlankTexture(env, kWidth, kHeight);
    ASSERT_TRUE(window->renderToTexture(target.get(), 4 | 1, 140, 300, 200, 200, false));
    const std::vector<uint8_t> out =
        ReadTexture(target->renderTextureHandle, 0, 0, kWidth, kHeight);
    const Pixel red{255, 0, 0, 255}, blue{0, 0, 255, 255};
    for (int x : {0, 240, kWidth - 1}) {
        EXPECT_TRUE(Near(red, PixelOf(out, kWidth, x, 0))) << x;
        EXPECT_TRUE(Near(red, PixelOf(out, kWidth, x, 397))) << x;
        EXPECT_TRUE(Near(blue, PixelOf(out, kWidth, x, 402))) << x;
        EXPECT_TRUE(Near(blue, PixelOf(out, kWidth, x, kHeight - 1))) << x;
    }
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(0, bound);
}

}  // namespace
}  // namespace kesto
