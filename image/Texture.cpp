#include "image/Texture.h"

namespace kesto {

std::atomic<int32_t> Texture::GLTexturesCount{0};
std::atomic<int32_t> Texture::GLTexturesBytes{0};

}  // namespace kesto
