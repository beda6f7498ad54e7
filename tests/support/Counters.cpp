#include "tests/support/Counters.h"

#include <cstring>

#include "core/Accounting.h"
#include "gl/Environment.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "shader/Shader.h"
#include "shader/ShaderProgram.h"

namespace kesto::test {

const char* const ResourceCounters::kNames[kCount] = {
    "new",        "new[]",          "eglDisplay", "eglDisplayReal", "eglContext", "eglContextReal",
    "eglSurface", "eglSurfaceReal", "Shader",     "GLShader",       "Program",    "GLProgram",
    "Bitmap",     "BitmapBytes",    "GLTexture",  "GLTextureBytes", "NBitmap",    "NBitmapBytes",
    "nbmp new",   "nbmp new[]",
};

ResourceCounters ResourceCounters::Now() {
    const std::atomic<int32_t>* sources[kCount] = {
        &g_newCount,
        &g_newArrayCount,
        &Environment::eglDisplayCount,
        &Environment::eglDisplayRealCount,
        &Environment::eglContextCount,
        &Environment::eglContextRealCount,
        &Environment::eglSurfaceCount,
        &Environment::eglSurfaceRealCount,
        &Shader::ShadersCount,
        &Shader::GLShadersCount,
        &ShaderProgram::ProgramsCount,
        &ShaderProgram::GLProgramsCount,
        &Bitmap::BitmapCount,
        &Bitmap::BitmapBytes,
        &Texture::GLTexturesCount,
        &Texture::GLTexturesBytes,
        &NativeBitmap::BitmapCount,
        &NativeBitmap::BitmapBytes,
        &g_newNBmpCount,
        &g_newNBmpArrayCount,
    };
    ResourceCounters counters;
    for (int i = 0; i < kCount; ++i) {
        counters.values[i] = sources[i]->load(std::memory_order_relaxed);
    }
    return counters;
}

int32_t ResourceCounters::operator[](const char* name) const {
    for (int i = 0; i < kCount; ++i) {
        if (std::strcmp(kNames[i], name) == 0) {
            return values[i];
        }
    }
    ADD_FAILURE() << "no counter named " << name;
    return 0;
}

std::ostream& operator<<(std::ostream& out, const ResourceCounters& counters) {
    out << "{";
    for (int i = 0; i < ResourceCounters::kCount; ++i) {
        out << (i ? ", " : "") << ResourceCounters::kNames[i] << " " << counters.values[i];
    }
    return out << "}";
}

}  // namespace kesto::test
