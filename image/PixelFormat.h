// Pixel-format codes and the record that describes any pixel buffer. The Java side passes the same
// codes, so their values are part of the external interface.
#pragma once

#include <cstdint>

namespace kesto {

// Nibbles from the low end: alpha, blue, green, red bits, then bytes per pixel.
enum : int32_t {
    PIXEL_FORMAT_NONE = 0,
    PIXEL_FORMAT_RGB565 = 0x25650,
    PIXEL_FORMAT_RGBA5551 = 0x25551,
    PIXEL_FORMAT_RGB888 = 0x38880,
    PIXEL_FORMAT_RGBA8888 = 0x148888,
};

inline int BytesPerPixel(int32_t pixelFormat) {
    return (pixelFormat >> 16) & 15;
}

// Row bytes as the engine sizes its own buffers: rounded up to an even count. Returns -1 when the
// width is negative or the result does not fit 32 bits.
int32_t ScanlineBytes(int32_t pixelFormat, int32_t width);
// height * ScanlineBytes, or -1 on a negative size or a 32-bit overflow.
int32_t BufferBytes(int32_t pixelFormat, int32_t width, int32_t height);

// Describes a pixel buffer; never owns it. Rows follow one another top row first.
struct BitmapInfo {
    int32_t pixelFormat;
    int32_t width;
    int32_t height;
    int32_t scanlineBytes;
    uint8_t* buffer;
    int32_t bufferBytes;
};

}  // namespace kesto
