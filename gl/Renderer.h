// The device layer's drawing, one per context: target and viewport sizes, the transform matrices
// and the group alpha of the node being drawn (scene nodes and cameras fill them as they walk the
// tree), the per-mesh draw, batched draws from a stream buffer, and drawing into textures.
#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdint>

#include "core/Matrix.h"
#include "gl/DrawItem.h"
#include "gl/FrameStats.h"
#include "gl/VertexBuffer.h"

namespace kesto {

class Context;
class Renderer;
class ShaderProgram;

// Takes draw items in order and may hold some back to draw them together. Whatever it holds must
// be drawn by flush(), which the renderer calls before any state change that would affect them.
class DrawSink {
  public:
    // False: the sink has flushed what it held and the renderer draws the item itself. Either
    // may realise the item's texture.
    virtual bool add(Renderer& renderer, DrawItem& item) = 0;
    virtual void flush(Renderer& renderer, FrameStats::Break reason) = 0;

  protected:
    ~DrawSink() = default;
};

class Renderer {
  public:
    // The GL blend state as the engine's draws left it, which an untextured draw inherits. Inherit
    // as the function: none the engine sets (GL's default, or unknown after a loss).
    struct BlendState {
        bool enabled = false;
        BlendMode function = BlendMode::Inherit;
        bool operator==(const BlendState& other) const {
            return enabled == other.enabled && function == other.function;
        }
        bool operator!=(const BlendState& other) const { return !(*this == other); }
    };

    EGLDisplay eglDisplay;
    EGLContext eglContext;
    Context* context;
    int32_t targetWidth = 0;
    int32_t targetHeight = 0;
    int32_t viewportX = 0;
    int32_t viewportY = 0;
    int32_t viewportWidth = 0;
    int32_t viewportHeight = 0;
    // The clip of the scissor being drawn, in GL window coordinates (x, y from the bottom, width,
    // height), when scissorOn.
    bool scissorOn = false;
    int32_t scissorBox[4] = {};
    // Viewport and scissor changes are noted without GL calls: the frame is recorded to be drawn
    // later (see DrawSink).
    bool recording = false;
    BlendState blend;
    Matrix projectionMatrix;
    Matrix viewMatrix;
    Matrix worldMatrix;
    Matrix modelViewMatrix;
    // Bumped by every new projection: batched vertices are in eye space of one projection.
    uint32_t projectionVersion = 0;
    float currentGroupAlpha = 1.0f;
    // Null draws every item at once (the per-mesh path).
    DrawSink* sink = nullptr;
    FrameStats stats;
    // The one cached framebuffer object.
    GLuint framebuffer = 0;
    GLuint renderbuffer = 0;
    int32_t framebufferWidth = 0;
    int32_t framebufferHeight = 0;
    // Full-screen quad for post-processing.
    GLuint postProcessPositionBuffer = 0;
    GLuint postProcessTexCoordBuffer = 0;
    GLuint postProcessIndexBuffer = 0;
    // Refilled by every batched draw.
    GLuint streamVertexBuffer = 0;
    GLuint streamIndexBuffer = 0;
    // An object of the layers above that lives as long as the renderer: the mesh and material
    // the window copies external textures with. deinit destroys it with the context current.
    struct Kept {
        void* object = nullptr;
        void (*destroy)(void* object) = nullptr;
        void reset() {
            if (object != nullptr) {
                destroy(object);
                object = nullptr;
            }
        }
    };
    Kept textureMesh;
    Kept textureMaterial;

    Renderer(EGLDisplay display, EGLContext eglContext, Context* owner);
    virtual ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    bool init();
    // Releases the off-screen resources that exist; the context must be current.
    void deinit();
    // After a loss: the names of the renderer's own GL objects mean nothing any more.
    void forgetGLObjects();

    // Resets GL and renderer state at the start of every render pass.
    void clearStatus();
    // The renderer state clearStatus leaves, without GL calls, for a recorded frame of this size.
    void beginRecording(int width, int height);
    void endRecording() { recording = false; }
    // Makes the surface current directly, bypassing Context::targetSurface. False when it
    // cannot, or when the context was lost (it is then replaced, without its GL objects).
    bool targetSurface(EGLSurface surface, int width, int height);
    void clearBuffers(float r, float g, float b, float a);
    void setViewport(int x, int y, int width, int height);
    void setupProjectionMatrix(const Matrix& m);
    // The view matrix must be set before the nodes' world matrices.
    void setupViewMatrix(const Matrix& m);
    void setupWorldMatrix(const Matrix& m);
    // Hands a mesh to the sink, or draws it at once.
    void submit(DrawItem& item) {
        if (sink == nullptr || !sink->add(*this, item)) {
            renderMesh(item);
        }
    }
    // Draws what the sink holds; call before changing state that its draws depend on.
    void flushSink(FrameStats::Break reason) {
        if (sink != nullptr) {
            sink->flush(*this, reason);
        }
    }
    // The per-mesh draw: one mesh with its material, as a triangle strip from the mesh's GL
    // buffer; the texture is realised after the buffer is uploaded. A mesh at alpha 0 costs no GL
    // call at all.
    void renderMesh(DrawItem& item);
    // One indexed draw of eye-space vertices through the stream buffers.
    void drawBatch(const BatchDraw& batch);
    // Clipping to a rectangle of the viewport (pixels, y down from the top); scissors do not nest.
    void beginScissor(int x, int y, int width, int height);
    void endScissor();
    // A framebuffer at least this large, or 0. One is cached; a larger one serves smaller asks.
    GLuint getFramebufferObject(int width, int height);
    void destroyFramebufferObject();
    // Starts rendering into the texture at its recorded size: the framebuffer first, then the
    // texture is realised (a start the framebuffer refuses leaves an upload pending).
    bool toggleRenderToTexture(TextureSource* texture);
    // Back to the window's framebuffer; always discards the framebuffer object.
    void endRenderToTexture();
    bool createPostProcessBuffers();
    void destroyPostProcessBuffers();
    // Draws the texture `source` over the whole current target with `program`, which must place
    // the quad without matrices, after writing the item's extra uniforms into it.
    bool postProcess(ShaderProgram* program, const DrawItem& uniforms, const TextureSource* source);

    // Inert: fills a table of axis lines that nothing draws.
    void renderCoordinates(float length);
    // False when the swap failed or met a loss.
    bool present(EGLSurface surface, EGLint* damageRects = nullptr, EGLint damageCount = 0);
    // Ends a render pass: draws what the sink holds.
    void flush() { flushSink(FrameStats::BREAK_NONE); }

    // A built-in program by name, remembered once built: the same program a lookup through the
    // context returns, without the lookup on every draw.
    ShaderProgram* builtInProgram(int which);
    enum BuiltInProgram {
        PROGRAM_DEFAULT,
        PROGRAM_NO_TEXTURE,
        PROGRAM_OES_TEXTURE,
        PROGRAM_BLUR,
        PROGRAM_BATCH,
        PROGRAM_BATCH_NO_TEXTURE,
        PROGRAM_COUNT
    };

    // How the built-in textured programs blend and colour an item; shared by both paths so that
    // they draw the same pixels.
    static BlendMode TexturedBlend(const DrawItem& item);
    static void TexturedColour(const DrawItem& item, BlendMode blend, float colour[4]);
    // The blend state a draw of `item` leaves after `before`; `textured`: its texture has a
    // picture. Sets `inherits` when the draw blends with `before` as it stands.
    BlendState blendAfter(const DrawItem& item, bool textured, BlendState before, bool* inherits);
    // Makes the GL blend state `state` (a function the engine never set stays as it is).
    void setBlendState(BlendState state);

  private:
    static bool WriteUniforms(const DrawItem& item, ShaderProgram* program);
    void setBlend(BlendMode mode);
    void CountDraw(int meshes, int vertexCount, bool textured);

    ShaderProgram* builtInPrograms_[PROGRAM_COUNT] = {};
    GLint batchProjectionLocations_[2] = {-1, -1};
};

}  // namespace kesto
