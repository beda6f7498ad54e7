#include "tests/support/SceneWindow.h"

#include <cstdlib>

#include "host/HostNativeWindow.h"
#include "scene/Material.h"

namespace kesto::test {

::testing::AssertionResult Near(const Pixel& expected, const Pixel& actual, int tolerance) {
    for (int i = 0; i < 4; ++i) {
        if (std::abs(int(expected[i]) - int(actual[i])) > tolerance) {
            return ::testing::AssertionFailure()
                   << "expected (" << int(expected[0]) << "," << int(expected[1]) << ","
                   << int(expected[2]) << "," << int(expected[3]) << ") got (" << int(actual[0])
                   << "," << int(actual[1]) << "," << int(actual[2]) << "," << int(actual[3])
                   << ")";
        }
    }
    return ::testing::AssertionSuccess();
}

void SceneWindowTest::SetUp() {
    GlTest::SetUp();
    native = host::X11Window::Open(kWidth, kHeight, "kesto test");
    ASSERT_NE(nullptr, native);
    nativeWindow = KestoHost_ANativeWindow_fromXWindow(native->id(), kWidth, kHeight);
    window = std::make_unique<Window>(env, context);
    scene = std::make_unique<Scene>(env);
    window->defaultViewport.linkCamera(&scene->defaultCamera);
    window->setClearColor(0, 0, 1, 1);
    window->setBatching(GetParam());
    ASSERT_TRUE(window->bindSurface(nativeWindow, kWidth, kHeight));
}

void SceneWindowTest::TearDown() {
    sprites.clear();
    textures.clear();
    scene.reset();
    window.reset();
    ANativeWindow_release(nativeWindow);
    native.reset();
    GlTest::TearDown();
}

std::vector<uint8_t> SceneWindowTest::ReadWindow(int height) {
    std::vector<uint8_t> pixels(size_t{kWidth} * height * 4);
    glReadPixels(0, 0, kWidth, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

int SceneWindowTest::DifferingPixels(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size()) {
        return -1;
    }
    int count = 0;
    for (size_t i = 0; i + 3 < a.size(); i += 4) {
        count += std::memcmp(&a[i], &b[i], 4) != 0 ? 1 : 0;
    }
    return count;
}

std::string PathName(const ::testing::TestParamInfo<bool>& info) {
    return info.param ? "batched" : "perMesh";
}

Sprite* SceneWindowTest::AddSprite(SceneNode* parent, Texture* texture, int layers,
                                   bool layerZeroOnTop) {
    sprites.push_back(std::make_unique<Sprite>(env));
    Sprite* sprite = sprites.back().get();
    EXPECT_TRUE(sprite->init(layers, layerZeroOnTop));
    for (int layer = 0; layer < layers && texture != nullptr; ++layer) {
        sprite->getLayerMaterial(layer)->setTexture(0, texture);
    }
    parent->addChild(sprite, true);
    return sprite;
}

}  // namespace kesto::test
