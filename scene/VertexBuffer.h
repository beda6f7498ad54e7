// Interleaved vertex array (the master copy) with an on-demand GL buffer copy registered with the
// context that created it.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>

namespace kesto {

class Context;
class Environment;

class VertexBuffer {
  public:
    Environment* environment = nullptr;
    int32_t flags = 0;
    uint32_t vertexCount = 0;
    int32_t stride = 0;
    int32_t positionOffset = 0;
    int32_t texCoordOffset = 0;
    uint32_t bufferSize = 0;
    uint8_t* buffer = nullptr;
    GLuint glBuffer = 0;
    Context* _glResourceContext = nullptr;
};

}  // namespace kesto
