// What a Bitmap or NativeBitmap should hold after each call, worked out independently of the
// engine, and the comparison of a bitmap with its model: fields, every byte of the buffer, and the
// buffer's real allocation.
#pragma once

#include <sanitizer/allocator_interface.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/PixelFormat.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {

// Buffers above this are legitimate but only slow the search down; calls that would allocate one
// are skipped. Calls whose sizes overflow are always made: refusing them is the engine's job.
constexpr int64_t kMaxBufferBytes = 256 * 1024;

inline int64_t ModelBytesPerPixel(int32_t format) {
    return (static_cast<uint32_t>(format) >> 16) & 0xF;
}

// -1 when negative or beyond int32.
inline int64_t ModelScanline(int32_t format, int32_t width) {
    if (width < 0) {
        return -1;
    }
    int64_t row = static_cast<int64_t>(width) * ModelBytesPerPixel(format);
    if (row % 2 != 0) {
        ++row;
    }
    return row > std::numeric_limits<int32_t>::max() ? -1 : row;
}

inline int64_t ModelBufferBytes(int32_t format, int32_t width, int32_t height) {
    const int64_t scanline = ModelScanline(format, width);
    if (scanline < 0 || height < 0) {
        return -1;
    }
    const int64_t total = scanline * height;
    return total > std::numeric_limits<int32_t>::max() ? -1 : total;
}

inline bool ModelInfoValid(const BitmapInfo& info) {
    const int64_t bpp = ModelBytesPerPixel(info.pixelFormat);
    return bpp >= 2 && bpp <= 4 && info.width > 0 && info.height > 0 &&
           int64_t{info.scanlineBytes} >= bpp * info.width && info.buffer != nullptr &&
           int64_t{info.bufferBytes} >= int64_t{info.scanlineBytes} * info.height;
}

inline uint16_t Pixel16(const uint8_t* at) {
    uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

inline void SetPixel16(uint8_t* at, uint16_t value) {
    std::memcpy(at, &value, sizeof value);
}

// 5-6-5 to 5-5-5-1 by channels: green loses its lowest bit, alpha is opaque.
inline uint16_t ModelRgb565ToRgba5551(uint16_t p) {
    const unsigned red = p >> 11, green = (p >> 5) & 0x3F, blue = p & 0x1F;
    return static_cast<uint16_t>((red << 11) | ((green >> 1) << 6) | (blue << 1) | 1);
}

using Bytes = std::vector<uint8_t>;

// A default model is the state every failed or freed bitmap returns to.
struct BitmapModel {
    int32_t pixelFormat = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t scanlineBytes = 0;
    int32_t bufferBytes = 0;
    bool hasBuffer = false;
    // NativeBitmap only: the buffer is the harness's, at `externalBuffer`.
    bool external = false;
    const uint8_t* externalBuffer = nullptr;
    // Expected bytes from the buffer's start; shared by every bitmap wrapping the same external
    // buffer, so that writes through one show in the others.
    std::shared_ptr<Bytes> content;

    bool owned() const { return hasBuffer && !external; }
    BitmapInfo info(uint8_t* buffer) const {
        return BitmapInfo{pixelFormat, width, height, scanlineBytes, buffer, bufferBytes};
    }
};

template <class B>
constexpr bool kIsNative = std::is_same<B, NativeBitmap>::value;

template <class B>
void CheckBitmap(const B& bitmap, const BitmapModel& m) {
    FUZZ_CHECK(bitmap.pixelFormat == m.pixelFormat);
    FUZZ_CHECK(bitmap.width == m.width);
    FUZZ_CHECK(bitmap.height == m.height);
    FUZZ_CHECK(bitmap.scanlineBytes == m.scanlineBytes);
    FUZZ_CHECK(bitmap.bufferBytes == m.bufferBytes);
    FUZZ_CHECK((bitmap.buffer != nullptr) == m.hasBuffer);
    if constexpr (kIsNative<B>) {
        FUZZ_CHECK(bitmap.isExternal == m.external);
    }
    if (!m.hasBuffer) {
        return;
    }
    if (m.external) {
        FUZZ_CHECK(bitmap.buffer == m.externalBuffer);
    } else {
        // An owned buffer is its own allocation of exactly the recorded size.
        FUZZ_CHECK(__sanitizer_get_ownership(bitmap.buffer));
        // (The allocator reports a zero-byte request as one byte.)
        const size_t expected = m.bufferBytes > 0 ? static_cast<size_t>(m.bufferBytes) : 1;
        FUZZ_CHECK(__sanitizer_get_allocated_size(bitmap.buffer) == expected);
    }
    FUZZ_CHECK(m.content != nullptr && m.content->size() >= static_cast<size_t>(m.bufferBytes));
    if (m.bufferBytes > 0) {
        FUZZ_CHECK(std::memcmp(bitmap.buffer, m.content->data(), m.bufferBytes) == 0);
    }
}

// A bitmap holding the first `bytes` of `content`: in its own buffer, or in the harness's at
// `external`.
inline BitmapModel HeldModel(int32_t format, int32_t width, int32_t height, int32_t bytes,
                             std::shared_ptr<Bytes> content, const uint8_t* external = nullptr) {
    BitmapModel m;
    m.pixelFormat = format;
    m.width = width;
    m.height = height;
    m.scanlineBytes = static_cast<int32_t>(ModelScanline(format, width));
    m.bufferBytes = bytes;
    m.hasBuffer = true;
    m.external = external != nullptr;
    m.externalBuffer = external;
    m.content = std::move(content);
    return m;
}

inline BitmapModel OwnedModel(int32_t format, int32_t width, int32_t height, Bytes content) {
    const auto bytes = static_cast<int32_t>(content.size());
    return HeldModel(format, width, height, bytes, std::make_shared<Bytes>(std::move(content)));
}

// The bytes a bitmap holds, as they are now.
inline Bytes ContentOf(const BitmapModel& m) {
    return m.hasBuffer ? Bytes(m.content->begin(), m.content->begin() + m.bufferBytes) : Bytes();
}

// Whether allocateBitmap or setBitmap with these arguments would make a new buffer above the cap.
inline bool WouldAllocateLarge(const BitmapModel& m, int32_t format, int32_t width,
                               int32_t height) {
    const bool same = m.pixelFormat == format && m.width == width && m.height == height;
    return !same && width >= 1 && height >= 1 &&
           ModelBufferBytes(format, width, height) > kMaxBufferBytes;
}

// setBitmap and copyFrom: the expected result, with `m` moved to the expected state. `source`
// holds the source bytes as they were before the call (it is read only when the call succeeds).
inline bool ModelSet(BitmapModel& m, int32_t format, int32_t width, int32_t height,
                     bool sourceIsNull, const uint8_t* source, int32_t sourceBytes) {
    const int64_t bytes = ModelBufferBytes(format, width, height);
    if (format == 0 || width <= 0 || height <= 0 || sourceIsNull || sourceBytes <= 0 || bytes < 0) {
        return false;
    }
    if (bytes != sourceBytes) {
        m = BitmapModel();
        return false;
    }
    const bool same = m.pixelFormat == format && m.width == width && m.height == height;
    if (same) {
        // The buffer stays (an external one too) and takes the new bytes.
        std::memcpy(m.content->data(), source, sourceBytes);
    } else {
        m = OwnedModel(format, width, height, Bytes(source, source + sourceBytes));
    }
    return true;
}

// copyFrom: the expected result, with `to` moved to the expected state. `to` and `from` may be the
// same model, as the bitmaps may be the same.
inline bool ModelCopy(BitmapModel& to, const BitmapModel& from) {
    const Bytes source = ContentOf(from);
    return ModelSet(to, from.pixelFormat, from.width, from.height, !from.hasBuffer, source.data(),
                    from.bufferBytes);
}

// addTransparentBordersForAntiAliasing on the model.
inline bool ModelClearBorders(BitmapModel& m, int edges) {
    uint8_t* bytes = m.hasBuffer ? m.content->data() : nullptr;
    if (!ModelInfoValid(m.info(bytes)) || m.pixelFormat != PIXEL_FORMAT_RGBA5551) {
        return false;
    }
    auto clear = [&](int32_t row, int32_t column) {
        uint8_t* at = bytes + int64_t{row} * m.scanlineBytes + 2 * int64_t{column};
        SetPixel16(at, Pixel16(at) & 0xFFFE);
    };
    for (int32_t row = 0; row < m.height; ++row) {
        for (int32_t column = 0; column < m.width; ++column) {
            if (((edges & 1) && column == 0) || ((edges & 2) && column == m.width - 1) ||
                ((edges & 4) && row == 0) || ((edges & 8) && row == m.height - 1)) {
                clear(row, column);
            }
        }
    }
    return true;
}

}  // namespace fuzz
}  // namespace kesto
