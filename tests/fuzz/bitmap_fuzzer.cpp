// Bitmap and NativeBitmap under sequences of calls decoded from the input: allocation, setting,
// copying, swapping, freeing, external buffers, kept buffers, border clearing, info validation,
// 5-6-5 to 5-5-5-1 conversion and the size arithmetic. After every call each bitmap is compared
// with its model, byte for byte, and the buffer counters with what the models hold.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/PixelFormat.h"
#include "tests/fuzz/BitmapDriver.h"
#include "tests/fuzz/BitmapModel.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {
namespace {

constexpr int kPool = 3;

class Harness {
  public:
    explicit Harness(Reader& in) : in_(in), driver_(in), base_(BitmapCounters()) {}

    ~Harness() {
        for (Kept& k : kept_) {
            NativeBitmap::FreeBuffer(k.buffer, k.bytes);
        }
    }

    void step() {
        ops_[in_.u8() % ops_.size()]();
        checkAll();
    }

  private:
    struct Kept {
        uint8_t* buffer;
        int32_t bytes;
        Bytes content;
    };

    // The caller reads the buffer first and later hands it to FreeBuffer.
    void freeButKeep() {
        auto [bitmap, m] = natives_.pick(in_);
        uint8_t* buffer = bitmap.buffer;
        const int32_t bytes = bitmap.bufferBytes;
        const bool external = bitmap.isExternal;
        bitmap.freeButKeepBuffer();
        if (buffer != nullptr && !external) {
            kept_.push_back(Kept{buffer, bytes, ContentOf(m)});
        }
        m = BitmapModel();
    }

    void freeKept() {
        if (kept_.empty()) {
            NativeBitmap::FreeBuffer(nullptr, in_.i32());
            return;
        }
        const size_t i = in_.u8() % kept_.size();
        Kept k = std::move(kept_[i]);
        kept_.erase(kept_.begin() + static_cast<ptrdiff_t>(i));
        // Still alive and untouched until now.
        FUZZ_CHECK(k.bytes == 0 || std::memcmp(k.buffer, k.content.data(), k.bytes) == 0);
        NativeBitmap::FreeBuffer(k.buffer, k.bytes);
    }

    // Any info at all: the check reads fields only.
    void validate() {
        BitmapInfo info;
        info.pixelFormat = Format(in_);
        info.width = Dimension(in_);
        info.height = Dimension(in_);
        const int64_t bpp = ModelBytesPerPixel(info.pixelFormat);
        const int scanline = in_.u8() % 4;
        info.scanlineBytes = scanline == 0
                                 ? static_cast<int32_t>(ModelScanline(info.pixelFormat, info.width))
                             : scanline == 1 ? static_cast<int32_t>(bpp * info.width - 1)
                             : scanline == 2 ? in_.i32()
                                             : in_.u8();
        const uint8_t mode = in_.u8();
        Block block = ReadBlock(in_, in_.u16() % 1024);
        info.buffer = mode & 1 ? nullptr : block.memory.get();
        const int bytes = (mode >> 1) % 3;
        info.bufferBytes = bytes == 0 ? block.size
                           : bytes == 1
                               ? static_cast<int32_t>(int64_t{info.scanlineBytes} * info.height)
                               : in_.i32();
        const bool expected = ModelInfoValid(info);
        FUZZ_CHECK(Bitmap::IsBitmapInfoValid(info) == expected);
        FUZZ_CHECK(NativeBitmap::IsBitmapInfoValid(info) == expected);
    }

    // One side of a conversion: a pool bitmap's own info, or a buffer of the harness described
    // by an info that never claims more bytes than the buffer has.
    struct Side {
        BitmapInfo info;
        Block block;
        BitmapModel* model = nullptr;  // pool bitmap
    };

    Side side(int32_t likelyFormat) {
        Side s;
        if (in_.u8() % 3 == 0) {
            const int i = in_.u8() % kPool;
            s.model = &bitmaps_.models[i];
            s.info = bitmaps_.bitmaps[i].getBitmapInfo();
            return s;
        }
        const uint8_t mode = in_.u8();
        s.info.pixelFormat = mode % 4 != 0 ? likelyFormat : Format(in_);
        s.info.width = 1 + in_.u8() % 32;
        s.info.height = 1 + in_.u8() % 32;
        if (mode & 4) {
            s.info.width = Dimension(in_);
            s.info.height = Dimension(in_);
        }
        const int64_t scanline = 2 * int64_t{s.info.width} + in_.u8() % 5;
        const bool small = s.info.width > 0 && s.info.height > 0 &&
                           s.info.width <= kMaxBufferBytes && s.info.height <= kMaxBufferBytes;
        const int64_t needed = small ? scanline * s.info.height : -1;
        if (!small || needed > kMaxBufferBytes) {
            s.info.width = s.info.height = 0;  // refused by validation: the call is skipped
            s.info.scanlineBytes = 0;
            s.block = ReadBlock(in_, 0);
        } else {
            s.info.scanlineBytes = static_cast<int32_t>(scanline);
            s.block = ReadBlock(in_, static_cast<int32_t>(needed + in_.u8() % 3));
        }
        s.info.buffer = s.block.memory.get();
        s.info.bufferBytes = (mode & 8) ? static_cast<int32_t>(needed) : s.block.size;
        return s;
    }

    Bytes contentOf(const Side& s) const {
        return s.model != nullptr
                   ? ContentOf(*s.model)
                   : Bytes(s.block.memory.get(), s.block.memory.get() + s.block.size);
    }

    // As the engine's callers do it: both infos are checked first.
    void convert() {
        Side source = side(PIXEL_FORMAT_RGB565);
        Side target = side(PIXEL_FORMAT_RGBA5551);
        const bool native = in_.u8() & 1;
        if (in_.u8() % 16 == 0) {
            const bool result =
                native ? NativeBitmap::ConvertPixelFormatFromRGB565ToRGBA5551(source.info, nullptr)
                       : Bitmap::ConvertPixelFormatFromRGB565ToRGBA5551(source.info, nullptr);
            FUZZ_CHECK(!result);
            return;
        }
        if (!ModelInfoValid(source.info) || !ModelInfoValid(target.info)) {
            return;
        }
        const BitmapInfo& s = source.info;
        const BitmapInfo& t = target.info;
        const Bytes in = contentOf(source);
        Bytes out = contentOf(target);
        const bool expected = s.pixelFormat == PIXEL_FORMAT_RGB565 &&
                              t.pixelFormat == PIXEL_FORMAT_RGBA5551 && s.width == t.width &&
                              s.height == t.height;
        if (expected) {
            for (int64_t row = 0; row < s.height; ++row) {
                for (int64_t column = 0; column < s.width; ++column) {
                    const uint16_t p = Pixel16(&in[row * s.scanlineBytes + 2 * column]);
                    SetPixel16(&out[row * t.scanlineBytes + 2 * column], ModelRgb565ToRgba5551(p));
                }
            }
        }
        BitmapInfo written = t;
        const bool result = native
                                ? NativeBitmap::ConvertPixelFormatFromRGB565ToRGBA5551(s, &written)
                                : Bitmap::ConvertPixelFormatFromRGB565ToRGBA5551(s, &written);
        FUZZ_CHECK(result == expected);
        FUZZ_CHECK(std::memcmp(&written, &t, sizeof t) == 0);
        if (target.model != nullptr) {
            if (!out.empty()) {
                std::memcpy(target.model->content->data(), out.data(), out.size());
            }
        } else if (!out.empty()) {
            FUZZ_CHECK(std::memcmp(target.block.memory.get(), out.data(), out.size()) == 0);
        }
        if (source.model == nullptr && !in.empty()) {
            FUZZ_CHECK(std::memcmp(source.block.memory.get(), in.data(), in.size()) == 0);
        }
    }

    void sizes() {
        const int32_t format = in_.u8() & 1 ? Format(in_) : in_.i32();
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        FUZZ_CHECK(ScanlineBytes(format, width) == ModelScanline(format, width));
        FUZZ_CHECK(BufferBytes(format, width, height) == ModelBufferBytes(format, width, height));
    }

    void checkAll() {
        Tally bitmaps, natives;
        bitmaps_.check(bitmaps);
        natives_.check(natives);
        for (const Kept& k : kept_) {
            natives.bytes += k.bytes;
            ++natives.arrays;
        }
        CheckCounters(base_, BitmapCounters(),
                      {bitmaps.bytes, bitmaps.arrays, natives.bytes, natives.arrays, kPool, kPool});
    }

    Reader& in_;
    BitmapDriver driver_;
    const Counters base_;
    std::vector<Kept> kept_;
    Pool<Bitmap, kPool> bitmaps_;
    Pool<NativeBitmap, kPool> natives_;
    // The input's encoding of the operations: seeds depend on their order.
    const std::vector<std::function<void()>> ops_ = {
        [this] { driver_.allocate(bitmaps_); },
        [this] { driver_.set(bitmaps_); },
        [this] { driver_.copy(bitmaps_); },
        [this] { driver_.swap(bitmaps_); },
        [this] { driver_.free(bitmaps_); },
        [this] { driver_.clearBorders(bitmaps_); },
        [this] { driver_.allocate(natives_); },
        [this] { driver_.set(natives_); },
        [this] { driver_.copy(natives_); },
        [this] { driver_.swap(natives_); },
        [this] { driver_.free(natives_); },
        [this] { driver_.clearBorders(natives_); },
        [this] { driver_.referToExternal(natives_); },
        [this] { freeButKeep(); },
        [this] { freeKept(); },
        [this] { validate(); },
        [this] { convert(); },
        [this] { sizes(); },
    };
};

}  // namespace
}  // namespace fuzz
}  // namespace kesto

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kesto::fuzz::RunBitmapHarness<kesto::fuzz::Harness>(data, size, kesto::fuzz::BitmapCounters);
    return 0;
}
