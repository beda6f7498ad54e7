// Bitmap and NativeBitmap follow the same rules; the typed tests run every shared rule on both,
// each with its own log tag, priority and counters.
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::CountersRestored;
using test::LogCapture;
using test::ResourceCounters;
using Strings = std::vector<std::string>;
using Held = std::pair<int32_t, int32_t>;  // buffers, bytes

// Where a class logs and which counters pay for its buffers.
struct Kind {
    const char* tag;
    char priority;
    const char* arrays;
    const char* bytes;
};

template <class B>
bool IsEmpty(const B& b) {
    return b.buffer == nullptr && (b.pixelFormat | b.width | b.height | b.scanlineBytes) == 0 &&
           b.bufferBytes == 0;
}

template <class B>
class PixelBufferTest : public ::testing::Test {
  protected:
    // Buffers and bytes taken since the test began.
    Held held() {
        const ResourceCounters now = ResourceCounters::Now();
        return {now[k.arrays] - start[k.arrays], now[k.bytes] - start[k.bytes]};
    }
    Strings logged() { return log.messages(k.tag); }

    const Kind k = std::is_same_v<B, Bitmap>
                       ? Kind{"KestoBmp", 'E', "new[]", "BitmapBytes"}
                       : Kind{"SNATIVEBITMAP", 'D', "nbmp new[]", "NBitmapBytes"};
    CountersRestored restored;
    const ResourceCounters start = ResourceCounters::Now();
    LogCapture log;
};
using PixelBufferTypes = ::testing::Types<Bitmap, NativeBitmap>;
TYPED_TEST_SUITE(PixelBufferTest, PixelBufferTypes);

TEST(PixelFormatTest, RowsRoundUpToEvenAndOverflowIsRefused) {
    const int32_t formats[] = {PIXEL_FORMAT_RGB565, PIXEL_FORMAT_RGBA5551, PIXEL_FORMAT_RGB888,
                               PIXEL_FORMAT_RGBA8888};
    const int32_t rows[] = {6, 6, 10, 12};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rows[i], ScanlineBytes(formats[i], 3));
        EXPECT_EQ(5 * rows[i], BufferBytes(formats[i], 3, 5));
    }
    EXPECT_EQ(0, BufferBytes(PIXEL_FORMAT_RGB888, 0, 5));
    EXPECT_EQ(-1, ScanlineBytes(PIXEL_FORMAT_RGB565, -1));
    EXPECT_EQ(-1, BufferBytes(PIXEL_FORMAT_RGB565, 1, -1));
    EXPECT_EQ(-1, BufferBytes(PIXEL_FORMAT_RGBA8888, 70000, 70000));
    // 3 * 715827882 = 2147483646 fits; one pixel more does not, nor does its odd row rounded up.
    EXPECT_EQ(2147483646, ScanlineBytes(PIXEL_FORMAT_RGB888, 715827882));
    EXPECT_EQ(-1, ScanlineBytes(PIXEL_FORMAT_RGB888, 715827883));
    EXPECT_EQ(-1, ScanlineBytes(0x10000, 0x7FFFFFFF));  // fits, but not once rounded up to even
}

TYPED_TEST(PixelBufferTest, AllocateSizesReusesAndRefuses) {
    TypeParam b;
    ASSERT_TRUE(b.allocateBitmap(PIXEL_FORMAT_RGB888, 3, 5));
    EXPECT_EQ(Held(1, 50), this->held());
    // A released buffer's first bytes go to the allocator's bookkeeping, so the mark shows reuse.
    uint8_t* first = b.buffer;
    first[0] = 0xA5;
    ASSERT_TRUE(b.allocateBitmap(PIXEL_FORMAT_RGB888, 3, 5));
    EXPECT_EQ(first, b.buffer);
    EXPECT_EQ(0xA5, b.buffer[0]);
    ASSERT_TRUE(b.allocateBitmap(PIXEL_FORMAT_RGBA8888, 3, 1));
    // Refusals leave the bitmap as it was and allocate nothing, overflow included.
    EXPECT_FALSE(b.allocateBitmap(PIXEL_FORMAT_RGB565, 0, 4));
    EXPECT_FALSE(b.allocateBitmap(PIXEL_FORMAT_RGB565, 4, -1));
    EXPECT_FALSE(b.allocateBitmap(PIXEL_FORMAT_RGBA8888, 70000, 70000));
    EXPECT_EQ(PIXEL_FORMAT_RGBA8888, b.pixelFormat);
    EXPECT_EQ(12, b.bufferBytes);
    EXPECT_EQ(Held(1, 12), this->held());
    b.free();
    EXPECT_TRUE(IsEmpty(b));
    EXPECT_EQ(Held(0, 0), this->held());
    EXPECT_EQ(Strings(3, "allocateBitmap NG - error parameter"), this->logged());
}

TYPED_TEST(PixelBufferTest, SetBitmapNeedsTheEvenRoundedLayout) {
    std::vector<uint8_t> rows(20);
    std::iota(rows.begin(), rows.end(), 1);
    TypeParam b, copy;
    ASSERT_TRUE(b.setBitmap(PIXEL_FORMAT_RGB888, 3, 2, rows.data(), 20));
    EXPECT_NE(rows.data(), b.buffer);
    ASSERT_TRUE(copy.copyFrom(b));
    EXPECT_EQ(rows, std::vector<uint8_t>(copy.buffer, copy.buffer + 20));
    EXPECT_EQ(Held(2, 40), this->held());

    // Nine bytes a row: the source's own scanline is never taken.
    EXPECT_FALSE(b.setBitmap(PIXEL_FORMAT_RGB888, 3, 2, rows.data(), 18));
    EXPECT_TRUE(IsEmpty(b));
    // Parameter errors, overflow among them, leave the bitmap untouched.
    EXPECT_FALSE(copy.setBitmap(PIXEL_FORMAT_RGB565, 0, 1, nullptr, 6));
    EXPECT_FALSE(copy.setBitmap(PIXEL_FORMAT_RGBA8888, 70000, 70000, rows.data(), 20));
    EXPECT_FALSE(copy.setBitmap(PIXEL_FORMAT_RGB888, 3, 2, rows.data(), 0));
    EXPECT_EQ(Held(1, 20), this->held());

    char source[24];
    std::snprintf(source, sizeof source, "%08" PRIXPTR, reinterpret_cast<uintptr_t>(rows.data()));
    const std::string refused = "setBitmap NG - error parameter ";
    EXPECT_EQ(
        (Strings{"setBitmap NG - buffer bytes error 10 20 18", refused + "00025650 0,1 00000000,6",
                 refused + "00148888 70000,70000 " + source + ",20",
                 refused + "00038880 3,2 " + source + ",0"}),
        this->logged());
}

TYPED_TEST(PixelBufferTest, InfoValidationOrderAndMessages) {
    uint8_t dummy[8] = {};
    auto valid = [&](int32_t format, int32_t w, int32_t h, int32_t scan, uint8_t* p, int32_t n) {
        return TypeParam::IsBitmapInfoValid(BitmapInfo{format, w, h, scan, p, n});
    };
    EXPECT_TRUE(valid(0x30000, 2, 1, 6, dummy, 6));  // any 3-byte code
    EXPECT_FALSE(valid(0x10000, 0, 0, 0, nullptr, 0));
    EXPECT_FALSE(valid(0x50000, 1, 1, 10, dummy, 10));
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGB565, 2, 0, 0, nullptr, 0));
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGB888, 3, 1, 8, nullptr, 0));
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGB888, 3, 1, 9, nullptr, 0));
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGB888, 3, 2, 9, dummy, 17));
    // Products that wrap in 32 bits: 4 * 2^30 and 65536 * 65536.
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGBA8888, 1 << 30, 1, 0x7FFFFFFF, dummy, 0x7FFFFFFF));
    EXPECT_FALSE(valid(PIXEL_FORMAT_RGB565, 2, 65536, 65536, dummy, 8));
    EXPECT_EQ((Strings{"Invalid pixel format - 00010000", "Invalid pixel format - 00050000",
                       "Invalid size - 2 0", "Invalid scanline bytes - 8  00038880 3",
                       "Invalid buffer.", "Invalid buffer bytes - 17  9 2",
                       "Invalid scanline bytes - 2147483647  00148888 1073741824",
                       "Invalid buffer bytes - 8  65536 65536"}),
              this->logged());
    EXPECT_TRUE(this->log.has(this->k.tag, this->k.priority, "Invalid buffer."));
}

TYPED_TEST(PixelBufferTest, BordersClearOnlyTheChosenEdgesAlphaBits) {
    TypeParam b;
    for (const auto& [w, h] : {std::pair(1, 1), std::pair(4, 3)}) {
        ASSERT_TRUE(b.allocateBitmap(PIXEL_FORMAT_RGBA5551, w, h));
        for (int edge : {0, 1, 2, 4, 8, 15}) {
            std::memset(b.buffer, 0xFF, b.bufferBytes);
            ASSERT_TRUE(b.addTransparentBordersForAntiAliasing(edge));
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) {
                    const bool onEdge = ((edge & 1) && x == 0) || ((edge & 2) && x == w - 1) ||
                                        ((edge & 4) && y == 0) || ((edge & 8) && y == h - 1);
                    const auto* row = reinterpret_cast<uint16_t*>(b.buffer + y * b.scanlineBytes);
                    EXPECT_EQ(onEdge ? 0xFFFE : 0xFFFF, row[x])
                        << w << "x" << h << " edges " << edge << " at " << x << "," << y;
                }
            }
        }
    }
    TypeParam empty, opaque;
    ASSERT_TRUE(opaque.allocateBitmap(PIXEL_FORMAT_RGB565, 2, 2));
    EXPECT_FALSE(empty.addTransparentBordersForAntiAliasing(1));
    EXPECT_FALSE(opaque.addTransparentBordersForAntiAliasing(15));
    EXPECT_EQ((Strings{"Invalid pixel format - 00000000",
                       "addTransparentBordersForAntiAliasing invalid bitmap info",
                       "addTransparentBordersForAntiAliasing unsupported pixel format: 00025650"}),
              this->logged());
}

TYPED_TEST(PixelBufferTest, Rgb565ToRgba5551KeepsRedAndGreenAndMovesBlue) {
    // Two pixels a row, with row padding on both sides that must stay as it is.
    uint16_t in[2][4] = {{0xFFFF, 0x0020, 0x1234, 0x1234}, {0x001F, 0xF800, 0x1234, 0x1234}};
    uint16_t out[2][3] = {{0, 0, 0x5555}, {0, 0, 0x5555}};
    BitmapInfo src{PIXEL_FORMAT_RGB565, 2, 2, 8, reinterpret_cast<uint8_t*>(in), 16};
    BitmapInfo dst{PIXEL_FORMAT_RGBA5551, 2, 2, 6, reinterpret_cast<uint8_t*>(out), 12};
    ASSERT_TRUE(TypeParam::ConvertPixelFormatFromRGB565ToRGBA5551(src, &dst));
    // The refusals write nothing; only a wrong format or size is logged.
    EXPECT_FALSE(TypeParam::ConvertPixelFormatFromRGB565ToRGBA5551(src, nullptr));
    EXPECT_FALSE(TypeParam::ConvertPixelFormatFromRGB565ToRGBA5551(dst, &dst));
    dst.height = 3;
    EXPECT_FALSE(TypeParam::ConvertPixelFormatFromRGB565ToRGBA5551(src, &dst));
    EXPECT_EQ((std::vector<uint16_t>{0xFFFF, 0x0001, 0x5555, 0x003F, 0xF801, 0x5555}),
              std::vector<uint16_t>(out[0], out[0] + 6));
    EXPECT_EQ((Strings{"RGB565ToRGBA5551 pixel format NG - 00025551 00025551",
                       "RGB565ToRGBA5551 size NG - 2,2 2,3"}),
              this->logged());
}

using NativeBitmapTest = PixelBufferTest<NativeBitmap>;

TEST_F(NativeBitmapTest, ExternalBuffersAreWrappedNeverOwned) {
    std::vector<uint8_t> foreign(20, 0x3C);
    NativeBitmap* wrapper = new NativeBitmap;
    EXPECT_FALSE(wrapper->referToExternalBitmap(PIXEL_FORMAT_RGB888, 3, 2, foreign.data(), 18));
    EXPECT_TRUE(IsEmpty(*wrapper));
    EXPECT_FALSE(wrapper->referToExternalBitmap(PIXEL_FORMAT_RGB888, 0, 2, foreign.data(), 20));
    ASSERT_TRUE(wrapper->referToExternalBitmap(PIXEL_FORMAT_RGB888, 3, 2, foreign.data(), 20));
    EXPECT_TRUE(wrapper->isExternal && wrapper->buffer == foreign.data());
    EXPECT_EQ(10, wrapper->scanlineBytes);

    NativeBitmap owned, other;
    ASSERT_TRUE(owned.copyFrom(*wrapper));
    EXPECT_TRUE(!owned.isExternal && owned.buffer != foreign.data());
    EXPECT_EQ(0x3C, owned.buffer[19]);
    EXPECT_EQ(Held(1, 20), held());
    EXPECT_EQ(3, ResourceCounters::Now()["NBitmap"] - start["NBitmap"]);
    // The external flag travels with its buffer, which is never freed.
    ASSERT_TRUE(other.allocateBitmap(PIXEL_FORMAT_RGB565, 2, 2));
    other.swapBitmap(wrapper);
    EXPECT_TRUE(other.isExternal && !wrapper->isExternal);
    other.swapBitmap(wrapper);
    delete wrapper;
    EXPECT_EQ(Held(2, 28), held());
    EXPECT_EQ(
        (Strings{"referToExternalBitmap: failed", "referToExternalBitmap NG - error parameter",
                 "referToExternalBitmap: success"}),
        logged());
    EXPECT_TRUE(log.has("SNATIVEBITMAP", 'D', "referToExternalBitmap: success"));

    // Handing the buffer over leaves the counters to FreeBuffer.
    uint8_t* kept = owned.buffer;
    const int32_t keptBytes = owned.bufferBytes;
    owned.freeButKeepBuffer();
    EXPECT_TRUE(IsEmpty(owned));
    EXPECT_EQ(Held(2, 28), held());
    NativeBitmap::FreeBuffer(kept, keptBytes);
    NativeBitmap::FreeBuffer(nullptr, 99);
    EXPECT_EQ(Held(1, 8), held());
}

}  // namespace
}  // namespace kesto
