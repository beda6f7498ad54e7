#include "gl/VertexBuffer.h"

#include <cstdint>
#include <cstring>

#include "core/Accounting.h"
#include "core/Changes.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "platform/Log.h"

KESTO_LOG_TAG("VertexBuffer");

namespace kesto {

namespace {

Vector g_dummyPosition;
Vector2 g_dummyTextureCoordinates;

}  // namespace

bool VertexBuffer::allocateBuffer(int contentFlags, unsigned int count) {
    freeBuffer();
    stride = 0;
    texCoordOffset = 0;
    if (contentFlags & HAS_POSITION) {
        stride += 12;
        texCoordOffset = 12;
    }
    if (contentFlags & HAS_TEXTURE_COORDINATES) {
        stride += 8;
    }
    // The byte count is accounted in 32-bit signed counters.
    const uint64_t bytes = static_cast<uint64_t>(count) * static_cast<uint32_t>(stride);
    bufferSize = static_cast<uint32_t>(bytes);
    buffer = bytes <= INT32_MAX ? NewRawArray<uint8_t>(bufferSize) : nullptr;
    if (buffer == nullptr) {
        KLOGE("new vertexBuffer NG");
        freeBuffer();
        return false;
    }
    flags = contentFlags;
    vertexCount = count;
    return true;
}

void VertexBuffer::freeBuffer() {
    NoteSceneChange();
    unbindGLBuffer();
    DeleteArray(buffer);
    buffer = nullptr;
    flags = 0;
    vertexCount = 0;
    stride = 0;
    positionOffset = 0;
    texCoordOffset = 0;
    bufferSize = 0;
}

bool VertexBuffer::bindGLBuffer(Context* context) {
    if (glBuffer != 0) {
        return true;
    }
    if (context == nullptr || buffer == nullptr || bufferSize == 0) {
        KLOGE("bindGLBuffer NG - %08X %08X %u",
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(context)),
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(buffer)), bufferSize);
        return false;
    }
    glGenBuffers(1, &glBuffer);
    if (glBuffer == 0) {
        KLOGE("glGenBuffer NG");
        return false;
    }
    CountUp(environment->glArrayBufferCount);
    glBindBuffer(GL_ARRAY_BUFFER, glBuffer);
    glBufferData(GL_ARRAY_BUFFER, bufferSize, buffer, GL_STATIC_DRAW);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("glBufferData NG %08X", error);
    } else if (context->registerVertexBuffer(this)) {
        return true;
    } else {
        KLOGE("bindGLBuffer NG - register");
    }
    unbindGLBuffer();
    return false;
}

void VertexBuffer::unbindGLBuffer() {
    if (glBuffer != 0) {
        // Another context, or the one that replaced a lost one, may use the same name for a
        // buffer of its own; the copy's own context frees it with itself.
        if (_glResourceContext == nullptr || glContext()->isCurrent()) {
            glDeleteBuffers(1, &glBuffer);
        }
        glBuffer = 0;
        CountDown(environment->glArrayBufferCount);
        if (_glResourceContext == nullptr) {
            KLOGE("unbindGLBuffer NG - null context");
        } else {
            glContext()->unregisterVertexBuffer(this);
        }
    }
    if (_glResourceContext != nullptr) {
        KLOGE("unbindGLBuffer NG - _glResourceContext != 0");
    }
}

void VertexBuffer::setVertexPosition(unsigned int index, float x, float y, float z) {
    if (index >= vertexCount) {
        KLOGE("setVertexPosition index NG - %u/%u", index, vertexCount);
        return;
    }
    if (!(flags & HAS_POSITION)) {
        KLOGE("setVertexPosition NG - No position");
        return;
    }
    const float position[3] = {x, y, z};
    std::memcpy(vertexAt(index, positionOffset), position, sizeof position);
    unbindGLBuffer();
    NoteSceneChange();
}

void VertexBuffer::setVertexTextureCoordinates(unsigned int index, float u, float v) {
    if (index >= vertexCount) {
        KLOGE("setVertexTextureCoordinates index NG - %u/%u", index, vertexCount);
        return;
    }
    if (!(flags & HAS_TEXTURE_COORDINATES)) {
        KLOGE("setVertexTextureCoordinates NG - No texture coordinates");
        return;
    }
    const float coordinates[2] = {u, v};
    std::memcpy(vertexAt(index, texCoordOffset), coordinates, sizeof coordinates);
    unbindGLBuffer();
    NoteSceneChange();
}

Vector* VertexBuffer::getVertexPosition(unsigned int index) {
    if (index >= vertexCount) {
        KLOGE("getVertexPosition index NG - %u/%u", index, vertexCount);
        return &g_dummyPosition;
    }
    // Tests the texture-coordinate bit, not the position bit: every mesh has both, so only a
    // position-only buffer notices, and it reads the dummy.
    if (!(flags & HAS_TEXTURE_COORDINATES)) {
        KLOGE("getVertexPosition NG - No position");
        return &g_dummyPosition;
    }
    return reinterpret_cast<Vector*>(vertexAt(index, positionOffset));
}

Vector2* VertexBuffer::getVertexTextureCoordinates(unsigned int index) {
    if (index >= vertexCount) {
        KLOGE("getVertexTextureCoordinates index NG - %u/%u", index, vertexCount);
        return &g_dummyTextureCoordinates;
    }
    if (!(flags & HAS_TEXTURE_COORDINATES)) {
        KLOGE("getVertexTextureCoordinates NG - No texture coordinates");
        return &g_dummyTextureCoordinates;
    }
    return reinterpret_cast<Vector2*>(vertexAt(index, texCoordOffset));
}

}  // namespace kesto
