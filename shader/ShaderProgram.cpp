#include "shader/ShaderProgram.h"

#include "core/Accounting.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoSP");

namespace kesto {

std::atomic<int32_t> ShaderProgram::ProgramsCount{0};
std::atomic<int32_t> ShaderProgram::GLProgramsCount{0};
std::atomic<uint32_t> ShaderProgram::ForgetCount{0};

ShaderProgram::ShaderProgram() {
    ProgramsCount.fetch_add(1, std::memory_order_relaxed);
}

ShaderProgram::~ShaderProgram() {
    ProgramsCount.fetch_sub(1, std::memory_order_relaxed);
}

bool ShaderProgram::create() {
    destroy();
    glProgram = glCreateProgram();
    if (glProgram == 0) {
        KLOGE("glCreateProgram NG %08X", glGetError());
        destroy();
        return false;
    }
    GLProgramsCount.fetch_add(1, std::memory_order_relaxed);
    return true;
}

void ShaderProgram::forget() {
    if (glProgram != 0) {
        glProgram = 0;
        GLProgramsCount.fetch_sub(1, std::memory_order_relaxed);
    }
    vertexShader = fragmentShader = nullptr;
    projectionMatrixLocation = -1;
    modelViewMatrixLocation = -1;
    blendColorLocation = -1;
    textureMatrixLocation = -1;
}

void ShaderProgram::destroy() {
    if (vertexShader != nullptr) {
        detachShader(vertexShader);
    }
    if (fragmentShader != nullptr) {
        detachShader(fragmentShader);
    }
    if (glProgram != 0) {
        KLOGI("ShaderProgram glDeleteProgram.");
        glDeleteProgram(glProgram);
        glProgram = 0;
        GLProgramsCount.fetch_sub(1, std::memory_order_relaxed);
    }
    // The texture-matrix flag and location say what kind of program this is, not which GL
    // object it has, so they survive.
    projectionMatrixLocation = -1;
    modelViewMatrixLocation = -1;
    blendColorLocation = -1;
}

bool ShaderProgram::attachShader(Shader* shader) {
    if (glProgram == 0) {
        KLOGE("attachShader NG - null program");
        return false;
    }
    if (shader == nullptr) {
        KLOGE("attachShader NG - null shader");
        return false;
    }
    if (shader->glShader == 0) {
        KLOGE("attachShader NG - null gl shader");
        return false;
    }
    Shader** slot;
    if (shader->type == GL_VERTEX_SHADER) {
        slot = &vertexShader;
    } else if (shader->type == GL_FRAGMENT_SHADER) {
        slot = &fragmentShader;
    } else {
        KLOGE("attachShader NG - illegal shader type %08X", shader->type);
        return false;
    }
    if (*slot != nullptr) {
        detachShader(*slot);
    }
    glAttachShader(glProgram, shader->glShader);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("glAttachShader NG %08X", error);
        return false;
    }
    *slot = shader;
    return true;
}

void ShaderProgram::detachShader(Shader* shader) {
    if (glProgram == 0) {
        KLOGE("detachShader NG - null program");
        return;
    }
    if (shader == nullptr) {
        KLOGE("detachShader NG - null shader");
        return;
    }
    // Forget the shader even when its GL object is already gone, so no stale slot remains.
    if (shader == vertexShader) {
        vertexShader = nullptr;
    }
    if (shader == fragmentShader) {
        fragmentShader = nullptr;
    }
    if (shader->glShader == 0) {
        KLOGE("detachShader NG - null gl shader");
        return;
    }
    KLOGI("ShaderProgram glDetachShader.");
    glDetachShader(glProgram, shader->glShader);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("glDetachShader NG %08X", error);
    }
}

bool ShaderProgram::bindAttribLocation(unsigned int index, const char* name) {
    if (glProgram == 0) {
        KLOGE("bindAttribLocation NG - null program");
        return false;
    }
    glBindAttribLocation(glProgram, index, name);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("glBindAttribLocation NG %08X", error);
        return false;
    }
    return true;
}

bool ShaderProgram::link() {
    if (glProgram == 0) {
        KLOGE("link NG - null program");
        return false;
    }
    glLinkProgram(glProgram);
    GLint linked = 0;
    glGetProgramiv(glProgram, GL_LINK_STATUS, &linked);
    if (linked == 0) {
        KLOGE("glGetProgramiv NG");
        logProgramInfoLog();
        return false;
    }
    return true;
}

void ShaderProgram::logProgramInfoLog() {
    if (glProgram == 0) {
        return;
    }
    GLint length = 0;
    glGetProgramiv(glProgram, GL_INFO_LOG_LENGTH, &length);
    if (length <= 0) {
        KLOGE("glGetProgramiv GL_INFO_LOG_LENGTH 0");
        return;
    }
    char* buffer = NewArray<char>(static_cast<size_t>(length));
    if (buffer == nullptr) {
        KLOGE("logProgramInfoLog NG - create info log buffer");
        return;
    }
    glGetProgramInfoLog(glProgram, length, nullptr, buffer);
    buffer[length - 1] = '\0';
    KLOGE("ProgramInfoLog:\n%s\n", buffer);
    DeleteArray(buffer);
}

bool ShaderProgram::useProgram() {
    if (glProgram == 0) {
        KLOGE("useProgram NG - null program");
        return false;
    }
    glUseProgram(glProgram);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("glUseProgram NG %08X", error);
        return false;
    }
    return true;
}

bool ShaderProgram::setupTextureLocation(int textureUnit, const char* samplerName) {
    if (samplerName == nullptr || textureUnit < 0) {
        KLOGE("setupTextureLocation parameter NG - texture name: %p bindingNum:%d", samplerName,
              textureUnit);
        return false;
    }
    if (glProgram == 0) {
        KLOGE("setupTextureLocation NG - null program");
        return false;
    }
    GLint location = glGetUniformLocation(glProgram, samplerName);
    if (location == -1) {
        KLOGE("setupTextureLocation NG - null location, name:%s", samplerName);
        return false;
    }
    glUniform1i(location, textureUnit);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("setupTextureLocation NG %08X", error);
        return false;
    }
    return true;
}

bool ShaderProgram::setupDefaultUniformLocation() {
    if (glProgram == 0) {
        KLOGE("setupDefaultUniformLocation NG - null program");
        return false;
    }
    projectionMatrixLocation = glGetUniformLocation(glProgram, "ProjectionMatrix");
    modelViewMatrixLocation = glGetUniformLocation(glProgram, "ModelViewMatrix");
    blendColorLocation = glGetUniformLocation(glProgram, "BlendColor");
    if (textureMatrixFlag == 1) {
        textureMatrixLocation = glGetUniformLocation(glProgram, "TextureMatrix");
    }
    // Only the two matrices are required; programs without a blend colour or texture matrix
    // take those setters silently (GL ignores location -1).
    if (projectionMatrixLocation == -1 || modelViewMatrixLocation == -1) {
        KLOGE("setupDefaultUniformLocation NG - null location (%d %d)", projectionMatrixLocation,
              modelViewMatrixLocation);
        return false;
    }
    return true;
}

// Shared first half of the setters: a program must exist, and a location still at -1 triggers
// one look-up of all default locations. The location may stay -1 after a successful look-up.
bool ShaderProgram::prepareLocation(GLint location, const char* setter) {
    if (glProgram == 0) {
        KLOGE("%s NG - null program", setter);
        return false;
    }
    if (location == -1 && !setupDefaultUniformLocation()) {
        KLOGE("%s NG - null location", setter);
        return false;
    }
    return true;
}

bool ShaderProgram::checkSet(const char* setter) {
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("%s NG %08X", setter, error);
        return false;
    }
    return true;
}

bool ShaderProgram::setProjectionMatrix(const Matrix& matrix) {
    static const char kSetter[] = "setProjectionMatrix";
    if (!prepareLocation(projectionMatrixLocation, kSetter)) {
        return false;
    }
    glUniformMatrix4fv(projectionMatrixLocation, 1, GL_FALSE, matrix.m);
    return checkSet(kSetter);
}

bool ShaderProgram::setModelViewMatrixMatrix(const Matrix& matrix) {
    static const char kSetter[] = "setModelViewMatrixMatrix";
    if (!prepareLocation(modelViewMatrixLocation, kSetter)) {
        return false;
    }
    glUniformMatrix4fv(modelViewMatrixLocation, 1, GL_FALSE, matrix.m);
    return checkSet(kSetter);
}

bool ShaderProgram::setBlendColor(float r, float g, float b, float a) {
    static const char kSetter[] = "setBlendColor";
    if (!prepareLocation(blendColorLocation, kSetter)) {
        return false;
    }
    glUniform4f(blendColorLocation, r, g, b, a);
    return checkSet(kSetter);
}

bool ShaderProgram::setTextureMatrixLocation(const Matrix& matrix) {
    static const char kSetter[] = "setTextureMatrix";
    if (!prepareLocation(textureMatrixLocation, kSetter)) {
        return false;
    }
    glUniformMatrix4fv(textureMatrixLocation, 1, GL_FALSE, matrix.m);
    return checkSet(kSetter);
}

}  // namespace kesto
