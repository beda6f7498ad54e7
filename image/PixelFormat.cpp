#include "image/PixelFormat.h"

#include <limits>

namespace kesto {

namespace {

// 64-bit products of 32-bit inputs cannot overflow; the result must still fit the int32 fields.
int32_t FitOrFail(int64_t value) {
    return value <= std::numeric_limits<int32_t>::max() ? static_cast<int32_t>(value) : -1;
}

}  // namespace

int32_t ScanlineBytes(int32_t pixelFormat, int32_t width) {
    if (width < 0) {
        return -1;
    }
    int64_t rowBytes = static_cast<int64_t>(width) * BytesPerPixel(pixelFormat);
    return FitOrFail((rowBytes + 1) & ~int64_t{1});
}

int32_t BufferBytes(int32_t pixelFormat, int32_t width, int32_t height) {
    int32_t scanline = ScanlineBytes(pixelFormat, width);
    if (scanline < 0 || height < 0) {
        return -1;
    }
    return FitOrFail(static_cast<int64_t>(height) * scanline);
}

}  // namespace kesto
