// Fixture for drawing tests: the GL fixture plus a real 480x800 X11 window bound to a Window whose
// default viewport shows a Scene, on a blue background; helpers to make textures and sprites and
// to read pixels back. Its parameter is the window's batching switch: KESTO_ON_BOTH_PATHS runs a
// suite's tests batched and per-mesh, which must draw the same pixels.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "draw/Window.h"
#include "host/X11Window.h"
#include "image/Texture.h"
#include "scene/Scene.h"
#include "scene/Sprite.h"
#include "tests/support/GlFixture.h"

namespace kesto::test {

using Pixel = std::array<uint8_t, 4>;

// Each channel within `tolerance` (llvmpipe rounds blends to the nearest step).
::testing::AssertionResult Near(const Pixel& expected, const Pixel& actual, int tolerance = 1);

class SceneWindowTest : public GlTest, public ::testing::WithParamInterface<bool> {
  protected:
    static constexpr int kWidth = 480;
    static constexpr int kHeight = 800;

    void SetUp() override;
    void TearDown() override;

    // A texture holding rows of 16- or 32-bit pixels, pending upload on the render thread.
    template <class P>
    Texture* MakeTexture(int format, int width, int height, const std::vector<P>& pixels) {
        Bitmap bitmap;
        EXPECT_TRUE(bitmap.allocateBitmap(format, width, height));
        for (int row = 0; row < height; ++row) {
            std::memcpy(bitmap.buffer + row * bitmap.scanlineBytes, &pixels[row * width],
                        width * sizeof(P));
        }
        textures.push_back(std::make_unique<Texture>(env));
        Texture* texture = textures.back().get();
        EXPECT_TRUE(texture->init());
        EXPECT_TRUE(texture->setupByBitmap_InRenderThread(&bitmap, false));
        return texture;
    }
    // A 1x1 RGBA8888 texture; the word's bytes in memory are R, G, B, A.
    Texture* Solid(uint32_t rgba) {
        return MakeTexture<uint32_t>(PIXEL_FORMAT_RGBA8888, 1, 1, {rgba});
    }
    Sprite* AddSprite(SceneNode* parent, Texture* texture, int layers = 1,
                      bool layerZeroOnTop = true);
    // A pixel of the window's back buffer, y down from the top.
    Pixel At(int x, int y) { return ReadPixel(x, kHeight - 1 - y); }
    // The bottom `height` rows of the current surface, RGBA.
    static std::vector<uint8_t> ReadWindow(int height = kHeight);
    // How many pixels two reads hold differently; -1 when their sizes differ.
    static int DifferingPixels(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

    std::unique_ptr<host::X11Window> native;
    ANativeWindow* nativeWindow = nullptr;  // one reference, released at tear-down
    std::unique_ptr<Window> window;
    std::unique_ptr<Scene> scene;
    std::vector<std::unique_ptr<Texture>> textures;
    std::vector<std::unique_ptr<Sprite>> sprites;
};

std::string PathName(const ::testing::TestParamInfo<bool>& info);

}  // namespace kesto::test

#define KESTO_ON_BOTH_PATHS(Suite) \
    INSTANTIATE_TEST_SUITE_P(, Suite, ::testing::Bool(), ::kesto::test::PathName)
