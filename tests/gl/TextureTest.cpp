#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::LogCapture;
using test::ReadTexture;
using TextureTest = test::GlTest;
using Rgba = std::vector<uint8_t>;

void FillUniform(Bitmap* bitmap, int width, int height, uint8_t value) {
    ASSERT_TRUE(bitmap->allocateBitmap(PIXEL_FORMAT_RGBA8888, width, height));
    std::memset(bitmap->buffer, value, bitmap->bufferBytes);
}

// Realises a uniform bitmap of the given size into `texture` with `recorded` in its size slot, as
// the Java side may set it between the setup and the upload.
void RealizeRecorded(Texture* texture, int width, int height, int32_t recorded) {
    Bitmap bitmap;
    FillUniform(&bitmap, width, height, 0x80);
    ASSERT_TRUE(texture->init());
    ASSERT_TRUE(texture->setupByBitmap(&bitmap, false));
    texture->info[Texture::INFO_TEXTURE_SIZE] = recorded;
    texture->info[Texture::INFO_CONTENT_SIZE] = 5;
    ASSERT_TRUE(texture->createRenderTexture());
}

Rgba Realized(Texture& texture, int width, int height) {
    EXPECT_NE(0u, texture.renderTextureHandle);
    return ReadTexture(texture.renderTextureHandle, 0, 0, width, height);
}

TEST_F(TextureTest, EachFormatUploadsItsPixels) {
    // Three pixels a row (odd rows: 6, 6, 10 and 12 bytes), two rows; 16-bit pixels little-endian.
    const Rgba reds{255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255};  // red, green, blue
    const Rgba secondRow{255, 255, 255, 255, 0, 0, 0, 255, 255, 0, 0, 255};
    const struct {
        int format;
        Rgba bytes, secondRowShown;
    } cases[] = {
        {PIXEL_FORMAT_RGB565, {0, 0xF8, 0xE0, 7, 0x1F, 0, 0xFF, 0xFF, 0, 0, 0, 0xF8}, secondRow},
        {PIXEL_FORMAT_RGBA5551,
         {1, 0xF8, 0xC1, 7, 0x3F, 0, 0xFE, 0xFF, 1, 0, 1, 0xF8},
         {255, 255, 255, 0, 0, 0, 0, 255, 255, 0, 0, 255}},
        {PIXEL_FORMAT_RGB888,
         {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 255, 0, 0},
         secondRow},
        {PIXEL_FORMAT_RGBA8888,
         {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.format);
        Bitmap bitmap;
        ASSERT_TRUE(bitmap.allocateBitmap(c.format, 3, 2));
        const size_t row = c.bytes.size() / 2;
        for (int y = 0; y < 2; ++y) {
            std::memcpy(bitmap.buffer + y * bitmap.scanlineBytes, &c.bytes[y * row], row);
        }
        Texture texture(env);
        ASSERT_TRUE(texture.init());
        ASSERT_TRUE(texture.setupByBitmap_InRenderThread(&bitmap, false));
        ASSERT_TRUE(texture.createRenderTexture());
        EXPECT_EQ(c.format, texture.pixelFormat);
        EXPECT_EQ(bitmap.bufferBytes, texture.textureBytes);
        Rgba expected = reds;
        expected.insert(expected.end(), c.secondRowShown.begin(), c.secondRowShown.end());
        EXPECT_EQ(expected, Realized(texture, 3, 2));
        EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    }
}

TEST_F(TextureTest, ALargerTextureHoldsTheBitmapAtItsOriginAndTakesSubImages) {
    Texture texture(env);
    const int32_t bytesBefore = Texture::GLTexturesBytes;
    RealizeRecorded(&texture, 200, 100, (256 << 16) | 256);
    EXPECT_EQ(256, texture.textureWidth());
    EXPECT_EQ(200 * 100 * 4, texture.textureBytes);
    EXPECT_EQ(bytesBefore + 200 * 100 * 4, Texture::GLTexturesBytes);
    const Rgba inside = ReadTexture(texture.renderTextureHandle, 199, 99, 1, 1);
    EXPECT_EQ((Rgba{0x80, 0x80, 0x80, 0x80}), inside);

    // A 4x2 patch at (250, 254) reaches the texture's far corner.
    Bitmap patch;
    FillUniform(&patch, 4, 2, 0x11);
    ASSERT_TRUE(texture.realizeSubTexture(250, 254, patch.getBitmapInfo()));
    EXPECT_EQ(Rgba(4 * 2 * 4, 0x11), ReadTexture(texture.renderTextureHandle, 250, 254, 4, 2));
    EXPECT_EQ(inside, ReadTexture(texture.renderTextureHandle, 199, 99, 1, 1));

    LogCapture log;
    EXPECT_FALSE(texture.realizeSubTexture(253, 254, patch.getBitmapInfo()));
    EXPECT_TRUE(log.has("KestoTexture", 'E',
                        "realizeSubTexture texture size is smaller than bitmap NG, texture(256 "
                        "256) dest(253 254) bitmap(4 2)"));
    Bitmap other;
    ASSERT_TRUE(other.allocateBitmap(PIXEL_FORMAT_RGB565, 2, 2));
    EXPECT_FALSE(texture.realizeSubTexture(0, 0, other.getBitmapInfo()));
    EXPECT_TRUE(log.has("KestoTexture", 'E',
                        "realizeSubTexture pixelFormat NG, texture:148888 bitmat:25650"));
    EXPECT_NE(0u, texture.renderTextureHandle) << "refusals before the upload keep the texture";
}

TEST_F(TextureTest, TheRecordedSizeIsTheTextureSizeAndOnlyReadingPastTheBitmapIsRefused) {
    // Smaller than the bitmap: a 64x64 texture, whose sub-image GL refuses; the slots stay.
    Texture texture(env);
    RealizeRecorded(&texture, 100, 100, (64 << 16) | 64);
    EXPECT_EQ(GLenum(GL_INVALID_VALUE), glGetError());
    EXPECT_EQ((64 << 16) | 64, texture.info[Texture::INFO_TEXTURE_SIZE].load());
    EXPECT_EQ(5, texture.info[Texture::INFO_CONTENT_SIZE].load());
    EXPECT_EQ(64u * 64 * 4, Realized(texture, 64, 64).size());

    // A buffer shorter than its rows at the upload's alignment would be read past its end.
    const int32_t count = Texture::GLTexturesCount;
    uint8_t pixels[64] = {};
    LogCapture log;
    EXPECT_FALSE(
        texture.createRenderTextureImpl(4, 4, 4, 4, PIXEL_FORMAT_RGBA8888, 16, 60, pixels));
    EXPECT_TRUE(
        log.has("KestoTexture", 'E',
                "texture upload NG - a 4x4 bitmap is read as 64 bytes, its buffer holds 60"));
    EXPECT_EQ(count - 1, Texture::GLTexturesCount) << "the old name goes, no new one is made";
    EXPECT_EQ(0u, texture.renderTextureHandle);
    EXPECT_TRUE(texture.createRenderTextureImpl(3, 2, 3, 2, PIXEL_FORMAT_RGB888, 10, 20, pixels));
}

TEST_F(TextureTest, PrecedenceIsNativeThenRenderThreadThenNewestQueued) {
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    Bitmap first, second, third, renderThread;
    FillUniform(&first, 2, 2, 1);
    FillUniform(&second, 2, 2, 2);
    FillUniform(&third, 2, 2, 3);
    FillUniform(&renderThread, 2, 2, 4);
    {
        LogCapture log;
        ASSERT_TRUE(texture.setupByBitmap(&first, false));
        ASSERT_TRUE(texture.setupByBitmap(&second, true));
        EXPECT_EQ(0, second.bufferBytes) << "swapped with the empty queue item";
        EXPECT_FALSE(texture.setupByBitmap(&third, false));
        EXPECT_TRUE(log.has("KestoTEQ", 'E', "push begin when full"));
        EXPECT_TRUE(log.has("KestoTexture", 'E', "input bitmap queue full"));
    }
    ASSERT_TRUE(texture.createRenderTexture());
    EXPECT_EQ(Rgba(16, 2), Realized(texture, 2, 2)) << "only the newest queued bitmap";

    const GLuint kept = texture.renderTextureHandle;
    EXPECT_FALSE(texture.createRenderTexture()) << "nothing pending";
    EXPECT_EQ(kept, texture.renderTextureHandle);

    ASSERT_TRUE(texture.setupByBitmap(&first, false));
    ASSERT_TRUE(texture.setupByBitmap_InRenderThread(&renderThread, false));
    ASSERT_TRUE(texture.createRenderTexture());
    EXPECT_EQ(Rgba(16, 4), Realized(texture, 2, 2));
    EXPECT_EQ(nullptr, texture.inputBitmapsQueue.popBegin()) << "the queued one was dropped";

    NativeBitmap native;
    ASSERT_TRUE(native.allocateBitmap(PIXEL_FORMAT_RGBA8888, 2, 2));
    std::memset(native.buffer, 5, native.bufferBytes);
    ASSERT_TRUE(texture.setupByBitmap(&first, false));
    ASSERT_TRUE(texture.setupByBitmap_InRenderThread(&renderThread, false));
    ASSERT_TRUE(texture.setupByNativeBitmap(&native, false));
    ASSERT_TRUE(texture.createRenderTexture());
    EXPECT_EQ(Rgba(16, 5), Realized(texture, 2, 2));
    EXPECT_FALSE(texture.inputBitmapInRenderThreadValid);
    EXPECT_EQ(0, texture.inputBitmapInRenderThread.bufferBytes);
}

TEST_F(TextureTest, RawBuffersUploadAtOnceUnlessSomethingIsPending) {
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    Bitmap pixels;
    FillUniform(&pixels, 2, 2, 9);
    ASSERT_TRUE(texture.setupByRawBufferAndRealize(pixels.getBitmapInfo()));
    EXPECT_EQ(Rgba(16, 9), Realized(texture, 2, 2));

    LogCapture log;
    BitmapInfo broken = pixels.getBitmapInfo();
    broken.buffer = nullptr;
    EXPECT_FALSE(texture.setupByRawBufferAndRealize(broken));
    ASSERT_TRUE(texture.setupByBitmap_InRenderThread(&pixels, false));
    EXPECT_FALSE(texture.setupByRawBufferAndRealize(pixels.getBitmapInfo()));
    const std::vector<std::string> messages = log.messages("KestoTexture");
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(0u, messages[0].rfind("setupByRawBufferAndRealize NG - bitmapInfo invalid 2,2 "
                                    "00148888 8 16 ",
                                    0))
        << messages[0];
    EXPECT_EQ("setupByRawBufferAndRealize NG - inputBitmapInRenderThreadValid", messages[1]);
}

TEST_F(TextureTest, SecondInitTearsDownAndOesTexturesKeepTheirTransform) {
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    texture.setTextureTransform(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    ASSERT_NE(nullptr, texture.textureTransform);
    EXPECT_EQ(13.0f, texture.textureTransform->m[12]);
    const int32_t before = Texture::GLTexturesCount;
    const GLuint name = texture.createOESTexture();
    EXPECT_NE(0u, name);
    EXPECT_TRUE(texture.isOESTexture);
    EXPECT_EQ(before + 1, Texture::GLTexturesCount);
    EXPECT_EQ(0, texture.pixelFormat);

    LogCapture log;
    EXPECT_FALSE(texture.init());
    EXPECT_TRUE(log.has("KestoTEQ", 'E', "Already init."));
    EXPECT_TRUE(log.has("KestoTexture", 'E', "input bitmaps queue init NG"));
    EXPECT_EQ(nullptr, texture.inputBitmapsQueue.items);
    EXPECT_EQ(nullptr, texture.textureTransform);
    EXPECT_EQ(before, Texture::GLTexturesCount);
    EXPECT_TRUE(texture.isOESTexture) << "never cleared";
    Bitmap any;
    FillUniform(&any, 1, 1, 0);
    EXPECT_FALSE(texture.setupByBitmap(&any, false)) << "no queue after the teardown";
    EXPECT_TRUE(
        log.has("KestoTexture", 'E', "setupByBitmap NG - the texture's queue is not set up"));
    EXPECT_FALSE(log.has("KestoTEQ", 'E', "push begin when full"));
}

TEST_F(TextureTest, FailedUploadsStillReleaseTheNameTheyMade) {
    // An unsupported format is found after a name was generated but before it was counted; the
    // release still counts it, so the statistics drop by one. Kept as the engine always did.
    Texture texture(env);
    ASSERT_TRUE(texture.init());
    const int32_t before = Texture::GLTexturesCount;
    LogCapture log;
    uint8_t pixels[16] = {};
    EXPECT_FALSE(texture.createRenderTextureImpl(2, 2, 2, 2, 0x30000, 6, 12, pixels));
    EXPECT_TRUE(log.has("KestoTexture", 'E', "Unsupported pixel format 00030000"));
    EXPECT_EQ(before - 1, Texture::GLTexturesCount);
    // A size the packed slots cannot hold is named as the problem, not the format.
    EXPECT_FALSE(texture.realizeBlankTexture(PIXEL_FORMAT_RGBA8888, 0x10000, 1));
    EXPECT_TRUE(log.has("KestoTexture", 'E',
                        "realizeBlankTexture NG - size 65536x1 beyond 65535 a side, or its byte "
                        "count overflows"));
    EXPECT_EQ(before - 2, Texture::GLTexturesCount);
    Texture::GLTexturesCount += 2;  // give the fixture's balance back
    // A thread without the context is refused before it touches anything.
    ASSERT_TRUE(texture.realizeBlankTexture(PIXEL_FORMAT_RGBA8888, 2, 2));
    std::thread([&] {
        EXPECT_FALSE(texture.realizeBlankTexture(PIXEL_FORMAT_RGB565, 4, 4));
    }).join();
    EXPECT_TRUE(log.has("KestoTexture", 'E',
                        "realizeBlankTexture NG - no GL context is current on this thread"));
    EXPECT_EQ(PIXEL_FORMAT_RGBA8888, texture.pixelFormat);
}

}  // namespace
}  // namespace kesto
