#include "image/PixelBuffer.h"

#include <cstddef>

namespace kesto {
namespace pixels {

namespace {

// Pixels are 16-bit values in memory order; a foreign buffer need not be aligned for them.
uint16_t Load16(const uint8_t* at) {
    uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void Store16(uint8_t* at, uint16_t value) {
    std::memcpy(at, &value, sizeof value);
}

uint8_t* Row(const BitmapInfo& info, int32_t row) {
    return info.buffer + static_cast<ptrdiff_t>(row) * info.scanlineBytes;
}

void ClearAlphaColumn(const BitmapInfo& info, int32_t column) {
    for (int32_t row = 0; row < info.height; ++row) {
        uint8_t* pixel = Row(info, row) + 2 * static_cast<ptrdiff_t>(column);
        Store16(pixel, Load16(pixel) & 0xFFFE);
    }
}

void ClearAlphaRow(const BitmapInfo& info, int32_t row) {
    uint8_t* pixel = Row(info, row);
    for (int32_t column = 0; column < info.width; ++column, pixel += 2) {
        Store16(pixel, Load16(pixel) & 0xFFFE);
    }
}

}  // namespace

bool IsInfoValid(const BitmapInfo& info, PixelLog log) {
    int bytesPerPixel = BytesPerPixel(info.pixelFormat);
    if (bytesPerPixel < 2 || bytesPerPixel > 4) {
        log("Invalid pixel format - %08X", info.pixelFormat);
        return false;
    }
    if (info.width <= 0 || info.height <= 0) {
        log("Invalid size - %d %d", info.width, info.height);
        return false;
    }
    if (info.scanlineBytes < static_cast<int64_t>(info.width) * bytesPerPixel) {
        log("Invalid scanline bytes - %d  %08X %d", info.scanlineBytes, info.pixelFormat,
            info.width);
        return false;
    }
    if (info.buffer == nullptr) {
        log("Invalid buffer.");
        return false;
    }
    if (info.bufferBytes < static_cast<int64_t>(info.height) * info.scanlineBytes) {
        log("Invalid buffer bytes - %d  %d %d", info.bufferBytes, info.scanlineBytes, info.height);
        return false;
    }
    return true;
}

bool ClearBorderAlpha(const BitmapInfo& info, int edges, PixelLog log) {
    if (!IsInfoValid(info, log)) {
        log("addTransparentBordersForAntiAliasing invalid bitmap info");
        return false;
    }
    if (info.pixelFormat != PIXEL_FORMAT_RGBA5551) {
        log("addTransparentBordersForAntiAliasing unsupported pixel format: %08X",
            info.pixelFormat);
        return false;
    }
    if (edges & 1) {
        ClearAlphaColumn(info, 0);
    }
    if (edges & 2) {
        ClearAlphaColumn(info, info.width - 1);
    }
    if (edges & 4) {
        ClearAlphaRow(info, 0);
    }
    if (edges & 8) {
        ClearAlphaRow(info, info.height - 1);
    }
    return true;
}

bool Rgb565ToRgba5551(const BitmapInfo& src, BitmapInfo* dst, PixelLog log) {
    if (dst == nullptr) {
        return false;
    }
    if (src.pixelFormat != PIXEL_FORMAT_RGB565 || dst->pixelFormat != PIXEL_FORMAT_RGBA5551) {
        log("RGB565ToRGBA5551 pixel format NG - %08X %08X", src.pixelFormat, dst->pixelFormat);
        return false;
    }
    if (src.width <= 0 || src.height <= 0 || src.width != dst->width || src.height != dst->height) {
        log("RGB565ToRGBA5551 size NG - %d,%d %d,%d", src.width, src.height, dst->width,
            dst->height);
        return false;
    }
    for (int32_t row = 0; row < src.height; ++row) {
        const uint8_t* in = Row(src, row);
        uint8_t* out = Row(*dst, row);
        for (int32_t column = 0; column < src.width; ++column, in += 2, out += 2) {
            // Red and the upper five green bits stay, the lowest green bit goes, blue moves up
            // one, and the freed bit 0 becomes an opaque alpha.
            uint16_t p = Load16(in);
            Store16(out, static_cast<uint16_t>((p & 0xFFC0) | ((p & 0x1F) << 1) | 1));
        }
    }
    return true;
}

}  // namespace pixels
}  // namespace kesto
