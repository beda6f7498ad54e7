// The sprite scenes the engine benchmarks draw: an engine window on a real X11 window, the scene
// built with engine objects, and the floor, a plain GLES2 loop issuing the GL and EGL calls the
// engine issues for the same scene with everything precomputed.
#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "core/Matrix.h"
#include "draw/Window.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "host/X11Window.h"
#include "image/Texture.h"
#include "scene/Scene.h"
#include "scene/Sprite.h"

struct ANativeWindow;

namespace kesto::bench {

// An environment (8-8-8-0) with its default context current on this thread, and a 1024x768 X11
// window bound to an engine Window, as an application on this platform sets them up.
class Harness {
  public:
    Environment* env = nullptr;
    Context* context = nullptr;
    std::unique_ptr<host::X11Window> native;
    ANativeWindow* nativeWindow = nullptr;
    std::unique_ptr<Window> window;

    Harness() = default;
    ~Harness() { close(); }
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    // Null when everything is ready, otherwise what failed.
    const char* open();
    void close();
    // "vendor renderer version" of the GL and EGL in use.
    std::string describeGl() const;
    // The config's swap-interval range; EGL's default interval is 1, clamped to it.
    void swapIntervalRange(int* minimum, int* maximum) const;
};

// N one-layer 16x16 sprites sharing one RGBA8888 texture, at alpha 0.8, placed by MakeLayout.
// Creation order is draw order; hit tests try the last created first.
class EngineSprites {
  public:
    Scene scene;
    std::vector<std::unique_ptr<Sprite>> sprites;

    EngineSprites(Environment* env, Texture* texture, const std::vector<Placement>& layout);
    void show(Window* window) { window->defaultViewport.linkCamera(&scene.defaultCamera); }
    static Vector PositionOf(const Placement& placement);
};

// Puts a window on one drawing path for a scope: batched (the default) or the per-mesh sequence
// the floor reproduces.
class BatchingScope {
  public:
    BatchingScope(Window* window, bool enabled) : window_(window), was_(window->batching()) {
        window->setBatching(enabled);
    }
    ~BatchingScope() { window_->setBatching(was_); }
    BatchingScope(const BatchingScope&) = delete;
    BatchingScope& operator=(const BatchingScope&) = delete;

  private:
    Window* window_;
    bool was_;
};

// The whole window, bottom row first, as RGBA8888.
std::vector<uint8_t> ReadWindow();

// A texture of MakePixels(16), pending upload on the render thread.
std::unique_ptr<Texture> MakeSpriteTexture(Environment* env);

// One upload as the upload benchmark times it, finished: the texture's pending bitmap through
// createRenderTexture, or the same pixels through glTexImage2D with the engine's parameters,
// replacing the texture `name` holds.
void EngineUpload(Texture* texture);
void PlainUpload(GLuint* name, const void* pixels, int size);
// PlainUpload's calls without the finish, as a draw makes them.
void UploadCalls(GLuint* name, const void* pixels, int size);

// What the floor and the limit share: the harness's EGL objects, the engine's default program and
// its uniform locations, the matrices of the last engine frame, and the sprite texture uploaded
// as the engine uploads it.
class PlainScene {
  protected:
    // Without `uploadTexture`, the texture is left for the first frame to upload.
    PlainScene(Harness& harness, bool uploadTexture);
    ~PlainScene();
    PlainScene(const PlainScene&) = delete;
    PlainScene& operator=(const PlainScene&) = delete;

    EGLDisplay display_;
    EGLSurface surface_;
    EGLContext context_;
    int width_;
    int height_;
    GLuint program_ = 0;
    GLint projectionLocation_ = -1;
    GLint modelViewLocation_ = -1;
    GLint blendColorLocation_ = -1;
    GLuint texture_ = 0;
    float alpha_ = 1.0f;
    Matrix projection_;
    Matrix view_;
};

class FloorSprites : private PlainScene {
  public:
    // Takes the matrices from the renderer after `engine` has been rendered into the harness
    // window, and the engine's default program; makes its own texture and one buffer per sprite,
    // or with `firstFrame` leaves them to its first render, as the engine's first frame does.
    FloorSprites(Harness& harness, EngineSprites& engine, bool firstFrame = false);
    ~FloorSprites();

    void render();
    void present();

  private:
    std::vector<Matrix> modelViews_;
    std::vector<GLuint> buffers_;
    bool uploaded_ = true;
    bool presented_ = false;
    uint32_t lastClearTime_ = 0;
    GLenum errors_ = GL_NO_ERROR;
};

// The least a frame of this scene can cost: every quad's corners put in view space once, with the
// floor's matrices, in one static buffer, so that a frame is a clear, one draw and the swap.
class LimitSprites : private PlainScene {
  public:
    // As FloorSprites, after an engine frame of `engine`.
    LimitSprites(Harness& harness, EngineSprites& engine);
    ~LimitSprites();

    // The engine and the floor change the GL state between runs: set it before a run of frames,
    // and leave no buffer bound after it.
    void bind();
    void unbind();
    void render();
    void present();

  private:
    GLuint vertices_ = 0;
    GLuint indices_ = 0;
    GLsizei indexCount_ = 0;
};

}  // namespace kesto::bench
