// A pixel buffer that Java manages through the Native_* functions. Unlike Bitmap it can wrap a
// buffer owned by someone else, and it is accounted separately from the rest of the engine.
#pragma once

#include <atomic>
#include <cstdint>

#include "image/PixelFormat.h"

namespace kesto {

// Objects made for Java and owned buffers, counted apart from g_newCount and g_newArrayCount.
extern std::atomic<int32_t> g_newNBmpCount;
extern std::atomic<int32_t> g_newNBmpArrayCount;

class NativeBitmap {
  public:
    using BitmapInfo = kesto::BitmapInfo;

    int32_t pixelFormat = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t scanlineBytes = 0;
    uint8_t* buffer = nullptr;
    int32_t bufferBytes = 0;
    // The buffer belongs to someone else: never deleted, never counted.
    bool isExternal = false;

    // Live native bitmaps (embedded ones included) and the bytes of their owned buffers.
    static std::atomic<int32_t> BitmapCount;
    static std::atomic<int32_t> BitmapBytes;

    NativeBitmap();
    ~NativeBitmap();
    NativeBitmap(const NativeBitmap&) = delete;
    NativeBitmap& operator=(const NativeBitmap&) = delete;

    // Empties all seven fields; an external buffer is only forgotten.
    void free();
    // Keeps the buffer and its contents when format and size are unchanged.
    bool allocateBitmap(int pixelFormat, int width, int height);
    // The source must be laid out with the engine's even-rounded scanline.
    bool setBitmap(int pixelFormat, int width, int height, unsigned char* buffer, int bufferBytes);
    // The copy is owned even when the other bitmap's buffer is external.
    bool copyFrom(const NativeBitmap& other);
    // Exchanges all seven fields, so an external buffer keeps its flag.
    void swapBitmap(NativeBitmap* other);
    BitmapInfo getBitmapInfo() const;
    // Clears the alpha bit of the outermost pixels of the chosen edges (1 left, 2 right, 4 first
    // row, 8 last row); RGBA5551 only.
    bool addTransparentBordersForAntiAliasing(int edges);
    // Wraps a foreign buffer without copying; it must be sized by the even-rounded scanline.
    bool referToExternalBitmap(int pixelFormat, int width, int height, unsigned char* buffer,
                               int bufferBytes);
    // Empties the bitmap without releasing its buffer: the caller reads buffer and bufferBytes
    // first and later hands both to FreeBuffer.
    void freeButKeepBuffer();

    static void FreeBuffer(unsigned char* buffer, int bufferBytes);
    static bool IsBitmapInfoValid(const BitmapInfo& info);
    static bool ConvertPixelFormatFromRGB565ToRGBA5551(const BitmapInfo& src, BitmapInfo* dst);
};

}  // namespace kesto
