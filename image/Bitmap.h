// A heap pixel buffer with its description, accounted to an environment.
#pragma once

#include <atomic>
#include <cstdint>

#include "image/PixelFormat.h"

namespace kesto {

class Environment;

class Bitmap {
  public:
    using BitmapInfo = kesto::BitmapInfo;

    // May be null.
    Environment* environment = nullptr;
    int32_t pixelFormat = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t scanlineBytes = 0;
    uint8_t* buffer = nullptr;  // owned
    int32_t bufferBytes = 0;

    // Live bitmaps of every kind (embedded ones included) and the bytes of their buffers.
    static std::atomic<int32_t>& BitmapCount;
    static std::atomic<int32_t>& BitmapBytes;

    Bitmap();
    explicit Bitmap(Environment* env);
    ~Bitmap();
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    // Zeroes the six info fields, releasing the buffer; keeps the environment.
    void free();
    // Keeps the buffer and its contents when format and size are unchanged.
    bool allocateBitmap(int pixelFormat, int width, int height);
    // The source must be laid out with the engine's even-rounded scanline.
    bool setBitmap(int pixelFormat, int width, int height, unsigned char* buffer, int bufferBytes);
    bool copyFrom(const Bitmap& other);
    // Exchanges the six info fields (buffer ownership included), not the environment.
    void swapBitmap(Bitmap* other);
    BitmapInfo getBitmapInfo() const;
    // Clears the alpha bit of the outermost pixels of the chosen edges (1 left, 2 right, 4 first
    // row, 8 last row); RGBA5551 only.
    bool addTransparentBordersForAntiAliasing(int edges);

    static bool IsBitmapInfoValid(const BitmapInfo& info);
    static bool ConvertPixelFormatFromRGB565ToRGBA5551(const BitmapInfo& src, BitmapInfo* dst);
    // Deliberately unimplemented: always fails.
    static bool ConvertBitmap(const BitmapInfo& src, BitmapInfo* dst);
};

}  // namespace kesto
