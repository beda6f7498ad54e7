#include "gl/Context.h"

#include <EGL/eglext.h>

#include <cstring>
#include <initializer_list>

#include "core/Accounting.h"
#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "gl/VertexBuffer.h"
#include "platform/Log.h"
#include "platform/Mutex.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderManager.h"

KESTO_LOG_TAG("KestoContext");

namespace kesto {

namespace {

// Every live context, so that a GL object can tell which one it is made in.
Mutex g_liveLock;
Context* g_live = nullptr;

}  // namespace

bool Context::HasExtension(const char* list, const char* name) {
    const size_t length = std::strlen(name);
    for (const char* at = list; at != nullptr && (at = std::strstr(at, name)) != nullptr;
         at += length) {
        if ((at == list || at[-1] == ' ') && (at[length] == ' ' || at[length] == '\0')) {
            return true;
        }
    }
    return false;
}

Context::Context() {
    MutexGuard guard(g_liveLock);
    nextLive_ = g_live;
    g_live = this;
}

Context::~Context() {
    deinit();
    MutexGuard guard(g_liveLock);
    for (Context** at = &g_live; *at != nullptr; at = &(*at)->nextLive_) {
        if (*at == this) {
            *at = nextLive_;
            break;
        }
    }
}

Context* Context::Current() {
    const EGLContext current = eglGetCurrentContext();
    if (current == EGL_NO_CONTEXT) {
        return nullptr;
    }
    MutexGuard guard(g_liveLock);
    for (Context* context = g_live; context != nullptr; context = context->nextLive_) {
        if (context->eglContext == current) {
            return context;
        }
    }
    return nullptr;
}

bool Context::init(Environment* env, int red, int green, int blue, int alpha) {
    KLOGI("init +");
    if (renderer != nullptr) {
        KLOGE("init NG - already inited");
        return false;
    }
    environment = env;
    redSize = red;
    greenSize = green;
    blueSize = blue;
    alphaSize = alpha;
    if (env == nullptr) {
        KLOGE("init() NG - null environment");
        deinit();
        return false;
    }
    EGLDisplay display = env->eglDisplay;
    if (display == EGL_NO_DISPLAY) {
        KLOGE("init() NG - null egl display");
        deinit();
        return false;
    }

    // Window support only, and no renderable type: the pbuffer comes from the same config.
    const EGLint attributes[] = {
        EGL_RED_SIZE,   red,   EGL_GREEN_SIZE,   green,          EGL_BLUE_SIZE, blue,
        EGL_ALPHA_SIZE, alpha, EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_NONE,      EGL_NONE};
    EGLint count = 0;
    if (!eglChooseConfig(display, attributes, nullptr, 0, &count)) {
        KLOGE("eglChooseConfig NG %08X", eglGetError());
        deinit();
        return false;
    }
    if (count == 0) {
        KLOGE("eglChooseConfig NG - no match");
        deinit();
        return false;
    }
    KLOGI("eglChooseConfig %d", count);
    EGLConfig* configs = NewArray<EGLConfig>(static_cast<size_t>(count));
    if (configs == nullptr) {
        KLOGE("new EGLConfig NG");
        deinit();
        return false;
    }
    if (!eglChooseConfig(display, attributes, configs, count, &count)) {
        KLOGE("eglChooseConfig2 NG %08X", eglGetError());
        deinit();
        DeleteArray(configs);
        return false;
    }
    // EGL sorts larger colour depths first; prefer the config with exactly the asked sizes.
    eglConfig = configs[0];
    for (EGLint i = 0; i < count; ++i) {
        EGLint r = 0, g = 0, b = 0, a = 0;
        eglGetConfigAttrib(display, configs[i], EGL_RED_SIZE, &r);
        eglGetConfigAttrib(display, configs[i], EGL_GREEN_SIZE, &g);
        eglGetConfigAttrib(display, configs[i], EGL_BLUE_SIZE, &b);
        eglGetConfigAttrib(display, configs[i], EGL_ALPHA_SIZE, &a);
        if (r == red && g == green && b == blue && a == alpha) {
            KLOGI("eglConfig index:%d EGLConfig:%d red:%d green:%d blue:%d alpha:%d", i,
                  static_cast<int>(reinterpret_cast<intptr_t>(configs[i])), r, g, b, a);
            eglConfig = configs[i];
            break;
        }
    }
    DeleteArray(configs);

    if (!createEglContext()) {
        deinit();
        return false;
    }

    const EGLint pbufferAttributes[] = {EGL_WIDTH, 2, EGL_HEIGHT, 2, EGL_NONE, EGL_NONE};
    pbufferSurface = eglCreatePbufferSurface(display, eglConfig, pbufferAttributes);
    if (pbufferSurface == EGL_NO_SURFACE) {
        KLOGE("eglCreatePbufferSurface NG %08X", eglGetError());
        deinit();
        return false;
    }
    CountUp(Environment::eglSurfaceCount);
    CountUp(Environment::eglSurfaceRealCount);
    currentSurface = pbufferSurface;

    renderer = NewObject<Renderer>(display, eglContext, this);
    if (renderer == nullptr) {
        KLOGE("new Renderer NG");
        deinit();
        return false;
    }
    runOnCurrentThread();
    bool ready = renderer->init();
    if (!ready) {
        KLOGE("renderer init NG");
    } else if (!(ready = initShaderManager())) {
        KLOGE("initShaderManager NG");
    }
    if (!ready) {
        removeFromCurrentThread();
        deinit();
        return false;
    }
    removeFromCurrentThread();
    KLOGI("init -");
    return true;
}

bool Context::createEglContext() {
    KLOGI("GLES2");
    const EGLDisplay display = environment->eglDisplay;
    // Asked to report a GPU reset as a lost context where the driver can; plain otherwise.
    if (HasExtension(eglQueryString(display, EGL_EXTENSIONS),
                     "EGL_EXT_create_context_robustness")) {
        const EGLint robustAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2,
                                           EGL_CONTEXT_OPENGL_RESET_NOTIFICATION_STRATEGY_EXT,
                                           EGL_LOSE_CONTEXT_ON_RESET_EXT, EGL_NONE};
        eglContext = eglCreateContext(display, eglConfig, EGL_NO_CONTEXT, robustAttributes);
    }
    robust_ = eglContext != EGL_NO_CONTEXT;
    if (!robust_) {
        const EGLint contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
        eglContext = eglCreateContext(display, eglConfig, EGL_NO_CONTEXT, contextAttributes);
    }
    resetQueryLooked_ = false;
    resetStatus_ = nullptr;
    if (eglContext == EGL_NO_CONTEXT) {
        KLOGE("eglCreateContext NG %08X", eglGetError());
        return false;
    }
    KLOGI("Context created.");
    CountUp(Environment::eglContextCount);
    CountUp(Environment::eglContextRealCount);
    if (renderer != nullptr) {
        renderer->eglContext = eglContext;
    }
    return true;
}

void Context::destroyEglContext() {
    if (eglContext == EGL_NO_CONTEXT) {
        return;
    }
    KLOGI("Context destroyed.");
    CountDown(Environment::eglContextCount);
    if (environment != nullptr && eglDestroyContext(environment->eglDisplay, eglContext)) {
        CountDown(Environment::eglContextRealCount);
    } else {
        KLOGE("eglDestroyContext NG %X", eglGetError());
    }
    eglContext = EGL_NO_CONTEXT;
    if (renderer != nullptr) {
        renderer->eglContext = EGL_NO_CONTEXT;
    }
}

void Context::forgetGLObjects() {
    // Not current any more, so every holder forgets instead of deleting.
    glObjects.unlinkAll();
    if (shaderManager != nullptr) {
        shaderManager->forgetGLObjects();
    }
    if (renderer != nullptr) {
        renderer->forgetGLObjects();
    }
}

void Context::recoverFromLoss(const char* reportedBy, EGLSurface surface) {
    const EGLDisplay display = environment->eglDisplay;
    if (!lost_) {
        KLOGE("GL context lost (%s): its textures, programs and buffers are gone", reportedBy);
        lost_ = true;
        lossPending_ = false;
        ++lossCount;
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        destroyEglContext();
        forgetGLObjects();
    }
    if (!createEglContext()) {
        KLOGE("GL context lost - no new context yet, trying again at the next call");
        return;
    }
    lost_ = false;
    currentSurface = surface != EGL_NO_SURFACE ? surface : pbufferSurface;
    if (!eglMakeCurrent(display, currentSurface, currentSurface, eglContext)) {
        KLOGE("eglMakeCurrent NG %08X - after recreating the lost context", eglGetError());
        return;
    }
    KLOGI("GL context recreated after a loss (%u so far)", lossCount);
}

bool Context::failed(const char* call, EGLSurface surface, bool lossKnown) {
    const EGLint error = lossKnown ? EGL_CONTEXT_LOST : eglGetError();
    if (error == EGL_CONTEXT_LOST) {
        recoverFromLoss(call, surface);
    } else {
        KLOGE("%s NG %08X", call, error);
    }
    return false;
}

bool Context::makeCurrent(EGLSurface surface) {
    if (lossPending_ || lost_) {
        return failed("eglMakeCurrent", surface, true);
    }
    if (eglContext == EGL_NO_CONTEXT) {
        KLOGE("makeCurrent NG - null context");
        return false;
    }
    return eglMakeCurrent(environment->eglDisplay, surface, surface, eglContext) ||
           failed("eglMakeCurrent", surface, false);
}

bool Context::swapBuffers(EGLSurface surface, EGLint* rects, EGLint count) {
    if (lossPending_ || lost_) {
        return failed("eglSwapBuffers", surface, true);
    }
    const EGLDisplay display = environment->eglDisplay;
    if (rects != nullptr && !swapWithDamageLooked_) {
        swapWithDamageLooked_ = true;
        const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
        for (const char* name :
             {"EGL_KHR_swap_buffers_with_damage", "EGL_EXT_swap_buffers_with_damage"}) {
            if (swapWithDamage_ == nullptr && HasExtension(extensions, name)) {
                // Both name the same entry point but for the suffix.
                swapWithDamage_ = reinterpret_cast<decltype(swapWithDamage_)>(
                    eglGetProcAddress(name[4] == 'K' ? "eglSwapBuffersWithDamageKHR"
                                                     : "eglSwapBuffersWithDamageEXT"));
            }
        }
    }
    const bool swapped = rects != nullptr && swapWithDamage_ != nullptr
                             ? swapWithDamage_(display, surface, rects, count)
                             : eglSwapBuffers(display, surface);
    if (!swapped) {
        return failed("eglSwapBuffers", surface, false);
    }
    if (robust_ && !resetQueryLooked_) {
        resetQueryLooked_ = true;
        const char* extensions = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
        if (HasExtension(extensions, "GL_EXT_robustness")) {
            resetStatus_ = reinterpret_cast<PFNGLGETGRAPHICSRESETSTATUSEXTPROC>(
                eglGetProcAddress("glGetGraphicsResetStatusEXT"));
        }
    }
    if (resetStatus_ != nullptr && resetStatus_() != GL_NO_ERROR) {
        recoverFromLoss("glGetGraphicsResetStatusEXT", surface);
        return false;
    }
    return true;
}

bool Context::simulateLoss() {
    if (renderer == nullptr || eglContext == EGL_NO_CONTEXT) {
        KLOGE("simulateLoss NG - no context to lose");
        return false;
    }
    KLOGI("simulateLoss: the EGL context and its GL objects are destroyed under the engine");
    if (isCurrent()) {
        eglMakeCurrent(environment->eglDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    // Current on another thread, it goes when that thread's next EGL call replaces it.
    destroyEglContext();
    lossPending_ = true;
    return true;
}

void Context::deinit() {
    KLOGI("deinit +");
    if (renderer != nullptr) {
        // A lost context is replaced first, so that windows unbind as they always do.
        if (lost()) {
            recoverFromLoss("teardown", EGL_NO_SURFACE);
        } else {
            runOnCurrentThread();
        }
    }
    // Windows unbind their surfaces and GL objects delete themselves while this context is
    // current and its display alive; when it cannot be made current they forget.
    unlinkAll();
    if (!isCurrent()) {
        forgetGLObjects();
    }
    glObjects.unlinkAll();
    if (renderer != nullptr) {
        deinitShaderManager();
        DeleteObject(renderer);
        renderer = nullptr;
        removeFromCurrentThread();
    }
    KLOGI("Context eglMakeCurrent - deinit()");
    EGLDisplay display = environment != nullptr ? environment->eglDisplay : EGL_NO_DISPLAY;
    if (display != EGL_NO_DISPLAY &&
        !eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)) {
        KLOGE("eglMakeCurrent NG %X", eglGetError());
    }
    if (pbufferSurface != EGL_NO_SURFACE) {
        CountDown(Environment::eglSurfaceCount);
        if (environment != nullptr && eglDestroySurface(display, pbufferSurface)) {
            CountDown(Environment::eglSurfaceRealCount);
        } else {
            KLOGE("eglDestroySurface NG %X", eglGetError());
        }
        pbufferSurface = EGL_NO_SURFACE;
    }
    destroyEglContext();
    lost_ = lossPending_ = false;
    currentSurface = EGL_NO_SURFACE;
    eglConfig = nullptr;
    redSize = greenSize = blueSize = alphaSize = 0;
    environment = nullptr;
    logResource();
    // Buffers still registered stay visible in the count and bytes.
    vertexBufferPeakCount = 0;
    vertexBufferPeakBytes = 0;
    vertexBufferRegisterCount = 0;
    KLOGI("deinit -");
}

bool Context::runOnCurrentThread() {
    if (eglContext == EGL_NO_CONTEXT && !lost()) {
        KLOGE("runOnCurrentThread NG - null context");
        return false;
    }
    KLOGI("Context eglMakeCurrent - runOnCurrentThread()");
    // A recovered context is current, only without the objects it had.
    return makeCurrent(currentSurface) || (!lost() && isCurrent());
}

void Context::removeFromCurrentThread() {
    if (eglContext == EGL_NO_CONTEXT) {
        KLOGE("removeFromCurrentThread NG - null context");
        return;
    }
    KLOGI("Context eglMakeCurrent - removeFromCurrentThread()");
    if (!eglMakeCurrent(environment->eglDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)) {
        KLOGE("eglMakeCurrent NG %08X", eglGetError());
    }
}

bool Context::targetSurface(void* surface) {
    KLOGI("Context targetSurface %08X",
          static_cast<unsigned>(reinterpret_cast<uintptr_t>(surface)));
    if (eglContext == EGL_NO_CONTEXT && !lost()) {
        KLOGE("targetSurface NG - null context");
        return false;
    }
    currentSurface = surface != nullptr ? static_cast<EGLSurface>(surface) : pbufferSurface;
    runOnCurrentThread();
    return true;
}

bool Context::isCurrent() const {
    return eglContext != EGL_NO_CONTEXT && eglGetCurrentContext() == eglContext;
}

bool Context::registerVertexBuffer(VertexBuffer* vertexBuffer) {
    if (vertexBuffer == nullptr) {
        KLOGE("registerVertexBuffer NG - null vertexBuffer");
        return false;
    }
    if (vertexBuffer->_glResourceContext != nullptr) {
        KLOGE("registerVertexBuffer NG - vertexBuffer already registered");
        return false;
    }
    vertexBuffer->_glResourceContext = &glObjects;
    if (++vertexBufferCount > vertexBufferPeakCount) {
        vertexBufferPeakCount = vertexBufferCount;
    }
    vertexBufferBytes += static_cast<int32_t>(vertexBuffer->bufferSize);
    if (vertexBufferBytes > vertexBufferPeakBytes) {
        vertexBufferPeakBytes = vertexBufferBytes;
    }
    ++vertexBufferRegisterCount;
    return true;
}

void Context::unregisterVertexBuffer(VertexBuffer* vertexBuffer) {
    if (vertexBuffer == nullptr) {
        KLOGE("unregisterVertexBuffer NG - null vertexBuffer");
        return;
    }
    if (vertexBuffer->glContext() != this) {
        KLOGE("unregisterVertexBuffer NG - context not match");
        return;
    }
    vertexBuffer->_glResourceContext = nullptr;
    --vertexBufferCount;
    vertexBufferBytes -= static_cast<int32_t>(vertexBuffer->bufferSize);
}

void Context::logResource() {
    KLOGI("Context VertexBuffer (%d,%d) (%d,%d bytes) %d", vertexBufferCount, vertexBufferPeakCount,
          vertexBufferBytes, vertexBufferPeakBytes, vertexBufferRegisterCount);
}

bool Context::initShaderManager() {
    shaderManager = NewObject<ShaderManager>();
    return shaderManager != nullptr && RegisterBuiltInShaders(shaderManager);
}

bool Context::RegisterBuiltInShaders(ShaderManager* shaderManager) {
    using namespace DefaultShader;
    const struct {
        const char* name;
        const char* source;
        bool vertex;
    } shaders[] = {
        {DEFAULT_VS, DEFAULT_VERTEX_SHADER, true},
        {DEFAULT_FS, DEFAULT_FRAGMENT_SHADER, false},
        {NO_TEXTURE_VS, NO_TEXTURE_VERTEX_SHADER, true},
        {NO_TEXTURE_FS, NO_TEXTURE_FRAGMENT_SHADER, false},
        {NO_TRANSFORM_VS, NO_TRANSFORM_VERTEX_SHADER, true},
        {BLUR_FS, BLUR_FRAGMENT_SHADER, false},
        {OES_TEXTURE_VS, OES_TEXTURE_VERTEXT_SHADER, true},
        {OES_TEXTURE_FS, OES_TEXTURE_FRAGMENT_SHADER, false},
        {BATCH_VS, BATCH_VERTEX_SHADER, true},
        {BATCH_FS, BATCH_FRAGMENT_SHADER, false},
        {BATCH_NO_TEXTURE_FS, BATCH_NO_TEXTURE_FRAGMENT_SHADER, false},
    };
    for (const auto& shader : shaders) {
        const bool registered =
            shader.vertex ? shaderManager->registerVertexShader(shader.name, shader.source)
                          : shaderManager->registerFragmentShader(shader.name, shader.source);
        if (!registered) {
            KLOGE("initShaderManager - register shader NG");
            return false;
        }
    }
    const struct {
        const char* name;
        const char* vertex;
        const char* fragment;
        const char** attributes;
        const char** samplers;
        const char* failure;
    } programs[] = {
        {DEFAULT_SP, DEFAULT_VS, DEFAULT_FS, POSITION_TEXCOORD_ATTRIBUTES, SAMPLER0_SAMPLERS,
         "initShaderManager - register default shader program NG"},
        {NO_TEXTURE_SP, NO_TEXTURE_VS, NO_TEXTURE_FS, POSITION_ATTRIBUTES, nullptr,
         "initShaderManager - register no texture shader program NG"},
        {POST_PROCESS_BLUR_SP, NO_TRANSFORM_VS, BLUR_FS, POSITION_TEXCOORD_ATTRIBUTES,
         SAMPLER0_SAMPLERS, "initShaderManager - register post process blur shader program NG"},
        {BLUR_SP, DEFAULT_VS, BLUR_FS, POSITION_TEXCOORD_ATTRIBUTES, SAMPLER0_SAMPLERS,
         "initShaderManager - register blur shader program NG"},
        // Shares the blur program's message.
        {OES_TEXTURE_SP, OES_TEXTURE_VS, OES_TEXTURE_FS, POSITION_TEXCOORD_ATTRIBUTES, nullptr,
         "initShaderManager - register blur shader program NG"},
        {BATCH_SP, BATCH_VS, BATCH_FS, POSITION_TEXCOORD_COLOR_ATTRIBUTES, SAMPLER0_SAMPLERS,
         "initShaderManager - register batch shader program NG"},
        {BATCH_NO_TEXTURE_SP, BATCH_VS, BATCH_NO_TEXTURE_FS, POSITION_TEXCOORD_COLOR_ATTRIBUTES,
         nullptr, "initShaderManager - register batch shader program NG"},
    };
    for (const auto& program : programs) {
        if (!shaderManager->registerShaderProgram(program.name, program.vertex, program.fragment,
                                                  program.attributes, program.samplers)) {
            KLOGE("%s", program.failure);
            return false;
        }
    }
    return true;
}

void Context::deinitShaderManager() {
    if (shaderManager != nullptr) {
        DeleteObject(shaderManager);
        shaderManager = nullptr;
    }
}

ShaderProgram* Context::getShaderProgram(const char* name) {
    return shaderManager != nullptr ? shaderManager->getShaderProgram(name) : nullptr;
}

}  // namespace kesto
