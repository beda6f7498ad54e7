// Root object of the engine: the EGL display, the colour sizes every context asks for, the lazily
// created default context, and the live-object counters behind the resource statistics.
#pragma once

#include <EGL/egl.h>

#include <atomic>
#include <cstdint>

namespace kesto {

class Context;

class Environment {
  public:
    using Counter = std::atomic<int32_t>;

    int32_t inited = 0;
    EGLDisplay eglDisplay = EGL_NO_DISPLAY;
    int32_t redSize = 0;
    int32_t greenSize = 0;
    int32_t blueSize = 0;
    int32_t alphaSize = 0;
    Context* defaultContext = nullptr;

    // Live objects of this environment; each class counts its own constructions.
    Counter windowCount{0};
    Counter sceneCount{0};
    Counter sceneNodeCount{0};
    Counter cameraCount{0};
    Counter meshCount{0};
    Counter bitmapCount{0};
    Counter textureCount{0};
    Counter glArrayBufferCount{0};

    // "Count" is what the engine released, "RealCount" what EGL agreed to release: a difference
    // shows releases that EGL refused.
    static Counter eglDisplayCount;
    static Counter eglDisplayRealCount;
    static Counter eglContextCount;
    static Counter eglContextRealCount;
    static Counter eglSurfaceCount;
    static Counter eglSurfaceRealCount;

    Environment() = default;
    // Does not deinit: the owner must call deinit() first.
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    // No "already inited" check: a second init opens and counts the display again.
    bool init(int red, int green, int blue, int alpha);
    void deinit();
    Context* getDefaultContext();
    void LogResourceCount();
};

// Adds one to a counter with relaxed order; counters are statistics, not synchronisation.
inline void CountUp(std::atomic<int32_t>& counter) {
    counter.fetch_add(1, std::memory_order_relaxed);
}
inline void CountDown(std::atomic<int32_t>& counter) {
    counter.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace kesto
