// How one mesh is drawn: colour and alpha, one texture, whether the colour tints the texture, an
// optional program of its own and extra uniform variables written into whichever program draws.
// Data only; the renderer turns it into GL state.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>

#include "core/Changes.h"
#include "core/Link.h"
#include "core/List.h"
#include "gl/DrawItem.h"
#include "image/Texture.h"
#include "shader/ShaderProgram.h"

namespace kesto {

class Material {
  public:
    enum UniformType : int32_t { UNIFORM_TYPE_INT = 0, UNIFORM_TYPE_FLOAT = 1 };

    struct uniformVariableData {
        void* data;  // num 32-bit components, owned
        // Cached per variable, not per program: a material is meant for one program.
        GLint location;
        UniformType type;
        int32_t num;
        char* name;  // owned
    };

    float red = 0.27f;
    float green = 0.27f;
    float blue = 0.27f;
    float alpha = 1.0f;
    Link<Texture> texture;  // slot 0, not owned; null once the texture is destroyed
    // 1: the colour tints the texture; anything else: textured meshes are drawn in white.
    int32_t rgbOperation = 0;
    // Kept for callers; drawing does not consult it.
    bool enableColorBlending = true;
    // Not owned; null picks a built-in program, also once the program's context is gone.
    Link<ShaderProgram> shaderProgram;
    List<uniformVariableData> uniformVariables;

    Material() = default;
    ~Material() { clearUniformVariable(); }
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    void setColor(unsigned char r, unsigned char g, unsigned char b);
    void setAlpha(unsigned char a);
    bool setTexture(int index, Texture* slotTexture);
    Texture* getTexture(int index) const { return index == 0 ? texture.get() : nullptr; }
    void setRGBOperation(int operation) {
        NoteSceneChange();
        rgbOperation = operation;
    }
    void setEnableColorBlending(bool enabled) { enableColorBlending = enabled; }
    void setShaderProgram(ShaderProgram* program) {
        NoteSceneChange();
        shaderProgram = program;
    }
    ShaderProgram* getShaderProgram() const { return shaderProgram; }

    // A variable keeps the count and type of its first setting; later settings only change its
    // values.
    bool setUniformVariable(const char* name, int num, UniformType type, void* data);
    bool setUniformVariable(const char* name, int num, float* data) {
        return setUniformVariable(name, num, UNIFORM_TYPE_FLOAT, data);
    }
    bool setUniformVariable(const char* name, int num, int* data) {
        return setUniformVariable(name, num, UNIFORM_TYPE_INT, data);
    }
    // Writes every variable into the current program; stops at the first failure.
    bool updateUniformVariable(unsigned int program);
    // Fills what a draw of this material needs; the draw realises the texture when it gets to
    // it. False when there is nothing to draw (alpha 0, also through the group alpha).
    bool describe(float groupAlpha, DrawItem* item) const;
    // Points a draw item's uniform writer at this material.
    void describeUniforms(DrawItem* item) const;
    void clearUniformVariable();

  private:
    // ShaderProgram::ForgetCount when the locations were looked up.
    uint32_t locationsForgetCount_ = 0;
};

}  // namespace kesto
