#include "scene/Material.h"

#include <cstring>

#include "core/Accounting.h"
#include "core/Changes.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoMaterial");

namespace kesto {

void Material::setColor(unsigned char r, unsigned char g, unsigned char b) {
    NoteSceneChange();
    red = static_cast<float>(r / 255.0);
    green = static_cast<float>(g / 255.0);
    blue = static_cast<float>(b / 255.0);
}

void Material::setAlpha(unsigned char a) {
    NoteSceneChange();
    alpha = static_cast<float>(a / 255.0);
}

bool Material::setTexture(int index, Texture* slotTexture) {
    if (index != 0) {
        return false;
    }
    NoteSceneChange();
    texture = slotTexture;
    return true;
}

bool Material::setUniformVariable(const char* name, int num, UniformType type, void* data) {
    if (name == nullptr || num < 0 || num > 4 || data == nullptr) {
        KLOGE("setUniformVariable NG - parameter NG, name:%p num:%d data%p", name, num, data);
        return false;
    }
    NoteSceneChange();
    const size_t bytes = static_cast<size_t>(num) * 4;
    for (auto* node = uniformVariables.head; node != nullptr; node = node->next) {
        uniformVariableData& variable = node->value;
        if (std::strcmp(variable.name, name) != 0) {
            continue;
        }
        if (variable.num != num) {
            KLOGE("setUniformVariable NG - num doesn't match. old num: %d new num:%d", variable.num,
                  num);
            return false;
        }
        if (variable.type != type) {
            KLOGE("setUniformVariable NG - type doesn't match. old type: %d new type:%d",
                  variable.type, type);
            return false;
        }
        std::memcpy(variable.data, data, bytes);
        return true;
    }

    const size_t nameBytes = std::strlen(name) + 1;
    char* nameCopy = NewArray<char>(nameBytes);
    if (nameCopy == nullptr) {
        KLOGE("setUniformVariable NG - new uniformName");
        return false;
    }
    std::memcpy(nameCopy, name, nameBytes);
    if (!uniformVariables.push_back(uniformVariableData{nullptr, -1, type, num, nullptr})) {
        KLOGE("setUniformVariable NG - push_back failed");
        DeleteArray(nameCopy);
        return false;
    }
    if (type != UNIFORM_TYPE_INT && type != UNIFORM_TYPE_FLOAT) {
        KLOGE("setUniformVariable NG - unknow");
        DeleteArray(nameCopy);
        uniformVariables.pop_back();
        return false;
    }
    // Zero-length data still gets its own (empty) array, so every variable owns one.
    int32_t* values = NewArray<int32_t>(static_cast<size_t>(num));
    if (values == nullptr) {
        KLOGE("setUniformVariable NG - new uniformData");
        DeleteArray(nameCopy);
        uniformVariables.pop_back();
        return false;
    }
    std::memcpy(values, data, bytes);
    uniformVariableData& variable = uniformVariables.tail->value;
    variable.data = values;
    variable.name = nameCopy;
    return true;
}

bool Material::updateUniformVariable(unsigned int program) {
    if (program == 0) {
        KLOGE("updateUniformVariable NG - program is null");
        return false;
    }
    // Programs linked again after a context loss may place the variables elsewhere.
    const uint32_t forgotten = ShaderProgram::ForgetCount.load(std::memory_order_relaxed);
    const bool relinked = forgotten != locationsForgetCount_;
    locationsForgetCount_ = forgotten;
    for (auto* node = uniformVariables.head; node != nullptr; node = node->next) {
        uniformVariableData& variable = node->value;
        if (variable.location == -1 || relinked) {
            variable.location = glGetUniformLocation(program, variable.name);
            if (variable.location == -1) {
                KLOGE("updateUniformVariable NG - null location, program:%d name:%s", program,
                      variable.name);
                return false;
            }
        }
        const GLint location = variable.location;
        if (variable.type == UNIFORM_TYPE_INT) {
            const GLint* values = static_cast<const GLint*>(variable.data);
            switch (variable.num) {
                case 1:
                    glUniform1iv(location, 1, values);
                    break;
                case 2:
                    glUniform2iv(location, 1, values);
                    break;
                case 3:
                    glUniform3iv(location, 1, values);
                    break;
                case 4:
                    glUniform4iv(location, 1, values);
                    break;
                default:
                    break;
            }
        } else {
            const GLfloat* values = static_cast<const GLfloat*>(variable.data);
            switch (variable.num) {
                case 1:
                    glUniform1fv(location, 1, values);
                    break;
                case 2:
                    glUniform2fv(location, 1, values);
                    break;
                case 3:
                    glUniform3fv(location, 1, values);
                    break;
                case 4:
                    glUniform4fv(location, 1, values);
                    break;
                default:
                    break;
            }
        }
        const GLenum error = glGetError();
        if (error != GL_NO_ERROR) {
            KLOGE("updateUniformVariable NG %08X, type %d, num %d", error, variable.type,
                  variable.num);
            return false;
        }
    }
    return true;
}

bool Material::describe(float groupAlpha, DrawItem* item) const {
    item->alpha = groupAlpha * alpha;
    if (item->alpha == 0.0f) {
        return false;
    }
    item->program = shaderProgram;
    Texture* slot = texture;
    if (slot != nullptr && slot->isOESTexture) {
        // Nothing to upload: the stream fills it.
        item->texture = slot->renderTextureHandle;
        item->textureKind = DrawItem::TextureKind::External;
        item->textureTransform =
            slot->textureTransform != nullptr ? slot->textureTransform->m : nullptr;
    } else if (slot != nullptr) {
        item->textureSource = slot;  // the draw realises it and takes its name and kind
    }
    item->red = red;
    item->green = green;
    item->blue = blue;
    item->rgbOperation = rgbOperation;
    describeUniforms(item);
    return true;
}

void Material::describeUniforms(DrawItem* item) const {
    item->writeUniforms = [](const void* source, GLuint program) {
        return const_cast<Material*>(static_cast<const Material*>(source))
            ->updateUniformVariable(program);
    };
    item->uniformSource = this;
    item->hasUniforms = uniformVariables.head != nullptr;
    uint64_t hash = 0;
    for (auto* node = uniformVariables.head; node != nullptr; node = node->next) {
        const uniformVariableData& variable = node->value;
        hash = (hash ^ reinterpret_cast<uintptr_t>(variable.name)) * 0x9E3779B97F4A7C15ull;
        for (int32_t i = 0; i < variable.num; ++i) {
            uint32_t word;
            std::memcpy(&word, static_cast<const uint8_t*>(variable.data) + 4 * i, 4);
            hash = (hash ^ word) * 0x9E3779B97F4A7C15ull;
        }
    }
    item->uniformHash = hash;
}

void Material::clearUniformVariable() {
    NoteSceneChange();
    for (auto* node = uniformVariables.head; node != nullptr; node = node->next) {
        DeleteArray(static_cast<int32_t*>(node->value.data));
        DeleteArray(node->value.name);
    }
    uniformVariables.clear();
}

}  // namespace kesto
