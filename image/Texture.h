#pragma once

#include <atomic>
#include <cstdint>

namespace kesto {

class Texture {
  public:
    // Live GL textures and the bytes of their levels.
    static std::atomic<int32_t> GLTexturesCount;
    static std::atomic<int32_t> GLTexturesBytes;
};

}  // namespace kesto
