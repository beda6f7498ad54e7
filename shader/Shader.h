// One GL shader object compiled from a GLSL source string.
//
// The destructor only updates the object counter: the owner releases the GL object with destroy()
// first, while the context is current.
#pragma once

#include <GLES2/gl2.h>

#include <atomic>
#include <cstdint>

namespace kesto {

class Shader {
  public:
    static std::atomic<int32_t> ShadersCount;
    static std::atomic<int32_t> GLShadersCount;

    GLuint glShader = 0;  // 0: no GL object
    GLenum type = 0;      // set only once a compile has succeeded

    Shader();
    virtual ~Shader();
    Shader(const Shader&) = delete;
    Shader& operator=(const Shader&) = delete;

    bool create(int shaderType, const char* source);
    bool createVertexShader(const char* source) { return create(GL_VERTEX_SHADER, source); }
    bool createFragmentShader(const char* source) { return create(GL_FRAGMENT_SHADER, source); }
    void destroy();
    // After a context loss: the object is gone with its context, only the name is dropped.
    void forget();
    void logShaderInfoLog();
};

}  // namespace kesto
