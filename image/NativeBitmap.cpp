#include "image/NativeBitmap.h"

#include <android/log.h>

#include <cstdarg>
#include <new>
#include <utility>

#include "core/Accounting.h"
#include "image/PixelBuffer.h"

namespace kesto {

std::atomic<int32_t> g_newNBmpCount{0};
std::atomic<int32_t> g_newNBmpArrayCount{0};
std::atomic<int32_t> NativeBitmap::BitmapCount{0};
std::atomic<int32_t> NativeBitmap::BitmapBytes{0};

namespace {

// Written straight to the log at debug priority: this class has no level mask.
struct NativeBitmapTraits {
    __attribute__((format(printf, 1, 2))) static void Log(const char* format, ...) {
        va_list args;
        va_start(args, format);
        __android_log_vprint(ANDROID_LOG_DEBUG, "SNATIVEBITMAP", format, args);
        va_end(args);
    }

    static uint8_t* NewBuffer(int32_t bytes) {
        if (AllocationFailureInjected()) {
            return nullptr;
        }
        uint8_t* buffer = new (std::nothrow) uint8_t[static_cast<size_t>(bytes)];
        if (buffer != nullptr) {
            g_newNBmpArrayCount.fetch_add(1, std::memory_order_relaxed);
            NativeBitmap::BitmapBytes.fetch_add(bytes, std::memory_order_relaxed);
        }
        return buffer;
    }
};

}  // namespace

NativeBitmap::NativeBitmap() {
    BitmapCount.fetch_add(1, std::memory_order_relaxed);
}

NativeBitmap::~NativeBitmap() {
    free();
    BitmapCount.fetch_sub(1, std::memory_order_relaxed);
}

void NativeBitmap::free() {
    if (!isExternal) {
        FreeBuffer(buffer, bufferBytes);
    }
    freeButKeepBuffer();
}

void NativeBitmap::freeButKeepBuffer() {
    pixels::ClearInfo(*this);
    isExternal = false;
}

void NativeBitmap::FreeBuffer(unsigned char* buffer, int bufferBytes) {
    if (buffer != nullptr) {
        BitmapBytes.fetch_sub(bufferBytes, std::memory_order_relaxed);
        delete[] buffer;
        g_newNBmpArrayCount.fetch_sub(1, std::memory_order_relaxed);
    }
}

bool NativeBitmap::allocateBitmap(int pixelFormat, int width, int height) {
    return pixels::Allocate<NativeBitmapTraits>(*this, pixelFormat, width, height);
}

bool NativeBitmap::setBitmap(int pixelFormat, int width, int height, unsigned char* buffer,
                             int bufferBytes) {
    return pixels::Set<NativeBitmapTraits>(*this, pixelFormat, width, height, buffer, bufferBytes);
}

bool NativeBitmap::copyFrom(const NativeBitmap& other) {
    return setBitmap(other.pixelFormat, other.width, other.height, other.buffer, other.bufferBytes);
}

void NativeBitmap::swapBitmap(NativeBitmap* other) {
    if (other != nullptr) {
        pixels::SwapInfo(*this, *other);
        std::swap(isExternal, other->isExternal);
    }
}

NativeBitmap::BitmapInfo NativeBitmap::getBitmapInfo() const {
    return pixels::InfoOf(*this);
}

bool NativeBitmap::addTransparentBordersForAntiAliasing(int edges) {
    return pixels::ClearBorderAlpha(getBitmapInfo(), edges, NativeBitmapTraits::Log);
}

bool NativeBitmap::referToExternalBitmap(int pixelFormat, int width, int height,
                                         unsigned char* buffer, int bufferBytes) {
    int32_t expectedBytes = BufferBytes(pixelFormat, width, height);
    if (width < 1 || height < 1 || buffer == nullptr || expectedBytes < 0) {
        NativeBitmapTraits::Log("referToExternalBitmap NG - error parameter");
        return false;
    }
    free();
    this->pixelFormat = pixelFormat;
    this->width = width;
    this->height = height;
    scanlineBytes = ScanlineBytes(pixelFormat, width);
    this->bufferBytes = expectedBytes;
    if (expectedBytes != bufferBytes) {
        NativeBitmapTraits::Log("referToExternalBitmap: failed");
        free();
        return false;
    }
    NativeBitmapTraits::Log("referToExternalBitmap: success");
    this->buffer = buffer;
    isExternal = true;
    return true;
}

bool NativeBitmap::IsBitmapInfoValid(const BitmapInfo& info) {
    return pixels::IsInfoValid(info, NativeBitmapTraits::Log);
}

bool NativeBitmap::ConvertPixelFormatFromRGB565ToRGBA5551(const BitmapInfo& src, BitmapInfo* dst) {
    return pixels::Rgb565ToRgba5551(src, dst, NativeBitmapTraits::Log);
}

}  // namespace kesto
