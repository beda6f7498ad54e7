#include "image/Bitmap.h"

namespace kesto {

std::atomic<int32_t> Bitmap::BitmapCount{0};
std::atomic<int32_t> Bitmap::BitmapBytes{0};

}  // namespace kesto
