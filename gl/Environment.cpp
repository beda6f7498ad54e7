#include "gl/Environment.h"

#include <map>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "platform/Log.h"
#include "platform/Mutex.h"
#include "shader/Shader.h"
#include "shader/ShaderProgram.h"

KESTO_LOG_TAG("KestoEnv");

namespace kesto {

Environment::Counter Environment::eglDisplayCount{0};
Environment::Counter Environment::eglDisplayRealCount{0};
Environment::Counter Environment::eglContextCount{0};
Environment::Counter Environment::eglContextRealCount{0};
Environment::Counter Environment::eglSurfaceCount{0};
Environment::Counter Environment::eglSurfaceRealCount{0};

namespace {

// EGL gives every environment of a process the same default display, and eglTerminate ends it
// for all of them: the display is terminated when its last environment lets go. Returns the
// number of environments using it after `change`.
int ChangeDisplayUsers(EGLDisplay display, int change) {
    static Mutex lock;
    static std::map<EGLDisplay, int>* users = nullptr;  // lives as long as the process
    MutexGuard guard(lock);
    if (users == nullptr) {
        users = new std::map<EGLDisplay, int>();
    }
    const int count = (*users)[display] += change;
    if (count <= 0) {
        users->erase(display);
    }
    return count;
}

}  // namespace

Environment::~Environment() {
    if (inited) {
        KLOGE("KestoEnv Should call deinit().");
    }
    LogResourceCount();
}

bool Environment::init(int red, int green, int blue, int alpha) {
    KLOGI("KestoEnv init +");
    eglDisplay = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (eglDisplay == EGL_NO_DISPLAY) {
        KLOGE("eglGetDisplay NG");
        deinit();
        return false;
    }
    EGLint major = 0;
    EGLint minor = 0;
    if (!eglInitialize(eglDisplay, &major, &minor)) {
        KLOGE("eglInitialize NG %08X", eglGetError());
        eglDisplay = EGL_NO_DISPLAY;
        deinit();
        return false;
    }
    ChangeDisplayUsers(eglDisplay, 1);
    KLOGI("egl version: %d %d", major, minor);
    redSize = red;
    greenSize = green;
    blueSize = blue;
    alphaSize = alpha;
    CountUp(eglDisplayCount);
    CountUp(eglDisplayRealCount);
    inited = 1;
    KLOGI("KestoEnv init -");
    return true;
}

void Environment::deinit() {
    KLOGI("KestoEnv deinit +");
    if (defaultContext != nullptr) {
        DeleteObject(defaultContext);
        defaultContext = nullptr;
    }
    redSize = greenSize = blueSize = alphaSize = 0;
    if (eglDisplay != EGL_NO_DISPLAY) {
        if (!eglMakeCurrent(eglDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)) {
            KLOGE("eglMakeCurrent NG %X", eglGetError());
        }
        CountDown(eglDisplayCount);
        if (ChangeDisplayUsers(eglDisplay, -1) > 0 || eglTerminate(eglDisplay)) {
            CountDown(eglDisplayRealCount);
        } else {
            KLOGE("eglTerminate NG %X", eglGetError());
        }
        eglDisplay = EGL_NO_DISPLAY;
    }
    inited = 0;
    KLOGI("KestoEnv deinit -");
}

Context* Environment::getDefaultContext() {
    if (!inited) {
        KLOGE("getDefaultContext() NG - env not inited.");
        return nullptr;
    }
    if (defaultContext != nullptr) {
        return defaultContext;
    }
    KLOGI("Create default context.");
    defaultContext = NewObject<Context>();
    if (defaultContext == nullptr) {
        KLOGE("new default Context NG");
        return nullptr;
    }
    if (defaultContext->init(this, redSize, greenSize, blueSize, alphaSize)) {
        return defaultContext;
    }
    KLOGE("init default Context NG");
    DeleteObject(defaultContext);
    defaultContext = nullptr;
    return nullptr;
}

namespace {

int32_t Read(const std::atomic<int32_t>& counter) {
    return counter.load(std::memory_order_relaxed);
}

}  // namespace

void Environment::LogResourceCount() {
    KLOGI("eglDisplay %d %d", Read(eglDisplayCount), Read(eglDisplayRealCount));
    KLOGI("eglContext %d %d", Read(eglContextCount), Read(eglContextRealCount));
    KLOGI("eglSurface %d %d", Read(eglSurfaceCount), Read(eglSurfaceRealCount));
    const struct {
        const char* format;
        int32_t value;
    } objects[] = {{"Window %d", Read(windowCount)},
                   {"Scene %d", Read(sceneCount)},
                   {"SceneNode %d", Read(sceneNodeCount)},
                   {"Camera %d", Read(cameraCount)},
                   {"Mesh %d", Read(meshCount)}};
    for (const auto& row : objects) {
        if (row.value != 0) {
            KLOGI(row.format, row.value);
        }
    }
    KLOGI("Shader %d %d", Read(Shader::GLShadersCount), Read(Shader::ShadersCount));
    KLOGI("ShaderProgram %d %d", Read(ShaderProgram::GLProgramsCount),
          Read(ShaderProgram::ProgramsCount));
    KLOGI("Bitmap %d %d %d", Read(bitmapCount), Read(g_bitmapCount), Read(g_bitmapBytes));
    KLOGI("Texture %d GL %d %d", Read(textureCount), Read(g_glTextureCount),
          Read(g_glTextureBytes));
    KLOGI("GLArrayBuffer %d", Read(glArrayBufferCount));
    KLOGI("new %d", Read(g_newCount));
    KLOGI("new [] %d", Read(g_newArrayCount));
}

}  // namespace kesto
