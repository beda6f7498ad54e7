#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "gl/Renderer.h"
#include "scene/BlurSprite.h"
#include "scene/Material.h"
#include "shader/DefaultShader.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

using test::Near;
using test::Pixel;

class BlurSpriteTest : public test::SceneWindowTest {
  protected:
    // Opaque RGBA8888 source: black with a white 8x8 block and a red column.
    Texture* Source(int width, int height) {
        std::vector<uint32_t> pixels(width * height, 0xFF000000);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                if (x >= 20 && x < 28 && y >= 20 && y < 28) {
                    pixels[y * width + x] = 0xFFFFFFFF;
                } else if (x == 40) {
                    pixels[y * width + x] = 0xFF0000FF;
                }
            }
        }
        return MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, width, height, pixels);
    }

    BlurSprite* MakeBlurSprite() {
        blurSprites.push_back(std::make_unique<BlurSprite>(env));
        BlurSprite* sprite = blurSprites.back().get();
        EXPECT_TRUE(sprite->init());
        return sprite;
    }

    void TearDown() override {
        blurSprites.clear();
        SceneWindowTest::TearDown();
    }

    std::vector<std::unique_ptr<BlurSprite>> blurSprites;
};

KESTO_ON_BOTH_PATHS(BlurSpriteTest);

TEST_P(BlurSpriteTest, PostProcessNamesTheSourceItCannotDraw) {
    Material material;
    DrawItem uniforms;
    material.describeUniforms(&uniforms);
    ShaderProgram* program = context->getShaderProgram(DefaultShader::POST_PROCESS_BLUR_SP);
    Texture empty(env);
    ASSERT_TRUE(empty.init());
    char first[96];
    for (const Texture* source : {&empty, static_cast<Texture*>(nullptr)}) {
        test::LogCapture log;
        EXPECT_FALSE(context->renderer->postProcess(program, uniforms, source));
        std::snprintf(first, sizeof first, "postProcess NG - material:%p srcTexture:%p ",
                      static_cast<const void*>(&material), static_cast<const void*>(source));
        std::vector<std::string> expected{first};
        if (source != nullptr) {
            expected.push_back("textureHandle:0");
        }
        EXPECT_EQ(expected, log.messages("KestoRender"));
    }
}

// An independent model of the blur: bilinear sampling with clamped edges, five taps at the
// shader's offsets, each pass stored as 8-bit channels.
struct Image {
    int width, height;
    std::vector<float> rgba;

    std::array<float, 4> texel(int x, int y) const {
        x = std::min(std::max(x, 0), width - 1);
        y = std::min(std::max(y, 0), height - 1);
        const float* p = &rgba[(static_cast<size_t>(y) * width + x) * 4];
        return {p[0], p[1], p[2], p[3]};
    }
    std::array<float, 4> sample(float u, float v) const {
        const float fx = u * width - 0.5f, fy = v * height - 0.5f;
        const int x0 = int(std::floor(fx)), y0 = int(std::floor(fy));
        const float ax = fx - x0, ay = fy - y0;
        std::array<float, 4> out{};
        for (int c = 0; c < 4; ++c) {
            out[c] = (1 - ay) * ((1 - ax) * texel(x0, y0)[c] + ax * texel(x0 + 1, y0)[c]) +
                     ay * ((1 - ax) * texel(x0, y0 + 1)[c] + ax * texel(x0 + 1, y0 + 1)[c]);
        }
        return out;
    }
    // Five taps around (u, v), `step` in texture units.
    std::array<float, 4> blurred(float u, float v, float stepU, float stepV) const {
        static const float kTaps[5][2] = {{0.25f, 0.083333f},
                                          {-0.416666f, 0.75f},
                                          {0.75f, 0.416666f},
                                          {0.583333f, -0.75f},
                                          {-0.75f, -0.416666f}};
        std::array<float, 4> sum{};
        for (const auto& tap : kTaps) {
            const std::array<float, 4> s = sample(u + tap[0] * stepU, v + tap[1] * stepV);
            for (int c = 0; c < 4; ++c) {
                sum[c] += s[c];
            }
        }
        for (float& c : sum) {
            c *= 0.2f;
        }
        return sum;
    }
    Image pass(int outWidth, int outHeight, float stepU, float stepV) const {
        Image out{outWidth, outHeight, std::vector<float>(size_t(outWidth) * outHeight * 4)};
        for (int y = 0; y < outHeight; ++y) {
            for (int x = 0; x < outWidth; ++x) {
                const auto value =
                    blurred((x + 0.5f) / outWidth, (y + 0.5f) / outHeight, stepU, stepV);
                for (int c = 0; c < 4; ++c) {
                    out.rgba[(size_t(y) * outWidth + x) * 4 + c] = std::round(value[c] * 255) / 255;
                }
            }
        }
        return out;
    }
};

TEST_P(BlurSpriteTest, WindowShowsTheFiveTapFilterAtSeveralLevels) {
    constexpr int kSide = 64;
    Texture* source = Source(kSide, kSide);
    Image model{kSide, kSide, {}};
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const bool white = x >= 20 && x < 28 && y >= 20 && y < 28;
            const bool red = x == 40;
            for (float c : {float(white || red), float(white), float(white), 1.0f}) {
                model.rgba.push_back(c);
            }
        }
    }
    // maxBlur 4.5: level 1 is a half-size pass with a 3-texel step, level 2 a half-size pass of
    // level 1 with a 1.5-texel step.
    const Image level1 = model.pass(32, 32, 3.0f / kSide, 3.0f / kSide);
    const Image level2 = level1.pass(32, 32, 1.5f / 32, 1.5f / 32);

    BlurSprite* sprite = MakeBlurSprite();
    scene->rootNode.addChild(sprite, true);
    sprite->initSpriteGeometry(0, kSide, kSide, 0, 0, 0);  // one texel a pixel at the source
    context->renderer->clearStatus();
    ASSERT_TRUE(sprite->setTexture(context, source, 4.5f));
    const struct {
        float blur;
        const Image* image;
        float stepTexels;  // of the image shown; 0 draws it plainly
    } levels[] = {
        {0.0f, &model, 0}, {1.5f, &model, 1.5f}, {4.0f, &level1, 1.0f}, {4.5f, &level2, 0}};
    const int left = 240 - kSide / 2, top = 400 - kSide / 2;
    for (const auto& level : levels) {
        SCOPED_TRACE(level.blur);
        ASSERT_TRUE(sprite->setBlurParameter(context, level.blur));
        window->render();
        int checked = 0;
        for (int y = 14; y < 50; y += 3) {
            for (int x = 14; x < 46; x += 3) {
                const float u = (x + 0.5f) / kSide, v = (y + 0.5f) / kSide;
                const Image& image = *level.image;
                const auto value = image.blurred(u, v, level.stepTexels / image.width,
                                                 level.stepTexels / image.height);
                const Pixel expected{uint8_t(std::lround(value[0] * 255)),
                                     uint8_t(std::lround(value[1] * 255)),
                                     uint8_t(std::lround(value[2] * 255)), 255};
                EXPECT_TRUE(Near(expected, At(left + x, top + y))) << x << "," << y;
                ++checked;
            }
        }
        EXPECT_GT(checked, 100);
    }
}

}  // namespace
}  // namespace kesto
