#include "image/Bitmap.h"

#include <cstdarg>

#include "core/Accounting.h"
#include "gl/Environment.h"
#include "image/PixelBuffer.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoBmp");

namespace kesto {

std::atomic<int32_t>& Bitmap::BitmapCount = g_bitmapCount;
std::atomic<int32_t>& Bitmap::BitmapBytes = g_bitmapBytes;

namespace {

struct BitmapTraits {
    __attribute__((format(printf, 1, 2))) static void Log(const char* format, ...) {
        va_list args;
        va_start(args, format);
        LogErrorV(s_logTag, format, args);
        va_end(args);
    }

    static uint8_t* NewBuffer(int32_t bytes) {
        uint8_t* buffer = NewRawArray<uint8_t>(static_cast<size_t>(bytes));
        if (buffer != nullptr) {
            Bitmap::BitmapBytes.fetch_add(bytes, std::memory_order_relaxed);
        }
        return buffer;
    }
};

}  // namespace

Bitmap::Bitmap() {
    CountUp(BitmapCount);
}

Bitmap::Bitmap(Environment* env) : environment(env) {
    if (environment != nullptr) {
        CountUp(environment->bitmapCount);
    }
    CountUp(BitmapCount);
}

Bitmap::~Bitmap() {
    free();
    if (environment != nullptr) {
        CountDown(environment->bitmapCount);
    }
    CountDown(BitmapCount);
}

void Bitmap::free() {
    if (buffer != nullptr) {
        BitmapBytes.fetch_sub(bufferBytes, std::memory_order_relaxed);
        DeleteArray(buffer);
    }
    pixels::ClearInfo(*this);
}

bool Bitmap::allocateBitmap(int pixelFormat, int width, int height) {
    return pixels::Allocate<BitmapTraits>(*this, pixelFormat, width, height);
}

bool Bitmap::setBitmap(int pixelFormat, int width, int height, unsigned char* buffer,
                       int bufferBytes) {
    return pixels::Set<BitmapTraits>(*this, pixelFormat, width, height, buffer, bufferBytes);
}

bool Bitmap::copyFrom(const Bitmap& other) {
    return setBitmap(other.pixelFormat, other.width, other.height, other.buffer, other.bufferBytes);
}

void Bitmap::swapBitmap(Bitmap* other) {
    if (other != nullptr) {
        pixels::SwapInfo(*this, *other);
    }
}

Bitmap::BitmapInfo Bitmap::getBitmapInfo() const {
    return pixels::InfoOf(*this);
}

bool Bitmap::addTransparentBordersForAntiAliasing(int edges) {
    return pixels::ClearBorderAlpha(getBitmapInfo(), edges, BitmapTraits::Log);
}

bool Bitmap::IsBitmapInfoValid(const BitmapInfo& info) {
    return pixels::IsInfoValid(info, BitmapTraits::Log);
}

bool Bitmap::ConvertPixelFormatFromRGB565ToRGBA5551(const BitmapInfo& src, BitmapInfo* dst) {
    return pixels::Rgb565ToRgba5551(src, dst, BitmapTraits::Log);
}

bool Bitmap::ConvertBitmap(const BitmapInfo&, BitmapInfo*) {
    BitmapTraits::Log("Bitmap_ConvertBitmap NG - No implementation.");
    return false;
}

}  // namespace kesto
