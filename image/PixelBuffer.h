// What Bitmap and NativeBitmap have in common: both carry the six BitmapInfo fields and follow the
// same rules; they differ only in where their messages go and which counters pay for a buffer.
// The class-specific part comes in as Traits:
//   static void Log(const char* format, ...);  // printf-style, one message a call
//   static uint8_t* NewBuffer(int32_t bytes);   // null on failure; charges its counters otherwise
// and the bitmap itself as B, which has the six fields and a free() that empties it.
#pragma once

#include <cinttypes>
#include <cstdint>
#include <cstring>
#include <utility>

#include "image/PixelFormat.h"

namespace kesto {
namespace pixels {

typedef void (*PixelLog)(const char* format, ...) __attribute__((format(printf, 1, 2)));

bool IsInfoValid(const BitmapInfo& info, PixelLog log);
// The edge-clearing pass of addTransparentBordersForAntiAliasing, messages included.
bool ClearBorderAlpha(const BitmapInfo& info, int edges, PixelLog log);
bool Rgb565ToRgba5551(const BitmapInfo& src, BitmapInfo* dst, PixelLog log);

template <class B>
BitmapInfo InfoOf(const B& bitmap) {
    return BitmapInfo{bitmap.pixelFormat,   bitmap.width,  bitmap.height,
                      bitmap.scanlineBytes, bitmap.buffer, bitmap.bufferBytes};
}

template <class B>
void ClearInfo(B& bitmap) {
    bitmap.pixelFormat = 0;
    bitmap.width = 0;
    bitmap.height = 0;
    bitmap.scanlineBytes = 0;
    bitmap.buffer = nullptr;
    bitmap.bufferBytes = 0;
}

template <class B>
void SwapInfo(B& a, B& b) {
    std::swap(a.pixelFormat, b.pixelFormat);
    std::swap(a.width, b.width);
    std::swap(a.height, b.height);
    std::swap(a.scanlineBytes, b.scanlineBytes);
    std::swap(a.buffer, b.buffer);
    std::swap(a.bufferBytes, b.bufferBytes);
}

// The pixel format is not checked: a format without bytes per pixel yields an empty buffer.
template <class Traits, class B>
bool Allocate(B& bitmap, int32_t pixelFormat, int32_t width, int32_t height) {
    int32_t bytes = BufferBytes(pixelFormat, width, height);
    if (width < 1 || height < 1 || bytes < 0) {
        Traits::Log("allocateBitmap NG - error parameter");
        return false;
    }
    if (bitmap.pixelFormat == pixelFormat && bitmap.width == width && bitmap.height == height) {
        return true;
    }
    bitmap.free();
    bitmap.pixelFormat = pixelFormat;
    bitmap.width = width;
    bitmap.height = height;
    bitmap.scanlineBytes = ScanlineBytes(pixelFormat, width);
    bitmap.bufferBytes = bytes;
    bitmap.buffer = Traits::NewBuffer(bytes);
    if (bitmap.buffer == nullptr) {
        Traits::Log("new buffer NG");
        bitmap.free();
        return false;
    }
    return true;
}

// The source is taken to have the engine's own even-rounded scanline; only its size is checked.
template <class Traits, class B>
bool Set(B& bitmap, int32_t pixelFormat, int32_t width, int32_t height, const uint8_t* source,
         int32_t sourceBytes) {
    if (pixelFormat == 0 || width <= 0 || height <= 0 || source == nullptr || sourceBytes <= 0 ||
        BufferBytes(pixelFormat, width, height) < 0) {
        Traits::Log("setBitmap NG - error parameter %08X %d,%d %08" PRIXPTR ",%d", pixelFormat,
                    width, height, reinterpret_cast<uintptr_t>(source), sourceBytes);
        return false;
    }
    if (!Allocate<Traits>(bitmap, pixelFormat, width, height)) {
        Traits::Log("setBitmap NG");
        bitmap.free();
        return false;
    }
    if (bitmap.bufferBytes != sourceBytes) {
        Traits::Log("setBitmap NG - buffer bytes error %d %d %d", bitmap.scanlineBytes,
                    bitmap.bufferBytes, sourceBytes);
        bitmap.free();
        return false;
    }
    // A bitmap copied from itself reuses its own buffer, so source and target may coincide.
    std::memmove(bitmap.buffer, source, sourceBytes);
    return true;
}

}  // namespace pixels
}  // namespace kesto
