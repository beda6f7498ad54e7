// Pools of Bitmaps and NativeBitmaps, each bitmap beside its model, and the calls on them decoded
// from the input: what the bitmap and the texture targets both do to the bitmaps they hold. A
// call's result is checked at once; the bitmaps themselves after every step, by the harness.
#pragma once

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "core/Accounting.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "tests/fuzz/BitmapModel.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {

// A width or height: mostly small enough for a real buffer, sometimes at an edge of the 16-bit
// packing or of 32-bit arithmetic, sometimes anything.
inline int32_t Dimension(Reader& in) {
    static const int32_t kEdges[] = {
        0,          -1,         1,          2,          3,          0x7FFF,
        0x8000,     0xFFFF,     0x10000,    0x10001,    46340,      46341,
        0x3FFFFFFF, 0x40000000, 0x55555556, 0x7FFFFFFE, 0x7FFFFFFF, -0x7FFFFFFF - 1,
        -2,         16384,      16385};
    switch (in.u8() % 5) {
        case 0:
        case 1:
        case 2:
            return 1 + in.u8() % 64;
        case 3:
            return kEdges[in.u8() % (sizeof kEdges / sizeof kEdges[0])];
        default:
            return in.i32();
    }
}

// The four real formats mostly; otherwise none, one byte a pixel, fifteen, or anything.
inline int32_t Format(Reader& in) {
    static const int32_t kFormats[] = {
        PIXEL_FORMAT_RGB565, PIXEL_FORMAT_RGB565,   PIXEL_FORMAT_RGBA5551, PIXEL_FORMAT_RGBA5551,
        PIXEL_FORMAT_RGB888, PIXEL_FORMAT_RGBA8888, PIXEL_FORMAT_NONE};
    const int pick = in.u8() % 9;
    if (pick < 7) {
        return kFormats[pick];
    }
    return pick == 7 ? ((in.u8() & 1) ? 0x10000 : 0xF0000) : in.i32();
}

struct Shape {
    int32_t format, width, height;
};

// In this order: a braced list is read left to right.
inline Shape ReadShape(Reader& in) {
    return {Format(in), Dimension(in), Dimension(in)};
}

// An exactly sized heap copy of input bytes, so that any read past its end is reported.
struct Block {
    std::unique_ptr<uint8_t[]> memory;
    int32_t size = 0;
};

inline Block ReadBlock(Reader& in, int32_t size) {
    Block block;
    block.memory.reset(new uint8_t[size]);
    block.size = size;
    const size_t got = in.take(block.memory.get(), static_cast<size_t>(size));
    for (size_t i = got; i < static_cast<size_t>(size); ++i) {
        block.memory[i] = static_cast<uint8_t>(i * 7 + 3);
    }
    return block;
}

// The buffers the models say are owned, to compare with the engine's counters.
struct Tally {
    int64_t bytes = 0;
    int64_t arrays = 0;

    template <class B>
    void check(const B& bitmap, const BitmapModel& m) {
        CheckBitmap(bitmap, m);
        if (m.owned()) {
            bytes += m.bufferBytes;
            ++arrays;
        }
    }
};

template <class B, int N>
struct Pool {
    B bitmaps[N];
    BitmapModel models[N];

    std::pair<B&, BitmapModel&> pick(Reader& in) {
        const int i = in.u8() % N;
        return {bitmaps[i], models[i]};
    }

    void check(Tally& tally) const {
        for (int i = 0; i < N; ++i) {
            tally.check(bitmaps[i], models[i]);
        }
    }
};

// The engine's counters: Bitmap buffer bytes and arrays, NativeBitmap buffer bytes and arrays,
// live Bitmaps, live NativeBitmaps, then whatever a target appends.
using Counters = std::vector<int64_t>;

inline Counters BitmapCounters() {
    return {Bitmap::BitmapBytes.load(),       g_newArrayCount.load(),
            NativeBitmap::BitmapBytes.load(), g_newNBmpArrayCount.load(),
            Bitmap::BitmapCount.load(),       NativeBitmap::BitmapCount.load()};
}

// Each counter has moved from `base` by what the models hold.
inline void CheckCounters(const Counters& base, const Counters& now, const Counters& expected) {
    FUZZ_CHECK(now.size() == expected.size());
    for (size_t i = 0; i < now.size(); ++i) {
        if (now[i] - base[i] != expected[i]) {
            std::fprintf(stderr, "counter %zu moved by %lld, not %lld\n", i,
                         static_cast<long long>(now[i] - base[i]),
                         static_cast<long long>(expected[i]));
            Fail("counter moved as the models say", __FILE__, __LINE__);
        }
    }
}

// Runs a harness over the input; when it is gone, every counter is back where it was.
template <class Harness>
void RunBitmapHarness(const uint8_t* data, size_t size, Counters (*counters)()) {
    const Counters before = counters();
    {
        Reader in(data, size);
        Harness harness(in);
        for (int steps = 0; steps < 256 && !in.done(); ++steps) {
            harness.step();
        }
    }
    FUZZ_CHECK(counters() == before);
}

// Every call takes its bitmap from a pool first, then its arguments.
class BitmapDriver {
  public:
    explicit BitmapDriver(Reader& in) : in_(in) {}

    template <class B, int N>
    void allocate(Pool<B, N>& pool) {
        auto [bitmap, m] = pool.pick(in_);
        const auto [format, width, height] = ReadShape(in_);
        const uint8_t fill = in_.u8();
        if (WouldAllocateLarge(m, format, width, height)) {
            return;
        }
        const int64_t bytes = ModelBufferBytes(format, width, height);
        const bool refused = width < 1 || height < 1 || bytes < 0;
        const bool same = m.pixelFormat == format && m.width == width && m.height == height;
        FUZZ_CHECK(bitmap.allocateBitmap(format, width, height) == !refused);
        if (!refused && !same) {
            // A new buffer's contents are undefined: fill it the way a caller would.
            Bytes content(static_cast<size_t>(bytes));
            for (size_t i = 0; i < content.size(); ++i) {
                content[i] = static_cast<uint8_t>(fill + 131 * i);
            }
            if (bytes > 0) {
                std::memcpy(bitmap.buffer, content.data(), content.size());
            }
            m = OwnedModel(format, width, height, std::move(content));
        }
    }

    // As the Java side does: a byte array of its real length, or none.
    template <class B, int N>
    void set(Pool<B, N>& pool) {
        auto [bitmap, m] = pool.pick(in_);
        const auto [format, width, height] = ReadShape(in_);
        const uint8_t mode = in_.u8();
        int64_t length = mode % 4 == 0 ? in_.u16() % 512 : ModelBufferBytes(format, width, height);
        if (length < 0 || length > kMaxBufferBytes) {
            length = in_.u16() % 512;
        }
        if (mode % 4 == 1 && length > 0) {
            --length;
        }
        Block source = ReadBlock(in_, static_cast<int32_t>(length));
        uint8_t* bytes = mode % 8 == 7 ? nullptr : source.memory.get();
        if (WouldAllocateLarge(m, format, width, height)) {
            return;
        }
        const bool expected =
            ModelSet(m, format, width, height, bytes == nullptr, bytes, source.size);
        FUZZ_CHECK(bitmap.setBitmap(format, width, height, bytes, source.size) == expected);
    }

    template <class B, int N>
    void copy(Pool<B, N>& pool) {
        const int from = in_.u8() % N;
        auto [to, m] = pool.pick(in_);
        const bool expected = ModelCopy(m, pool.models[from]);
        FUZZ_CHECK(to.copyFrom(pool.bitmaps[from]) == expected);
    }

    // With another bitmap of the pool, itself, or none.
    template <class B, int N>
    void swap(Pool<B, N>& pool) {
        const int i = in_.u8() % N;
        const int j = in_.u8() % (N + 1);
        pool.bitmaps[i].swapBitmap(j < N ? &pool.bitmaps[j] : nullptr);
        if (j < N) {
            std::swap(pool.models[i], pool.models[j]);
        }
    }

    template <class B, int N>
    void free(Pool<B, N>& pool) {
        auto [bitmap, m] = pool.pick(in_);
        bitmap.free();
        m = BitmapModel();
    }

    template <class B, int N>
    void clearBorders(Pool<B, N>& pool) {
        auto [bitmap, m] = pool.pick(in_);
        const int edges = in_.i32();
        const bool expected = ModelClearBorders(m, edges);
        FUZZ_CHECK(bitmap.addTransparentBordersForAntiAliasing(edges) == expected);
    }

    // A buffer of the harness, new or already wrapped by another bitmap, of which the caller
    // claims at most what it really has.
    template <int N>
    void referToExternal(Pool<NativeBitmap, N>& pool) {
        auto [bitmap, m] = pool.pick(in_);
        const auto [format, width, height] = ReadShape(in_);
        const int64_t expected = ModelBufferBytes(format, width, height);
        External& e = external(static_cast<int32_t>(expected));
        const uint8_t mode = in_.u8();
        int32_t claimed = e.block.size;
        if (mode % 4 == 1) {
            claimed -= in_.u8() % 8;
        } else if (mode % 4 == 2) {
            const int32_t raw = in_.i32();
            claimed = raw <= e.block.size ? raw : claimed;
        }
        uint8_t* buffer = mode % 8 == 7 ? nullptr : e.block.memory.get();
        const bool considered = width >= 1 && height >= 1 && buffer != nullptr && expected >= 0;
        const bool result = considered && expected == claimed;
        if (considered) {
            m = result ? HeldModel(format, width, height, claimed, e.content, buffer)
                       : BitmapModel();
        }
        FUZZ_CHECK(bitmap.referToExternalBitmap(format, width, height, buffer, claimed) == result);
    }

  private:
    struct External {
        Block block;
        std::shared_ptr<Bytes> content;
    };

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

    Reader& in_;
    // A harness declares its driver before its bitmaps, so that these outlive every bitmap
    // wrapping them.
    std::vector<External> externals_;
};

}  // namespace fuzz
}  // namespace kesto
