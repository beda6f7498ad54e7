#pragma once

#include <atomic>
#include <cstdint>

namespace kesto {

class Bitmap {
  public:
    // Live bitmaps and the bytes of their pixel buffers.
    static std::atomic<int32_t> BitmapCount;
    static std::atomic<int32_t> BitmapBytes;
};

}  // namespace kesto
