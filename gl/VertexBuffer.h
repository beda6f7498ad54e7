// Interleaved vertex array (the master copy) with an on-demand GL buffer copy registered with the
// context that created it. Every edit discards the GL copy; the next draw uploads again.
#pragma once

#include <GLES2/gl2.h>

#include <cstddef>
#include <cstdint>

#include "core/Link.h"
#include "core/Vector.h"
#include "gl/Context.h"

namespace kesto {

class Environment;

class VertexBuffer {
  public:
    enum : int32_t {
        HAS_POSITION = 1,            // x, y, z floats
        HAS_TEXTURE_COORDINATES = 2  // u, v floats, after the position
    };

    Environment* environment;
    int32_t flags = 0;
    uint32_t vertexCount = 0;
    int32_t stride = 0;
    int32_t positionOffset = 0;
    int32_t texCoordOffset = 0;
    uint32_t bufferSize = 0;
    uint8_t* buffer = nullptr;
    GLuint glBuffer = 0;

  private:
    // The GL copy lives in this context; its names mean nothing in another one, nor after a loss.
    void contextGoing() { unbindGLBuffer(); }

  public:
    WatchedLink<ContextObjects, VertexBuffer, &VertexBuffer::contextGoing> _glResourceContext{this};
    // The context holding the GL copy, or null.
    Context* glContext() const {
        return _glResourceContext != nullptr ? _glResourceContext->context : nullptr;
    }

    explicit VertexBuffer(Environment* env) : environment(env) {}
    ~VertexBuffer() { freeBuffer(); }
    VertexBuffer(const VertexBuffer&) = delete;
    VertexBuffer& operator=(const VertexBuffer&) = delete;

    // Contents are left uninitialised.
    bool allocateBuffer(int contentFlags, unsigned int count);
    void freeBuffer();
    // Uploads when there is no current GL copy and leaves it bound to GL_ARRAY_BUFFER.
    bool bindGLBuffer(Context* context);
    void unbindGLBuffer();

    void setVertexPosition(unsigned int index, float x, float y, float z);
    void setVertexTextureCoordinates(unsigned int index, float u, float v);
    // Never null: refusals return a shared zero dummy. Writing through the pointer does not
    // discard the GL copy.
    Vector* getVertexPosition(unsigned int index);
    Vector2* getVertexTextureCoordinates(unsigned int index);

  private:
    uint8_t* vertexAt(unsigned int index, int32_t offset) const {
        return buffer + offset + static_cast<size_t>(stride) * index;
    }
};

}  // namespace kesto
