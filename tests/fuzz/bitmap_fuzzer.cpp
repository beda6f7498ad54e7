// Bitmap and NativeBitmap under sequences of calls decoded from the input: allocation, setting,
// copying, swapping, freeing, external buffers, kept buffers, border clearing, info validation,
// 5-6-5 to 5-5-5-1 conversion and the size arithmetic. After every call each bitmap is compared
// with its model, byte for byte, and the buffer counters with what the models hold.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/Accounting.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/PixelFormat.h"
#include "tests/fuzz/BitmapModel.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {
namespace {

constexpr int kPool = 3;

// An exactly sized heap copy of input bytes, so that any read past its end is reported.
struct Block {
    std::unique_ptr<uint8_t[]> memory;
    int32_t size = 0;
};

Block ReadBlock(Reader& in, int32_t size) {
    Block block;
    block.memory.reset(new uint8_t[size]);
    block.size = size;
    const size_t got = in.take(block.memory.get(), static_cast<size_t>(size));
    for (size_t i = got; i < static_cast<size_t>(size); ++i) {
        block.memory[i] = static_cast<uint8_t>(i * 7 + 3);
    }
    return block;
}

struct Counters {
    int32_t bitmapBytes, newArrays, nativeBytes, nativeArrays, bitmapCount, nativeCount;

    static Counters Now() {
        return Counters{Bitmap::BitmapBytes.load(),       g_newArrayCount.load(),
                        NativeBitmap::BitmapBytes.load(), g_newNBmpArrayCount.load(),
                        Bitmap::BitmapCount.load(),       NativeBitmap::BitmapCount.load()};
    }
};

class Harness {
  public:
    explicit Harness(Reader& in) : in_(in), base_(Counters::Now()) {}

    ~Harness() {
        for (Kept& k : kept_) {
            NativeBitmap::FreeBuffer(k.buffer, k.bytes);
        }
    }

    void step() {
        switch (in_.u8() % 18) {
            case 0:
                onBitmap([&](Bitmap& b, BitmapModel& m) { allocate(b, m); });
                break;
            case 1:
                onBitmap([&](Bitmap& b, BitmapModel& m) { set(b, m); });
                break;
            case 2: {
                const int from = in_.u8() % kPool;
                onBitmap([&](Bitmap& b, BitmapModel& m) {
                    DoCopy(b, m, bitmaps_[from], bitmapModels_[from]);
                });
                break;
            }
            case 3:
                swap(bitmaps_, bitmapModels_);
                break;
            case 4:
                onBitmap([&](Bitmap& b, BitmapModel& m) {
                    b.free();
                    m = EmptyModel();
                });
                break;
            case 5:
                onBitmap([&](Bitmap& b, BitmapModel& m) { DoClearBorders(b, m, in_.i32()); });
                break;
            case 6:
                onNative([&](NativeBitmap& b, BitmapModel& m) { allocate(b, m); });
                break;
            case 7:
                onNative([&](NativeBitmap& b, BitmapModel& m) { set(b, m); });
                break;
            case 8: {
                const int from = in_.u8() % kPool;
                onNative([&](NativeBitmap& b, BitmapModel& m) {
                    DoCopy(b, m, natives_[from], nativeModels_[from]);
                });
                break;
            }
            case 9:
                swap(natives_, nativeModels_);
                break;
            case 10:
                onNative([&](NativeBitmap& b, BitmapModel& m) {
                    b.free();
                    m = EmptyModel();
                });
                break;
            case 11:
                onNative([&](NativeBitmap& b, BitmapModel& m) { DoClearBorders(b, m, in_.i32()); });
                break;
            case 12:
                onNative([&](NativeBitmap& b, BitmapModel& m) { referToExternal(b, m); });
                break;
            case 13:
                onNative([&](NativeBitmap& b, BitmapModel& m) { freeButKeep(b, m); });
                break;
            case 14:
                freeKept();
                break;
            case 15:
                validate();
                break;
            case 16:
                convert();
                break;
            default:
                sizes();
                break;
        }
        checkAll();
    }

  private:
    struct External {
        Block block;
        std::shared_ptr<Bytes> content;
    };
    struct Kept {
        uint8_t* buffer;
        int32_t bytes;
        Bytes content;
    };

    template <class F>
    void onBitmap(F f) {
        const int i = in_.u8() % kPool;
        f(bitmaps_[i], bitmapModels_[i]);
    }

    template <class F>
    void onNative(F f) {
        const int i = in_.u8() % kPool;
        f(natives_[i], nativeModels_[i]);
    }

    template <class B>
    void allocate(B& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        DoAllocate(b, m, format, width, height, in_.u8());
    }

    // As the Java side does: a byte array of its real length, or none.
    template <class B>
    void set(B& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        const uint8_t mode = in_.u8();
        int64_t length = mode % 4 == 0 ? in_.u16() % 512 : ModelBufferBytes(format, width, height);
        if (length < 0 || length > kMaxBufferBytes) {
            length = in_.u16() % 512;
        }
        if (mode % 4 == 1 && length > 0) {
            --length;
        }
        Block source = ReadBlock(in_, static_cast<int32_t>(length));
        DoSet(b, m, format, width, height, mode % 8 == 7 ? nullptr : source.memory.get(),
              source.size);
    }

    template <class B>
    void swap(B (&pool)[kPool], BitmapModel (&models)[kPool]) {
        const int i = in_.u8() % kPool;
        const int j = in_.u8() % (kPool + 1);
        if (j == kPool) {
            pool[i].swapBitmap(nullptr);
            return;
        }
        pool[i].swapBitmap(&pool[j]);
        std::swap(models[i], models[j]);
    }

    External& external(int32_t wanted) {
        const uint8_t pick = in_.u8();
        if (!externals_.empty() && ((pick & 1) || externals_.size() >= 8)) {
            return externals_[(pick >> 1) % externals_.size()];
        }
        int64_t size = wanted;
        if ((pick & 2) || size < 0 || size > kMaxBufferBytes) {
            size = in_.u16() % 1024;
        }
        External e;
        e.block = ReadBlock(in_, static_cast<int32_t>(size));
        e.content =
            std::make_shared<Bytes>(e.block.memory.get(), e.block.memory.get() + e.block.size);
        externals_.push_back(std::move(e));
        return externals_.back();
    }

    void referToExternal(NativeBitmap& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        const int64_t expected = ModelBufferBytes(format, width, height);
        External& e = external(static_cast<int32_t>(expected));
        const uint8_t mode = in_.u8();
        // What the caller claims never exceeds what it really has.
        int32_t claimed = e.block.size;
        if (mode % 4 == 1) {
            claimed -= in_.u8() % 8;
        } else if (mode % 4 == 2) {
            const int32_t raw = in_.i32();
            claimed = raw <= e.block.size ? raw : claimed;
        }
        uint8_t* buffer = mode % 8 == 7 ? nullptr : e.block.memory.get();

        bool result = false;
        if (width >= 1 && height >= 1 && buffer != nullptr && expected >= 0) {
            m = EmptyModel();
            if (expected == claimed) {
                m.pixelFormat = format;
                m.width = width;
                m.height = height;
                m.scanlineBytes = static_cast<int32_t>(ModelScanline(format, width));
                m.bufferBytes = claimed;
                m.hasBuffer = true;
                m.external = true;
                m.externalBuffer = buffer;
                m.content = e.content;
                result = true;
            }
        }
        FUZZ_CHECK(b.referToExternalBitmap(format, width, height, buffer, claimed) == result);
        CheckBitmap(b, m);
    }

    // The caller reads the buffer first and later hands it to FreeBuffer.
    void freeButKeep(NativeBitmap& b, BitmapModel& m) {
        uint8_t* buffer = b.buffer;
        const int32_t bytes = b.bufferBytes;
        const bool external = b.isExternal;
        b.freeButKeepBuffer();
        if (buffer != nullptr && !external) {
            kept_.push_back(
                Kept{buffer, bytes, Bytes(m.content->begin(), m.content->begin() + bytes)});
        }
        m = EmptyModel();
        CheckBitmap(b, m);
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
        switch (in_.u8() % 4) {
            case 0:
                info.scanlineBytes =
                    static_cast<int32_t>(ModelScanline(info.pixelFormat, info.width));
                break;
            case 1:
                info.scanlineBytes = static_cast<int32_t>(bpp * info.width - 1);
                break;
            case 2:
                info.scanlineBytes = in_.i32();
                break;
            default:
                info.scanlineBytes = in_.u8();
                break;
        }
        const uint8_t mode = in_.u8();
        Block block = ReadBlock(in_, in_.u16() % 1024);
        info.buffer = mode & 1 ? nullptr : block.memory.get();
        switch ((mode >> 1) % 3) {
            case 0:
                info.bufferBytes = block.size;
                break;
            case 1:
                info.bufferBytes = static_cast<int32_t>(int64_t{info.scanlineBytes} * info.height);
                break;
            default:
                info.bufferBytes = in_.i32();
                break;
        }
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
        int pool = -1;
    };

    Side side(int32_t likelyFormat) {
        Side s;
        if (in_.u8() % 3 == 0) {
            s.pool = in_.u8() % kPool;
            s.model = &bitmapModels_[s.pool];
            s.info = bitmaps_[s.pool].getBitmapInfo();
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
        if (s.model != nullptr) {
            return s.model->hasBuffer ? Bytes(s.model->content->begin(),
                                              s.model->content->begin() + s.model->bufferBytes)
                                      : Bytes();
        }
        return Bytes(s.block.memory.get(), s.block.memory.get() + s.block.size);
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
        int64_t bitmapBytes = 0, bitmapArrays = 0, nativeBytes = 0, nativeArrays = 0;
        for (int i = 0; i < kPool; ++i) {
            CheckBitmap(bitmaps_[i], bitmapModels_[i]);
            CheckBitmap(natives_[i], nativeModels_[i]);
            if (bitmapModels_[i].owned()) {
                bitmapBytes += bitmapModels_[i].bufferBytes;
                ++bitmapArrays;
            }
            if (nativeModels_[i].owned()) {
                nativeBytes += nativeModels_[i].bufferBytes;
                ++nativeArrays;
            }
        }
        for (const Kept& k : kept_) {
            nativeBytes += k.bytes;
            ++nativeArrays;
        }
        const Counters now = Counters::Now();
        FUZZ_CHECK(now.bitmapBytes - base_.bitmapBytes == bitmapBytes);
        FUZZ_CHECK(now.newArrays - base_.newArrays == bitmapArrays);
        FUZZ_CHECK(now.nativeBytes - base_.nativeBytes == nativeBytes);
        FUZZ_CHECK(now.nativeArrays - base_.nativeArrays == nativeArrays);
        FUZZ_CHECK(now.bitmapCount - base_.bitmapCount == kPool);
        FUZZ_CHECK(now.nativeCount - base_.nativeCount == kPool);
    }

    Reader& in_;
    const Counters base_;
    // Declared before the bitmaps so that they outlive every bitmap wrapping them.
    std::vector<External> externals_;
    std::vector<Kept> kept_;
    Bitmap bitmaps_[kPool];
    BitmapModel bitmapModels_[kPool];
    NativeBitmap natives_[kPool];
    BitmapModel nativeModels_[kPool];
};

}  // namespace
}  // namespace fuzz
}  // namespace kesto

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kesto;
    const fuzz::Counters before = fuzz::Counters::Now();
    {
        fuzz::Reader in(data, size);
        fuzz::Harness harness(in);
        for (int steps = 0; steps < 256 && !in.done(); ++steps) {
            harness.step();
        }
    }
    // Everything is released again.
    const fuzz::Counters after = fuzz::Counters::Now();
    FUZZ_CHECK(std::memcmp(&before, &after, sizeof before) == 0);
    return 0;
}
