// A producer thread racing the render thread through the lock-free hand-over. Also built with
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "image/Texture.h"
#include "scene/Sprite.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

// Joins the thread however the test leaves its scope.
struct Joined {
    std::thread thread;
    std::atomic<bool>* stop;
    ~Joined() {
        stop->store(true);
        thread.join();
    }
};

using DrawingHandOverTest = test::SceneWindowTest;

KESTO_ON_BOTH_PATHS(DrawingHandOverTest);

TEST_P(DrawingHandOverTest, ThousandsOfFramesEachShowOneWholeBitmap) {
    constexpr int kFrames = 2000;
    constexpr int kSide = 8;
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    Sprite* sprite = AddSprite(&scene->rootNode, &texture);
    sprite->initSpriteGeometry(0, kSide, kSide, 0, 0, 0);  // one texel a pixel
    std::atomic<bool> stop{false};
    std::atomic<int> queued{0};
    Joined producer{std::thread([&] {
                        Bitmap bitmap;
                        for (int sequence = 1; !stop; ++sequence) {
                            if (!bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, kSide, kSide)) {
                                return;
                            }
                            // Opaque, the sequence in red and green: blending leaves it as is.
                            for (int i = 0; i < bitmap.bufferBytes; i += 4) {
                                bitmap.buffer[i] = sequence & 0xFF;
                                bitmap.buffer[i + 1] = (sequence >> 8) & 0xFF;
                                bitmap.buffer[i + 2] = 0;
                                bitmap.buffer[i + 3] = 0xFF;
                            }
                            while (!texture.setupByBitmap(&bitmap, true) && !stop) {
                                std::this_thread::yield();
                            }
                            queued = sequence;
                        }
                    }),
                    &stop};
    int previous = 0, changes = 0;
    std::vector<uint8_t> pixels(kSide * kSide * 4);
    for (int frame = 0; frame < kFrames; ++frame) {
        window->render();
        glReadPixels(kWidth / 2 - kSide / 2, kHeight / 2 - kSide / 2, kSide, kSide, GL_RGBA,
                     GL_UNSIGNED_BYTE, pixels.data());
        window->present();
        if (texture.renderTextureHandle == 0) {
            continue;  // nothing arrived yet
        }
        for (size_t i = 0; i < pixels.size(); i += 4) {
            ASSERT_EQ(pixels[0], pixels[i]) << "frame " << frame << " mixes two bitmaps";
            ASSERT_EQ(pixels[1], pixels[i + 1]) << "frame " << frame << " mixes two bitmaps";
        }
        const int sequence = pixels[0] | pixels[1] << 8;
        ASSERT_GE(sequence, previous) << "frame " << frame << " went back";
        changes += sequence != previous;
        previous = sequence;
    }
    stop = true;
    EXPECT_GT(changes, kFrames / 20) << "the producer hardly got through";
    EXPECT_LE(previous, queued.load());
}

}  // namespace
}  // namespace kesto
