// Per-context registry of named GLSL sources and named programs.
//
// Registering only copies names and texts; a program and its shaders are compiled and linked the
// first time the program is requested, then kept until destroy(). Shaders shared by several
// programs are compiled once. GL work needs the owning context current.
#pragma once

#include <GLES2/gl2.h>

#include "core/List.h"
#include "shader/Shader.h"
#include "shader/ShaderProgram.h"

namespace kesto {

class ShaderManager {
  public:
    struct ShaderData {
        Shader* shader;  // owned; null until first needed, and again after a failed compile
        char* name;
        char* source;
        GLenum type;
    };

    struct ShaderProgramData {
        ShaderProgram* program = nullptr;  // owned; null until first requested
        char* name = nullptr;
        // Looked up only when the program is built, so programs may be registered first.
        char* vertexShaderName = nullptr;
        char* fragmentShaderName = nullptr;
        // Owned copies; a name's position is its attribute index or texture unit.
        List<const char*> attributeNames;
        List<const char*> samplerNames;

        ShaderProgramData() = default;
        // Records are copied only into their list node, while still blank. A list cannot be
        // shared, so the copy starts with empty ones.
        ShaderProgramData(const ShaderProgramData& other)
            : program(other.program),
              name(other.name),
              vertexShaderName(other.vertexShaderName),
              fragmentShaderName(other.fragmentShaderName) {}
        ShaderProgramData& operator=(const ShaderProgramData&) = delete;
    };

    List<ShaderProgramData> programs;
    List<ShaderData> shaders;

    ShaderManager() = default;
    ~ShaderManager();
    ShaderManager(const ShaderManager&) = delete;
    ShaderManager& operator=(const ShaderManager&) = delete;

    // A name already registered is refused silently: the first registration wins.
    bool registerShader(const char* name, const char* source, int type);
    bool registerVertexShader(const char* name, const char* source) {
        return registerShader(name, source, GL_VERTEX_SHADER);
    }
    bool registerFragmentShader(const char* name, const char* source) {
        return registerShader(name, source, GL_FRAGMENT_SHADER);
    }
    // Both arrays are null-terminated and may be null. Samplers are listed only when listing the
    // attributes fails, so a program registered with attributes keeps its samplers on unit 0.
    bool registerShaderProgram(const char* name, const char* vertexShaderName,
                               const char* fragmentShaderName, const char* const* attributeNames,
                               const char* const* samplerNames);

    // Built on first request and left current; null on failure, and a later request retries. A
    // program forgotten in a context loss is built again into the same object, which materials
    // and the renderer keep.
    ShaderProgram* getShaderProgram(const char* name);
    // The program built again if a loss took its GL object; null when that fails.
    ShaderProgram* revive(ShaderProgram* program);
    // After a context loss: drops every GL name, keeping the objects.
    void forgetGLObjects();
    Shader* getShader(const char* name);
    ShaderProgram* createShaderProgram(ShaderProgramData& data);
    void destroyShaderProgram(ShaderProgramData& data);

    bool setupNameList(List<const char*>& list, const char* const* names);
    void destroyNameList(List<const char*>& list);

    void destroy();

  private:
    ShaderData* findShader(const char* name);
    ShaderProgramData* findShaderProgram(const char* name);
};

}  // namespace kesto
