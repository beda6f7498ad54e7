#include "shader/Shader.h"

#include "core/Accounting.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoShader");

namespace kesto {

std::atomic<int32_t> Shader::ShadersCount{0};
std::atomic<int32_t> Shader::GLShadersCount{0};

Shader::Shader() {
    ShadersCount.fetch_add(1, std::memory_order_relaxed);
}

Shader::~Shader() {
    ShadersCount.fetch_sub(1, std::memory_order_relaxed);
}

bool Shader::create(int shaderType, const char* source) {
    destroy();
    glShader = glCreateShader(shaderType);
    if (glShader == 0) {
        KLOGE("glCreateShader NG - %08X", glGetError());
        destroy();
        return false;
    }
    GLShadersCount.fetch_add(1, std::memory_order_relaxed);
    glShaderSource(glShader, 1, &source, nullptr);
    glCompileShader(glShader);

    GLint compiled = 0;
    glGetShaderiv(glShader, GL_COMPILE_STATUS, &compiled);
    if (compiled != 0) {
        type = shaderType;
        return true;
    }
    KLOGE("glCompileShader NG");
    logShaderInfoLog();
    destroy();
    return false;
}

void Shader::forget() {
    if (glShader != 0) {
        glShader = 0;
        GLShadersCount.fetch_sub(1, std::memory_order_relaxed);
    }
}

void Shader::destroy() {
    if (glShader != 0) {
        KLOGI("Shader glDeleteShader.");
        glDeleteShader(glShader);
        glShader = 0;
        GLShadersCount.fetch_sub(1, std::memory_order_relaxed);
    }
    type = 0;
}

void Shader::logShaderInfoLog() {
    if (glShader == 0) {
        return;
    }
    GLint length = 0;
    glGetShaderiv(glShader, GL_INFO_LOG_LENGTH, &length);
    if (length <= 0) {
        KLOGE("glGetShaderiv GL_INFO_LOG_LENGTH 0");
        return;
    }
    char* buffer = NewArray<char>(static_cast<size_t>(length));
    if (buffer == nullptr) {
        KLOGE("logShaderInfoLog() NG - create info log buffer");
        return;
    }
    glGetShaderInfoLog(glShader, length, nullptr, buffer);
    buffer[length - 1] = '\0';
    KLOGE("ShaderInfoLog:\n%s\n", buffer);
    DeleteArray(buffer);
}

}  // namespace kesto
