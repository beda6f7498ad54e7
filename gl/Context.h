// One EGL rendering context with what belongs to it: the chosen config, a 2x2 pbuffer to be
// current on when no window is bound, its Renderer, its ShaderManager and the accounting of the
// GL vertex buffers created in it.
#pragma once

#include <EGL/egl.h>

#include <cstdint>

#include "core/Link.h"

namespace kesto {

class Environment;
class Renderer;
class ShaderManager;
class ShaderProgram;
class VertexBuffer;

// Windows and vertex buffers link to their context; deinit tells them, while the context is
// still whole, so that they release what they hold in it.
class Context : public LinkTarget {
  public:
    Environment* environment = nullptr;
    int32_t redSize = 0;
    int32_t greenSize = 0;
    int32_t blueSize = 0;
    int32_t alphaSize = 0;
    EGLConfig eglConfig = nullptr;
    EGLContext eglContext = EGL_NO_CONTEXT;
    EGLSurface pbufferSurface = EGL_NO_SURFACE;
    // Set exactly while the context is initialised.
    Renderer* renderer = nullptr;
    EGLSurface currentSurface = EGL_NO_SURFACE;
    ShaderManager* shaderManager = nullptr;

    int32_t vertexBufferCount = 0;
    int32_t vertexBufferPeakCount = 0;
    int32_t vertexBufferBytes = 0;
    int32_t vertexBufferPeakBytes = 0;
    int32_t vertexBufferRegisterCount = 0;

    Context() = default;
    ~Context() { deinit(); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    // Leaves the context not current on the calling thread. Every failure ends in deinit().
    bool init(Environment* env, int red, int green, int blue, int alpha);
    // Safe to repeat.
    void deinit();

    bool runOnCurrentThread();
    // Whether this context is the calling thread's current one.
    bool isCurrent() const;
    void removeFromCurrentThread();
    // Null targets the pbuffer. Returns true whenever the context exists.
    bool targetSurface(void* surface);

    bool registerVertexBuffer(VertexBuffer* vertexBuffer);
    void unregisterVertexBuffer(VertexBuffer* vertexBuffer);
    void logResource();

    bool initShaderManager();
    // The built-in sources and programs, in their order; stops at the first refusal.
    static bool RegisterBuiltInShaders(ShaderManager* shaderManager);
    void deinitShaderManager();
    ShaderProgram* getShaderProgram(const char* name);
};

}  // namespace kesto
