// A producer thread racing the render thread through the lock-free hand-over. Also built with
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "image/Texture.h"
#include "image/ThreadEventQueue.h"
#include "scene/Sprite.h"
#include "tests/support/GlFixture.h"
#include "tests/support/SceneWindow.h"

namespace kesto {
namespace {

struct Payload {
    uint32_t sequence = 0;
    uint32_t words[63] = {};
};

TEST(HandOverTest, QueueDeliversEveryItemWholeAndInOrder) {
    test::CountersRestored restored;
    constexpr uint32_t kItems = 20000;
    ThreadEventQueue<Payload> queue;
    ASSERT_TRUE(queue.init());
    std::thread producer([&queue] {
        for (uint32_t sequence = 1; sequence <= kItems; ++sequence) {
            ThreadEventQueue<Payload>::Item* item;
            while ((item = queue.pushBegin()) == nullptr) {
                std::this_thread::yield();
            }
            item->value.sequence = sequence;
            for (uint32_t& word : item->value.words) {
                word = sequence;
            }
            queue.pushEnd(item);
        }
    });
    uint32_t expected = 1;
    while (expected <= kItems) {
        ThreadEventQueue<Payload>::Item* item = queue.popBegin();
        if (item == nullptr) {
            std::this_thread::yield();
            continue;
        }
        ASSERT_EQ(expected, item->value.sequence);
        for (uint32_t word : item->value.words) {
            ASSERT_EQ(expected, word) << "torn item";
        }
        queue.popEnd(item);
        ++expected;
    }
    producer.join();
    EXPECT_EQ(nullptr, queue.popBegin());
    queue.deinit();
}

using TextureHandOverTest = test::GlTest;

// Joins the thread however the test leaves its scope.
struct Joined {
    std::thread thread;
    std::atomic<bool>* stop;
    ~Joined() {
        stop->store(true);
        thread.join();
    }
};

TEST_F(TextureHandOverTest, EveryFrameShowsOneWholeBitmapAndOnlyNewerOnes) {
    constexpr int kBitmaps = 1500;
    constexpr int kSide = 8;
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    std::atomic<bool> done{false};
    std::atomic<bool> stop{false};
    // Each pixel carries the bitmap's sequence number: low byte, high byte, low, high.
    Joined producer{
        std::thread([&texture, &done, &stop] {
            Bitmap bitmap;
            for (int sequence = 1; sequence <= kBitmaps && !stop; ++sequence) {
                if (!bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, kSide, kSide)) {
                    break;
                }
                for (int i = 0; i < bitmap.bufferBytes; ++i) {
                    bitmap.buffer[i] = (sequence >> (8 * (i & 1))) & 0xFF;
                }
                while (!texture.setupByBitmap(&bitmap, true) && !stop) {
                    std::this_thread::yield();  // ring full: the render thread is behind
                }
            }
            done.store(true, std::memory_order_release);
        }),
        &stop};
    int frames = 0;
    int previous = 0;
    bool finished = false;
    while (!finished) {
        finished = done.load(std::memory_order_acquire);
        if (!texture.createRenderTexture()) {
            continue;
        }
        ASSERT_NE(0u, texture.renderTextureHandle) << "frame " << frames;
        const std::vector<uint8_t> pixels =
            test::ReadTexture(texture.renderTextureHandle, 0, 0, kSide, kSide);
        ASSERT_EQ(static_cast<size_t>(kSide * kSide * 4), pixels.size());
        for (size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(pixels[i & 1], pixels[i]) << "frame " << frames << " mixes two bitmaps";
        }
        // Only newer bitmaps replace what is shown.
        const int sequence = pixels[0] | pixels[1] << 8;
        ASSERT_GT(sequence, previous) << "frame " << frames;
        previous = sequence;
        ++frames;
    }
    EXPECT_EQ(kBitmaps, previous) << "the last bitmap is shown last";
    EXPECT_GE(frames, 2);
}

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
