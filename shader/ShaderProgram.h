// One GL program object linked from a vertex and a fragment Shader, with lazily looked-up locations
// of the uniforms the renderer sets on every draw.
//
// The program never owns its shaders. The destructor only updates the object counter: the owner
// releases the GL object with destroy() first, while the context is current.
#pragma once

#include <GLES2/gl2.h>

#include <atomic>
#include <cstdint>

#include "core/Link.h"
#include "core/Matrix.h"
#include "shader/Shader.h"

namespace kesto {

// Materials link to programs; a destroyed program unlinks them.
class ShaderProgram : public LinkTarget {
  public:
    static std::atomic<int32_t> ProgramsCount;
    static std::atomic<int32_t> GLProgramsCount;
    // Bumped whenever a context loss takes programs: cached uniform locations are stale then.
    static std::atomic<uint32_t> ForgetCount;

    GLuint glProgram = 0;  // 0: no GL object
    Shader* vertexShader = nullptr;
    Shader* fragmentShader = nullptr;
    // -1: not looked up yet, or absent from the program.
    GLint projectionMatrixLocation = -1;
    GLint modelViewMatrixLocation = -1;
    GLint blendColorLocation = -1;
    GLint textureMatrixLocation = -1;
    // 1: the program has a "TextureMatrix" uniform to look up (the external-texture program only).
    int32_t textureMatrixFlag = 0;

    ShaderProgram();
    ~ShaderProgram();
    ShaderProgram(const ShaderProgram&) = delete;
    ShaderProgram& operator=(const ShaderProgram&) = delete;

    bool create();
    void destroy();
    // After a context loss: the program is gone with its context; its locations went with it.
    void forget();
    bool attachShader(Shader* shader);
    void detachShader(Shader* shader);
    bool bindAttribLocation(unsigned int index, const char* name);
    bool link();
    void logProgramInfoLog();
    bool useProgram();
    // The program must be current.
    bool setupTextureLocation(int textureUnit, const char* samplerName);
    bool setupDefaultUniformLocation();

    // The setters write into the current program; they never call glUseProgram.
    bool setProjectionMatrix(const Matrix& matrix);
    bool setModelViewMatrixMatrix(const Matrix& matrix);
    bool setBlendColor(float r, float g, float b, float a);
    // Sets the value of "TextureMatrix", not its location.
    bool setTextureMatrixLocation(const Matrix& matrix);

  private:
    bool prepareLocation(GLint location, const char* setter);
    bool checkSet(const char* setter);
};

}  // namespace kesto
