#include "shader/ShaderManager.h"

#include <cstring>

#include "core/Accounting.h"
#include "platform/Log.h"
#include "shader/DefaultShader.h"

KESTO_LOG_TAG("KestoSM");

namespace kesto {

namespace {

// Counted copy of a NUL-terminated string. A null string has no copy, so callers report it as
// they report a failed allocation.
char* CopyString(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t size = std::strlen(text) + 1;
    char* copy = NewArray<char>(size);
    if (copy != nullptr) {
        std::memcpy(copy, text, size);
    }
    return copy;
}

}  // namespace

ShaderManager::~ShaderManager() {
    destroy();
    programs.clear();
    shaders.clear();
}

ShaderManager::ShaderData* ShaderManager::findShader(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    for (auto* node = shaders.head; node != nullptr; node = node->next) {
        if (std::strcmp(node->value.name, name) == 0) {
            return &node->value;
        }
    }
    return nullptr;
}

ShaderManager::ShaderProgramData* ShaderManager::findShaderProgram(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    for (auto* node = programs.head; node != nullptr; node = node->next) {
        if (std::strcmp(node->value.name, name) == 0) {
            return &node->value;
        }
    }
    return nullptr;
}

bool ShaderManager::registerShader(const char* name, const char* source, int type) {
    if (findShader(name) != nullptr) {
        return false;
    }
    char* dataName = CopyString(name);
    if (dataName == nullptr) {
        KLOGE("registerShader NG - new dataName");
        return false;
    }
    char* dataSrc = CopyString(source);
    if (dataSrc == nullptr) {
        KLOGE("registerShader NG - new dataSrc");
        DeleteArray(dataName);
        return false;
    }
    if (!shaders.push_back(ShaderData{nullptr, dataName, dataSrc, static_cast<GLenum>(type)})) {
        DeleteArray(dataName);
        DeleteArray(dataSrc);
        return false;
    }
    return true;
}

bool ShaderManager::registerShaderProgram(const char* name, const char* vertexShaderName,
                                          const char* fragmentShaderName,
                                          const char* const* attributeNames,
                                          const char* const* samplerNames) {
    if (findShaderProgram(name) != nullptr) {
        KLOGE("registerShaderProgram NG - program %s already exists", name);
        return false;
    }
    char* dataProgramName = CopyString(name);
    if (dataProgramName == nullptr) {
        KLOGE("registerShaderProgram NG - new dataProgramName");
        return false;
    }
    char* dataVertexName = CopyString(vertexShaderName);
    if (dataVertexName == nullptr) {
        KLOGE("registerShaderProgram NG - new dataVertexName");
        DeleteArray(dataProgramName);
        return false;
    }
    char* dataFragmentName = CopyString(fragmentShaderName);
    if (dataFragmentName == nullptr) {
        KLOGE("registerShaderProgram NG - new dataFragmentName");
        DeleteArray(dataProgramName);
        DeleteArray(dataVertexName);
        return false;
    }
    if (!programs.push_back(ShaderProgramData())) {
        DeleteArray(dataProgramName);
        DeleteArray(dataVertexName);
        DeleteArray(dataFragmentName);
        return false;
    }
    ShaderProgramData& data = programs.tail->value;

    // The sampler array is a fallback for a failed attribute list only. Every program registered
    // with attributes therefore keeps its samplers at GL's default unit 0; programs and renderer
    // rely on exactly that, so the rule stays.
    bool listed = true;
    if (attributeNames != nullptr && !setupNameList(data.attributeNames, attributeNames) &&
        samplerNames != nullptr) {
        listed = setupNameList(data.samplerNames, samplerNames);
    }
    if (!listed) {
        KLOGE("registerShaderProgram NG - setupNameList failed");
        DeleteArray(dataProgramName);
        DeleteArray(dataVertexName);
        DeleteArray(dataFragmentName);
        programs.pop_back();
        return false;
    }
    data.name = dataProgramName;
    data.vertexShaderName = dataVertexName;
    data.fragmentShaderName = dataFragmentName;
    return true;
}

bool ShaderManager::setupNameList(List<const char*>& list, const char* const* names) {
    if (names == nullptr) {
        KLOGE("setupNameList NG - name Array is null");
        return false;
    }
    for (const char* const* name = names; *name != nullptr; ++name) {
        if (!list.push_back(nullptr)) {
            continue;
        }
        char* copy = CopyString(*name);
        if (copy == nullptr) {
            KLOGE("setupNameList NG - new name");
            destroyNameList(list);
            return false;
        }
        list.tail->value = copy;
    }
    return true;
}

void ShaderManager::destroyNameList(List<const char*>& list) {
    for (auto* node = list.head; node != nullptr; node = node->next) {
        DeleteArray(node->value);
    }
    list.clear();
}

Shader* ShaderManager::getShader(const char* name) {
    if (name == nullptr) {
        KLOGE("getShader NG - shader name is null");
        return nullptr;
    }
    ShaderData* data = findShader(name);
    if (data == nullptr) {
        KLOGE("getShader NG - can't find shader name: %s", name);
        return nullptr;
    }
    if (data->shader != nullptr && data->shader->glShader != 0) {
        return data->shader;
    }
    if (data->shader == nullptr) {
        data->shader = NewObject<Shader>();
    }
    if (data->shader == nullptr) {
        KLOGE("getShader - new Shader NG");
        return nullptr;
    }
    if (data->shader->create(data->type, data->source)) {
        return data->shader;
    }
    KLOGE("getShader - createShader NG name:%s, src:%s", data->name, data->source);
    data->shader->destroy();
    DeleteObject(data->shader);
    data->shader = nullptr;
    return nullptr;
}

ShaderProgram* ShaderManager::getShaderProgram(const char* name) {
    if (name == nullptr) {
        KLOGE("getShaderProgram NG - shader program name is null");
        return nullptr;
    }
    ShaderProgramData* data = findShaderProgram(name);
    if (data == nullptr) {
        KLOGE("getShaderProgram NG - can't find shader program name: %s", name);
        return nullptr;
    }
    if (data->program != nullptr && data->program->glProgram != 0) {
        return data->program;
    }
    return createShaderProgram(*data);
}

ShaderProgram* ShaderManager::revive(ShaderProgram* program) {
    if (program == nullptr || program->glProgram != 0) {
        return program;
    }
    for (auto* node = programs.head; node != nullptr; node = node->next) {
        if (node->value.program == program) {
            return createShaderProgram(node->value);
        }
    }
    return nullptr;
}

void ShaderManager::forgetGLObjects() {
    ShaderProgram::ForgetCount.fetch_add(1, std::memory_order_relaxed);
    for (auto* node = programs.head; node != nullptr; node = node->next) {
        if (node->value.program != nullptr) {
            node->value.program->forget();
        }
    }
    for (auto* node = shaders.head; node != nullptr; node = node->next) {
        if (node->value.shader != nullptr) {
            node->value.shader->forget();
        }
    }
}

ShaderProgram* ShaderManager::createShaderProgram(ShaderProgramData& data) {
    Shader* vertexShader = getShader(data.vertexShaderName);
    if (vertexShader == nullptr) {
        KLOGE("getShaderProgram - getShader NG, type: vertex");
        return nullptr;
    }
    Shader* fragmentShader = getShader(data.fragmentShaderName);
    if (fragmentShader == nullptr) {
        KLOGE("getShaderProgram - getShader NG, type: fragment");
        return nullptr;
    }
    // Built again in place after a loss, so that those who keep the object keep it.
    ShaderProgram* program = data.program != nullptr ? data.program : NewObject<ShaderProgram>();
    const bool kept = program == data.program;
    data.program = program;
    if (program == nullptr) {
        KLOGE("getShaderProgram - new ShaderProgram NG");
        return nullptr;
    }
    // A kept object stays, only without a GL program, for the next request to try again.
    auto fail = [&]() -> ShaderProgram* {
        if (kept) {
            program->destroy();
        } else {
            destroyShaderProgram(data);
        }
        return nullptr;
    };
    if (!program->create()) {
        KLOGE("getShaderProgram  NG");
        return fail();
    }
    if (!program->attachShader(vertexShader)) {
        KLOGE("getShaderProgram attachShader vertex shader NG");
        return fail();
    }
    if (!program->attachShader(fragmentShader)) {
        KLOGE("getShaderProgram attachShader fragment shader NG");
        return fail();
    }
    if (!program->link()) {
        KLOGE("getShaderProgram link NG");
        return fail();
    }
    // Bound after the link, so they only matter if the program is linked again.
    unsigned int index = 0;
    bool placed = true;
    for (auto* node = data.attributeNames.head; node != nullptr; node = node->next, ++index) {
        if (!program->bindAttribLocation(index, node->value)) {
            KLOGE("getShaderProgram bindAttribLocation NG");
            return fail();
        }
        const GLint chosen = glGetAttribLocation(program->glProgram, node->value);
        placed &= chosen == -1 || chosen == static_cast<GLint>(index);
    }
    // The renderer feeds attributes by these indices. A linker that chose others (drivers that
    // pack active attributes do) would get positions as texture coordinates: one more link makes
    // the bindings take effect.
    if (!placed && !program->link()) {
        KLOGE("getShaderProgram link NG");
        return fail();
    }
    if (!program->useProgram()) {
        KLOGE("getShaderProgram useProgram NG");
        return fail();
    }
    int unit = 0;
    for (auto* node = data.samplerNames.head; node != nullptr; node = node->next, ++unit) {
        if (!program->setupTextureLocation(unit, node->value)) {
            KLOGE("getShaderProgram setupTextureLocation NG");
            return fail();
        }
    }
    if (std::strncmp(data.name, DefaultShader::OES_TEXTURE_SP,
                     DefaultShader::OES_TEXTURE_SP_PREFIX_LENGTH) == 0) {
        program->textureMatrixFlag = 1;
    }
    return program;
}

void ShaderManager::destroyShaderProgram(ShaderProgramData& data) {
    if (data.program != nullptr) {
        data.program->destroy();
        DeleteObject(data.program);
        data.program = nullptr;
    }
}

// Programs go first so that each detaches its shaders while they still exist.
void ShaderManager::destroy() {
    for (auto* node = programs.head; node != nullptr; node = node->next) {
        ShaderProgramData& data = node->value;
        destroyShaderProgram(data);
        DeleteArray(data.name);
        data.name = nullptr;
        DeleteArray(data.vertexShaderName);
        data.vertexShaderName = nullptr;
        DeleteArray(data.fragmentShaderName);
        data.fragmentShaderName = nullptr;
        destroyNameList(data.attributeNames);
        destroyNameList(data.samplerNames);
    }
    programs.clear();
    for (auto* node = shaders.head; node != nullptr; node = node->next) {
        ShaderData& data = node->value;
        if (data.shader != nullptr) {
            data.shader->destroy();
            DeleteObject(data.shader);
            data.shader = nullptr;
        }
        DeleteArray(data.name);
        DeleteArray(data.source);
    }
    shaders.clear();
}

}  // namespace kesto
