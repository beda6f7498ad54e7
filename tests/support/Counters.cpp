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

namespace {

const struct {
    const char* name;
    const std::atomic<int32_t>* value;
} kCounters[ResourceCounters::kCount] = {{"new", &g_newCount},
                                         {"new[]", &g_newArrayCount},
                                         {"eglDisplay", &Environment::eglDisplayCount},
                                         {"eglDisplayReal", &Environment::eglDisplayRealCount},
                                         {"eglContext", &Environment::eglContextCount},
                                         {"eglContextReal", &Environment::eglContextRealCount},
                                         {"eglSurface", &Environment::eglSurfaceCount},
                                         {"eglSurfaceReal", &Environment::eglSurfaceRealCount},
                                         {"Shader", &Shader::ShadersCount},
                                         {"GLShader", &Shader::GLShadersCount},
                                         {"Program", &ShaderProgram::ProgramsCount},
                                         {"GLProgram", &ShaderProgram::GLProgramsCount},
                                         {"Bitmap", &Bitmap::BitmapCount},
                                         {"BitmapBytes", &Bitmap::BitmapBytes},
                                         {"GLTexture", &Texture::GLTexturesCount},
                                         {"GLTextureBytes", &Texture::GLTexturesBytes},
                                         {"NBitmap", &NativeBitmap::BitmapCount},
                                         {"NBitmapBytes", &NativeBitmap::BitmapBytes},
                                         {"nbmp new", &g_newNBmpCount},
                                         {"nbmp new[]", &g_newNBmpArrayCount}};

}  // namespace

ResourceCounters ResourceCounters::Now() {
    ResourceCounters counters;
    for (int i = 0; i < kCount; ++i) {
        counters.values[i] = kCounters[i].value->load(std::memory_order_relaxed);
    }
    return counters;
}

int32_t ResourceCounters::operator[](const char* name) const {
    for (int i = 0; i < kCount; ++i) {
        if (std::strcmp(kCounters[i].name, name) == 0) {
            return values[i];
        }
    }
    ADD_FAILURE() << "no counter named " << name;
    return 0;
}

std::ostream& operator<<(std::ostream& out, const ResourceCounters& counters) {
    out << "{";
    for (int i = 0; i < ResourceCounters::kCount; ++i) {
        out << (i ? ", " : "") << kCounters[i].name << " " << counters.values[i];
    }
    return out << "}";
}

}  // namespace kesto::test
