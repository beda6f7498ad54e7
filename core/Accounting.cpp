#include "core/Accounting.h"

namespace kesto {

std::atomic<int32_t> g_newCount{0};
std::atomic<int32_t> g_newArrayCount{0};
std::atomic<int32_t> g_bitmapCount{0};
std::atomic<int32_t> g_bitmapBytes{0};
std::atomic<int32_t> g_glTextureCount{0};
std::atomic<int32_t> g_glTextureBytes{0};
std::atomic<int32_t> g_allocationsUntilFailure{0};

}  // namespace kesto
