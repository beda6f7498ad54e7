// A native window bound to an EGL window surface of one context, with its default viewport.
// Runs the frame: make the surface current, clear when needed, render the viewport (batched unless
// switched off), swap.
#pragma once

#include <EGL/egl.h>

#include <cstdint>

#include "core/Link.h"
#include "core/Vector.h"
#include "draw/Batcher.h"
#include "draw/FrameRecorder.h"
#include "draw/Viewport.h"
#include "gl/Context.h"
#include "gl/FrameStats.h"

struct ANativeWindow;

namespace kesto {

class Environment;
class SceneNode;
class Texture;

class Window {
  private:
    // A destroyed context takes the surface with it; the window then refuses to draw.
    void contextGoing() { unbindSurface(); }

  public:
    Environment* environment;
    WatchedLink<Context, Window, &Window::contextGoing> context{this};
    EGLSurface eglSurface = EGL_NO_SURFACE;
    // The bound native window; the window holds one reference to it while bound.
    ANativeWindow* nativeWindow = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    float clearColor[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    Viewport defaultViewport;
    uint32_t frameStartTime = 0;
    uint32_t renderEndTime = 0;
    uint32_t flushEndTime = 0;
    uint32_t lastClearTime = 0;
    // Stored for a frame-time report the engine does not print.
    int32_t showFrameInfoThreshold = 20;
    // What present last cleared the back buffer to; a colour no caller uses until then.
    float lastClearColor[4];

    Window(Environment* env, Context* ctx);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // Makes the new surface current on the calling thread.
    bool bindSurface(ANativeWindow* surface, int surfaceWidth, int surfaceHeight);
    void unbindSurface();
    void setClearColor(float r, float g, float b, float a);
    void render();
    // Swaps, then clears the new back buffer at once so the next render can skip its clear.
    // False when the swap failed (the native window may be gone).
    bool present();
    // Draws the nodes whose render flags meet `flags`, the window region (x, y, width, height)
    // scaled to fill the texture, so that the region's top row is the texture's first row.
    bool renderToTexture(Texture* texture, int flags, int x, int y, int width, int height,
                         bool includeHidden);
    // Copies the rectangle (left, top)-(right, bottom), in texture units, of an external texture
    // scaled to fill `target`.
    bool renderOESTextureToTexture(Texture* source, Texture* target, float left, float top,
                                   float right, float bottom);
    // `hitNode`, when given, receives the node whose own content was hit.
    bool hitTest(int x, int y, Vector* hitPosition, Vector* hitNormal, Vector* hitDirection,
                 SceneNode** hitNode = nullptr);
    // A null viewport means the default one.
    bool querySceneNodeOriginPositionOnViewport(Viewport* viewport, SceneNode& node, Vector* out);
    // See Viewport::pointOnPlane.
    bool pointOnPlane(int x, int y, SceneNode* node, Vector* out);

    // Off: every mesh is drawn on its own, the documented per-mesh GL sequence. Same pixels.
    void setBatching(bool enabled) { batching_ = enabled; }
    bool batching() const { return batching_; }
    // What the last render drew.
    const FrameStats& frameStats() const { return frameStats_; }

    // On: each frame draws again only what changed since the picture in the back buffer, and a
    // frame in which nothing changed draws and swaps nothing. Same pixels as whole frames.
    void setPartialRedraw(bool enabled);
    bool partialRedraw() const { return partialRedraw_; }
    // How a frame knows what the back buffer holds: the picture last drawn (a preserved swap),
    // the one some swaps ago (the buffer age), or nothing (every frame is drawn whole).
    enum class BackBuffer : uint8_t { Unknown, Preserved, Aged };
    BackBuffer backBuffer() const { return backBuffer_; }
    // Whole frames only, as where the display offers neither; for tests of that case.
    void forgetBackBuffer() { backBuffer_ = BackBuffer::Unknown; }
    // A frame in which nothing changed makes no call and leaves the back buffer as it was; where
    // the swap does not preserve it, it holds an older picture. Before reading the back buffer,
    // this makes it current and up to date.
    void prepareToRead();

  private:
    void resetLastClearColor();
    // Partial redraw: records the frame and works out what changed. True when nothing did and
    // the frame is skipped.
    bool recordFrame(Renderer* renderer);
    // With the surface current: what the back buffer needs, or false to draw it whole (`why`).
    bool regionToDraw(Damage* region, int32_t* why);
    void chooseBackBuffer();
    // Swaps the frame drawn, telling the display what changed where it can be told.
    bool presentPartial(Renderer* renderer);

    bool batching_ = true;
    // The last render met a lost context: its back buffer holds nothing to show.
    bool frameGivenUp_ = false;
    // The context's loss count as this window's frames last saw it.
    uint32_t lossesSeen_ = 0;
    Batcher batcher_;
    FrameStats frameStats_;

    bool partialRedraw_ = false;
    BackBuffer backBuffer_ = BackBuffer::Unknown;
    FrameRecorder recorder_;
    // What the recorded frame changed, whether it could be recorded, and whether it shows a
    // stream that changes by itself.
    Damage damage_;
    bool recorded_ = false;
    bool changing_ = false;
    // The window holds a picture of the frame last recorded, in the back buffer or on screen.
    bool havePicture_ = false;
    // What that picture was drawn with.
    uint32_t changesSeen_ = 0;
    int32_t drawnWidth_ = 0;
    int32_t drawnHeight_ = 0;
    float drawnClear_[4] = {};
    // A drawn frame waits for present; the back buffer may be older than the picture.
    bool presentPending_ = false;
    bool backBufferStale_ = false;
    // Damage drawn since the last present, and of the frames presented before, newest first:
    // what a back buffer of a given age misses.
    Damage sincePresent_;
    static constexpr int kHistory = 3;
    Damage history_[kHistory];
    int32_t historyCount_ = 0;
};

}  // namespace kesto
