// One EGL rendering context with what belongs to it: the chosen config, a 2x2 pbuffer to be
// current on when no window is bound, its Renderer, its ShaderManager and the accounting of the
// GL vertex buffers created in it. A context can be lost (a GPU reset, memory pressure, an app sent
// to the background): the EGL call that reports it makes a new EGL context at once, and every GL
// object of the old one is forgotten, to be made again where it is next needed.
#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <cstdint>

#include "core/Link.h"

namespace kesto {

class Environment;
class Renderer;
class ShaderManager;
class ShaderProgram;
class VertexBuffer;

class Context;

// What the GL objects made in one context link to. Going, it tells each of them; a holder deletes
// its name only while that context is current, and otherwise forgets it: after a loss the name is
// gone with the old context, and may already mean an object of the new one.
class ContextObjects : public LinkTarget {
  public:
    explicit ContextObjects(Context* owner) : context(owner) {}
    ~ContextObjects() = default;
    Context* const context;
};

// Windows link to their context; deinit tells them, and the GL objects made in it, while the
// context is still whole, so that they release what they hold in it.
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
    ContextObjects glObjects{this};
    // Losses met so far; each one dropped every GL object of the context.
    uint32_t lossCount = 0;

    Context();
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    // Leaves the context not current on the calling thread. Every failure ends in deinit().
    bool init(Environment* env, int red, int green, int blue, int alpha);
    // Safe to repeat.
    void deinit();

    // True when the context is current afterwards, a recovered one included.
    bool runOnCurrentThread();
    // Whether this context is the calling thread's current one.
    bool isCurrent() const;
    void removeFromCurrentThread();
    // Null targets the pbuffer. Returns true whenever the context exists.
    bool targetSurface(void* surface);
    // The EGL calls that can report a loss. False when the call failed or met a loss: the work it
    // was part of used GL objects that are gone, so a frame gives up and is drawn again.
    bool makeCurrent(EGLSurface surface);
    // With rectangles (x, y from the bottom, width, height), tells the display which part
    // changed, where it can be told.
    bool swapBuffers(EGLSurface surface, EGLint* rects = nullptr, EGLint count = 0);
    // Whether the space-separated extension list names `name`.
    static bool HasExtension(const char* list, const char* name);
    // Destroys the EGL context, and with it every GL object, under the engine; the next EGL call
    // reports the loss as a real one does.
    bool simulateLoss();
    // Whether a loss waits to be recovered from (the new context could not be made yet).
    bool lost() const { return lost_ || lossPending_; }
    // The context of ours current on the calling thread, or null.
    static Context* Current();

    bool registerVertexBuffer(VertexBuffer* vertexBuffer);
    void unregisterVertexBuffer(VertexBuffer* vertexBuffer);
    void logResource();

    bool initShaderManager();
    // The built-in sources and programs, in their order; stops at the first refusal.
    static bool RegisterBuiltInShaders(ShaderManager* shaderManager);
    void deinitShaderManager();
    ShaderProgram* getShaderProgram(const char* name);

  private:
    bool createEglContext();
    void destroyEglContext();
    // Logs the loss once, forgets the GL objects, then makes a new context current on `surface`.
    void recoverFromLoss(const char* reportedBy, EGLSurface surface);
    // After a failed EGL call, or one refused for a loss already known: recovers from a loss or
    // logs the error. Always false.
    bool failed(const char* call, EGLSurface surface, bool lossKnown);
    void forgetGLObjects();

    bool lost_ = false;
    bool lossPending_ = false;
    // Where the driver offers reset notification, asked after every swap.
    bool robust_ = false;
    bool resetQueryLooked_ = false;
    PFNGLGETGRAPHICSRESETSTATUSEXTPROC resetStatus_ = nullptr;
    bool swapWithDamageLooked_ = false;
    EGLBoolean(EGLAPIENTRY* swapWithDamage_)(EGLDisplay, EGLSurface, EGLint*, EGLint) = nullptr;
    Context* nextLive_ = nullptr;
};

}  // namespace kesto
