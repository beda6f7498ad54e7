#include "draw/Window.h"

#include <EGL/eglext.h>

#include <algorithm>
#include <cstring>

#include "core/Accounting.h"
#include "core/Changes.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "image/Texture.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/NativeWindow.h"
#include "scene/Material.h"
#include "scene/Mesh.h"

KESTO_LOG_TAG("KestoWnd");

namespace kesto {

namespace {

// Frame stamps keep the low 32 bits of the uptime; comparisons wrap with them.
uint32_t Now() {
    return static_cast<uint32_t>(uptimeMillis());
}

bool SameColour(const float a[4], const float b[4]) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2] && a[3] == b[3];
}

// The renderer keeps the copy's mesh and material for its context's lifetime, made on first use.
template <class T, class... Arguments>
T* KeptBy(Renderer::Kept* kept, const char* failure, Arguments... arguments) {
    if (kept->object == nullptr) {
        kept->object = NewObject<T>(arguments...);
        if (kept->object == nullptr) {
            KLOGE("%s", failure);
            return nullptr;
        }
        kept->destroy = [](void* object) { DeleteObject(static_cast<T*>(object)); };
    }
    return static_cast<T*>(kept->object);
}

// Renders into a texture target the window's surface, which may be none: only a loss met on the
// way stops them.
bool TargetKeepsObjects(Context* context, EGLSurface surface, int width, int height) {
    const uint32_t losses = context->lossCount;
    context->renderer->targetSurface(surface, width, height);
    return context->lossCount == losses;
}

}  // namespace

Window::Window(Environment* env, Context* ctx) : environment(env) {
    context = ctx;
    resetLastClearColor();
    if (env == nullptr || ctx == nullptr) {
        KLOGE("NG - environment=%08X context=%08X",
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(env)),
              static_cast<unsigned>(reinterpret_cast<uintptr_t>(ctx)));
    }
    if (environment != nullptr) {
        CountUp(environment->windowCount);
    }
    lossesSeen_ = ctx != nullptr ? ctx->lossCount : 0;
}

Window::~Window() {
    KLOGI("~Window");
    if (eglSurface != EGL_NO_SURFACE) {
        unbindSurface();
    }
    context.set(nullptr);
    if (environment != nullptr) {
        CountDown(environment->windowCount);
        environment = nullptr;
    }
}

void Window::resetLastClearColor() {
    static const float kSentinel[4] = {0.19f, 0.28f, 0.37f, 0.46f};
    std::memcpy(lastClearColor, kSentinel, sizeof lastClearColor);
}

bool Window::bindSurface(ANativeWindow* surface, int surfaceWidth, int surfaceHeight) {
    if (surface == nullptr || surfaceWidth == 0 || surfaceHeight == 0) {
        return false;
    }
    unbindSurface();
    if (context == nullptr) {
        KLOGE("bindSurface NG - the window's context was destroyed");
        return false;
    }
    KLOGI("bindSurface+");
    eglSurface = eglCreateWindowSurface(environment->eglDisplay, context->eglConfig,
                                        EglNativeWindow(surface), nullptr);
    if (eglSurface == EGL_NO_SURFACE) {
        KLOGE("eglCreateWindowSurface NG %08X", eglGetError());
        unbindSurface();
        return false;
    }
    ANativeWindow_acquire(surface);
    nativeWindow = surface;
    width = surfaceWidth;
    height = surfaceHeight;
    const int32_t ownWidth = ANativeWindow_getWidth(surface);
    const int32_t ownHeight = ANativeWindow_getHeight(surface);
    if (ownWidth > 0 && ownHeight > 0 && (ownWidth != width || ownHeight != height)) {
        KLOGW(
            "bindSurface - size %dx%d differs from the surface's own %dx%d: frames use %dx%d, "
            "snapshots read only within the surface",
            width, height, ownWidth, ownHeight, width, height);
    }
    CountUp(Environment::eglSurfaceCount);
    CountUp(Environment::eglSurfaceRealCount);
    if (!context->targetSurface(eglSurface)) {
        KLOGE("target surface NG");
        unbindSurface();
        return false;
    }
    // A black clear colour is deliberately not pre-cleared.
    if (clearColor[0] != 0.0f || clearColor[1] != 0.0f || clearColor[2] != 0.0f) {
        KLOGI("clear surface");
        Renderer* renderer = context->renderer;
        renderer->clearStatus();
        renderer->targetSurface(eglSurface, width, height);
        renderer->clearBuffers(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
        renderer->present(eglSurface);
    }
    resetLastClearColor();
    if (partialRedraw_) {
        chooseBackBuffer();
    }
    KLOGI("bindSurface- %d %d", width, height);
    return true;
}

void Window::unbindSurface() {
    KLOGI("unbindSurface");
    width = height = 0;
    // A new surface starts from nothing.
    havePicture_ = false;
    presentPending_ = false;
    historyCount_ = 0;
    sincePresent_.clear();
    recorder_.forget();
    if (eglSurface == EGL_NO_SURFACE) {
        return;
    }
    if (!context->targetSurface(nullptr)) {
        KLOGE("target null surface NG");
    }
    CountDown(Environment::eglSurfaceCount);
    if (eglDestroySurface(environment->eglDisplay, eglSurface)) {
        CountDown(Environment::eglSurfaceRealCount);
    } else {
        KLOGE("eglDestroySurface NG %X", eglGetError());
    }
    eglSurface = EGL_NO_SURFACE;
    ANativeWindow_release(nativeWindow);
    nativeWindow = nullptr;
}

void Window::setClearColor(float r, float g, float b, float a) {
    clearColor[0] = r;
    clearColor[1] = g;
    clearColor[2] = b;
    clearColor[3] = a;
}

void Window::render() {
    frameStartTime = Now();
    if (eglSurface == EGL_NO_SURFACE) {
        KLOGE("render - eglSurface 0");
        return;
    }
    Renderer* renderer = context->renderer;
    // A loss that another call met and recovered from took the objects this frame would draw.
    const bool lostSince = context->lossCount != lossesSeen_;
    // A loss already known is met by drawing: skipping would hide it.
    const bool replay = partialRedraw_ && !lostSince && !context->lost();
    // A frame that draws nothing does not ask after the native window either, so that it makes no
    // call at all; the next frame that draws does.
    if (replay && recordFrame(renderer)) {
        return;
    }
    if (!NativeWindowAlive(nativeWindow)) {
        KLOGE("render NG - native window lost");
        return;
    }
    renderer->clearStatus();
    renderer->stats = FrameStats();
    // A frame that meets a lost context draws nothing and presents nothing: drawn again, it has
    // its objects back.
    frameGivenUp_ = true;
    if (!renderer->targetSurface(eglSurface, width, height) || lostSince) {
        KLOGE(lostSince ? "render NG - the GL context was lost since the last frame"
                        : "render NG - the frame was given up");
        lossesSeen_ = context->lossCount;
        resetLastClearColor();
        havePicture_ = presentPending_ = false;
        return;
    }
    renderer->sink = batching_ ? &batcher_ : nullptr;
    int32_t whole = partialRedraw_ ? FrameStats::WHOLE_MEMORY : FrameStats::WHOLE_OFF;
    if (replay && recorded_) {
        Damage region;
        const bool partial = regionToDraw(&region, &whole);
        recorder_.replay(*renderer, partial ? &region : nullptr, clearColor, &renderer->stats);
        recorder_.settleUploads();
    } else {
        // present() already cleared this back buffer to the same colour less than 100 ms ago;
        // with partial redraw it clears nothing.
        if (partialRedraw_ || frameStartTime > lastClearTime + 100u ||
            !SameColour(clearColor, lastClearColor)) {
            renderer->clearBuffers(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
        }
        defaultViewport.render(renderer);
        renderer->stats.damagedPixels = width * height;
        recorder_.forget();
    }
    renderEndTime = Now();
    renderer->flush();
    renderer->sink = nullptr;
    renderer->stats.whole = whole;
    frameStats_ = renderer->stats;
    flushEndTime = Now();
    frameGivenUp_ = false;
    if (partialRedraw_) {
        // What changed from the picture before, for back buffers older than this one.
        if (whole != FrameStats::WHOLE_NO && whole != FrameStats::WHOLE_DAMAGE &&
            whole != FrameStats::WHOLE_BACK_BUFFER) {
            damage_.clear();
            damage_.add(Damage::Rect{0, 0, width, height});
        }
        sincePresent_.add(damage_);
        havePicture_ = presentPending_ = true;
        backBufferStale_ = false;
        drawnWidth_ = width;
        drawnHeight_ = height;
        std::memcpy(drawnClear_, clearColor, sizeof drawnClear_);
    }
}

bool Window::recordFrame(Renderer* renderer) {
    const uint32_t changes = SceneChangeCount();
    const bool sameSetup = havePicture_ && width == drawnWidth_ && height == drawnHeight_ &&
                           SameColour(clearColor, drawnClear_);
    bool unchanged = sameSetup && !changing_ && recorded_ && changes == changesSeen_ &&
                     recorder_.boundsExact();
    if (!unchanged) {
        renderer->sink = &recorder_;
        recorder_.begin(*renderer, width, height);
        defaultViewport.render(renderer);
        renderer->endRecording();
        renderer->sink = nullptr;
        damage_.clear();
        recorded_ = recorder_.finish(&damage_, &changing_);
        changesSeen_ = changes;
        unchanged = sameSetup && recorded_ && damage_.empty();
    }
    if (!unchanged) {
        return false;
    }
    frameStats_ = FrameStats();
    frameStats_.whole = FrameStats::WHOLE_NO;
    frameStats_.skipped = 1;
    // A swap that does not preserve the back buffer left an older picture there.
    backBufferStale_ =
        backBufferStale_ || (!presentPending_ && backBuffer_ != BackBuffer::Preserved);
    return true;
}

bool Window::regionToDraw(Damage* region, int32_t* why) {
    if (!havePicture_) {
        *why = FrameStats::WHOLE_FIRST;
    } else if (width != drawnWidth_ || height != drawnHeight_) {
        *why = FrameStats::WHOLE_RESIZED;
    } else if (!SameColour(clearColor, drawnClear_)) {
        *why = FrameStats::WHOLE_CLEAR_COLOUR;
    } else {
        EGLint age = 0;
        if (presentPending_ || backBuffer_ == BackBuffer::Preserved) {
            age = 1;  // it holds the picture drawn last
        } else if (backBuffer_ == BackBuffer::Aged &&
                   !eglQuerySurface(environment->eglDisplay, eglSurface, EGL_BUFFER_AGE_EXT,
                                    &age)) {
            age = 0;
        }
        if (age <= 0 || age - 1 > historyCount_) {
            *why = FrameStats::WHOLE_BACK_BUFFER;
            return false;
        }
        region->add(damage_);
        for (int i = 0; i + 1 < age; ++i) {
            region->add(history_[i]);
        }
        // Beyond about half the window, clipping and culling cost more than they save.
        if (region->area() * 2 > int64_t{width} * height) {
            *why = FrameStats::WHOLE_DAMAGE;
            return false;
        }
        *why = FrameStats::WHOLE_NO;
        return true;
    }
    return false;
}

void Window::setPartialRedraw(bool enabled) {
    if (enabled == partialRedraw_) {
        return;
    }
    NoteSceneChange();
    partialRedraw_ = enabled;
    havePicture_ = presentPending_ = false;
    historyCount_ = 0;
    sincePresent_.clear();
    recorder_.forget();
    // Whole frames clear before drawing until present clears again.
    resetLastClearColor();
    if (enabled) {
        chooseBackBuffer();
    } else if (backBuffer_ == BackBuffer::Preserved && eglSurface != EGL_NO_SURFACE) {
        eglSurfaceAttrib(environment->eglDisplay, eglSurface, EGL_SWAP_BEHAVIOR,
                         EGL_BUFFER_DESTROYED);
        backBuffer_ = BackBuffer::Unknown;
    }
}

void Window::chooseBackBuffer() {
    backBuffer_ = BackBuffer::Unknown;
    if (eglSurface == EGL_NO_SURFACE) {
        return;
    }
    const EGLDisplay display = environment->eglDisplay;
    if (Context::HasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_EXT_buffer_age")) {
        backBuffer_ = BackBuffer::Aged;
    } else if (eglSurfaceAttrib(display, eglSurface, EGL_SWAP_BEHAVIOR, EGL_BUFFER_PRESERVED)) {
        backBuffer_ = BackBuffer::Preserved;
    } else {
        KLOGW("partial redraw - the surface keeps no picture (%08X): frames are drawn whole",
              eglGetError());
    }
}

bool Window::presentPartial(Renderer* renderer) {
    presentPending_ = false;
    EGLint rects[4 * Damage::kMaximumRects];
    for (int i = 0; i < sincePresent_.count(); ++i) {
        const Damage::Rect& rect = sincePresent_[i];
        EGLint* out = rects + 4 * i;
        out[0] = rect.x0;
        out[1] = rect.y0;
        out[2] = rect.x1 - rect.x0;
        out[3] = rect.y1 - rect.y0;
    }
    const bool swapped = renderer->present(eglSurface, sincePresent_.empty() ? nullptr : rects,
                                           sincePresent_.count());
    for (int i = kHistory - 1; i > 0; --i) {
        history_[i] = history_[i - 1];
    }
    history_[0] = sincePresent_;
    historyCount_ = std::min(historyCount_ + 1, kHistory);
    sincePresent_.clear();
    if (!swapped) {
        KLOGE("present - eglSwapBuffers NG");
        lossesSeen_ = context->lossCount;
        havePicture_ = false;
        return false;
    }
    backBufferStale_ = backBuffer_ != BackBuffer::Preserved;
    return true;
}

void Window::prepareToRead() {
    if (!partialRedraw_ || frameGivenUp_ || eglSurface == EGL_NO_SURFACE) {
        return;
    }
    if (backBufferStale_) {
        havePicture_ = false;
        render();
    } else if (frameStats_.skipped != 0) {
        // A skipped frame made no call, so another window's surface may be current.
        context->renderer->targetSurface(eglSurface, width, height);
    }
}

bool Window::present() {
    if (eglSurface == EGL_NO_SURFACE) {
        KLOGE("present - eglSurface 0");
        return false;
    }
    if (partialRedraw_ && !presentPending_ && !frameGivenUp_) {
        return true;  // nothing new: the screen shows it already
    }
    if (!NativeWindowAlive(nativeWindow)) {
        KLOGE("present NG - native window lost");
        return false;
    }
    if (frameGivenUp_) {
        KLOGE("present NG - the frame was given up, there is nothing to show");
        return false;
    }
    Renderer* renderer = context->renderer;
    if (partialRedraw_) {
        return presentPartial(renderer);
    }
    if (!renderer->present(eglSurface)) {
        KLOGE("present - eglSwapBuffers NG");
        // Nothing cleared the back buffer for the next frame, which has seen the loss, if any.
        lossesSeen_ = context->lossCount;
        resetLastClearColor();
        return false;
    }
    renderer->clearBuffers(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
    std::memcpy(lastClearColor, clearColor, sizeof lastClearColor);
    lastClearTime = Now();
    return true;
}

bool Window::renderToTexture(Texture* texture, int flags, int x, int y, int regionWidth,
                             int regionHeight, bool includeHidden) {
    if (context == nullptr) {
        KLOGE("renderToTexture NG - the window's context was destroyed");
        return false;
    }
    Renderer* renderer = context->renderer;
    renderer->clearStatus();
    if (!TargetKeepsObjects(context, eglSurface, width, height)) {
        KLOGE("renderToTexture NG - the GL context was lost");
        return false;
    }
    if (!renderer->toggleRenderToTexture(texture)) {
        KLOGE("renderToTexture NG: toggleRenderToTexture failed");
        return false;
    }
    renderer->clearBuffers(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
    defaultViewport.renderPartialScene(renderer, flags, x, y, regionWidth, regionHeight,
                                       includeHidden);
    renderer->endRenderToTexture();
    return true;
}

bool Window::renderOESTextureToTexture(Texture* source, Texture* target, float left, float top,
                                       float right, float bottom) {
    if (context == nullptr) {
        KLOGE("renderOESTextureToTexture NG - the window's context was destroyed");
        return false;
    }
    Renderer* renderer = context->renderer;
    Mesh* mesh =
        KeptBy<Mesh>(&renderer->textureMesh, "Renderer::getTextureMesh:new Mesh NG", environment);
    if (mesh == nullptr) {
        KLOGE("renderOESTextureToTexture NG: getTextureMesh failed");
        return false;
    }
    Material* material = KeptBy<Material>(&renderer->textureMaterial,
                                          "Renderer::getTextureMaterial:new Material NG");
    if (material == nullptr) {
        KLOGE("renderOESTextureToTexture NG: getTextureMaterial failed");
        return false;
    }
    renderer->clearStatus();
    if (!TargetKeepsObjects(context, eglSurface, width, height)) {
        KLOGE("renderOESTextureToTexture NG - the GL context was lost");
        return false;
    }
    if (!renderer->toggleRenderToTexture(target)) {
        KLOGE("renderOESTextureToTexture NG: renderTextureToTexture failed");
        return false;
    }
    renderer->clearBuffers(clearColor[0], clearColor[1], clearColor[2], clearColor[3]);
    Matrix identity;
    renderer->setupProjectionMatrix(identity);
    renderer->setupViewMatrix(identity);
    // Flip y, move the rectangle's centre to the middle, then scale the rectangle to the target.
    Matrix translate, flip, scale, flipped, world;
    translate.setAsTranslation(1.0f - (left + right), 1.0f - (top + bottom), 1.0f);
    flip.setAsScale(1.0f, -1.0f, 1.0f);
    Matrix::TransformMultiply(&flipped, flip, translate);
    scale.setAsScale(1.0f / (right - left), 1.0f / (bottom - top), 1.0f);
    Matrix::TransformMultiply(&world, flipped, scale);
    renderer->setupWorldMatrix(world);

    material->setTexture(0, source);
    mesh->setMaterial(material);
    if (mesh->setup(Mesh::TRIANGLE_STRIP, 4)) {
        static const float kQuad[4][5] = {
            {-1, 1, 0, 0, 0}, {-1, -1, 0, 0, 1}, {1, 1, 0, 1, 0}, {1, -1, 0, 1, 1}};
        for (unsigned int vertex = 0; vertex < 4; ++vertex) {
            const float* v = kQuad[vertex];
            mesh->vertexBuffer.setVertexTextureCoordinates(vertex, v[3], v[4]);
            mesh->vertexBuffer.setVertexPosition(vertex, v[0], v[1], v[2]);
        }
        DrawItem item;
        if (material->describe(renderer->currentGroupAlpha, &item)) {
            item.vertices = &mesh->vertexBuffer;
            renderer->renderMesh(item);
        }
    }
    mesh->setMaterial(nullptr);
    renderer->endRenderToTexture();
    return true;
}

bool Window::hitTest(int x, int y, Vector* hitPosition, Vector* hitNormal, Vector* hitDirection,
                     SceneNode** hitNode) {
    if (width == 0 || height == 0) {
        KLOGE("hitTest - window size zero");
        return false;
    }
    return defaultViewport.hitTest(width, height, x, y, hitPosition, hitNormal, hitDirection,
                                   hitNode);
}

bool Window::pointOnPlane(int x, int y, SceneNode* node, Vector* out) {
    if (width == 0 || height == 0) {
        KLOGE("pointOnPlane - window size zero");
        return false;
    }
    return defaultViewport.pointOnPlane(width, height, x, y, node, out);
}

bool Window::querySceneNodeOriginPositionOnViewport(Viewport* viewport, SceneNode& node,
                                                    Vector* out) {
    if (width == 0 || height == 0) {
        KLOGE("querySceneNodeOriginPositionOnViewport - window size zero");
        return false;
    }
    if (viewport == nullptr) {
        viewport = &defaultViewport;
    }
    return viewport->querySceneNodeOriginPositionOnViewport(width, height, node, out);
}

}  // namespace kesto
