// Per-context draw state: target and viewport sizes, the transform matrices and the group alpha of
// the node being drawn. Scene nodes and cameras fill it as they walk the tree; windows point it at
// their surface.
#pragma once

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdint>

#include "core/Matrix.h"

namespace kesto {

class Context;
class Environment;
class Material;
class Mesh;
class ShaderProgram;
class Texture;
class Window;

class Renderer {
  public:
    EGLDisplay eglDisplay;
    EGLContext eglContext;
    Context* context;
    int32_t targetWidth = 0;
    int32_t targetHeight = 0;
    int32_t viewportWidth = 0;
    int32_t viewportHeight = 0;
    Matrix projectionMatrix;
    Matrix viewMatrix;
    Matrix worldMatrix;
    Matrix modelViewMatrix;
    // Lazily created for copying textures off-screen; owned.
    Mesh* textureMesh = nullptr;
    Material* textureMaterial = nullptr;
    float currentGroupAlpha = 1.0f;
    // The one cached framebuffer object.
    GLuint framebuffer = 0;
    GLuint renderbuffer = 0;
    int32_t framebufferWidth = 0;
    int32_t framebufferHeight = 0;
    // Full-screen quad for post-processing.
    GLuint postProcessPositionBuffer = 0;
    GLuint postProcessTexCoordBuffer = 0;
    GLuint postProcessIndexBuffer = 0;

    Renderer(EGLDisplay display, EGLContext eglContext, Context* owner);
    virtual ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    bool init();
    // Releases the off-screen resources that exist; the context must be current.
    void deinit();

    // Resets GL and renderer state at the start of every render pass.
    void clearStatus();
    // Makes the window surface current directly, bypassing Context::targetSurface.
    void targetWindow(Window* window);
    void clearBuffers(float r, float g, float b, float a);
    void setViewport(int x, int y, int width, int height);
    void setupProjectionMatrix(const Matrix& m);
    // The view matrix must be set before the nodes' world matrices.
    void setupViewMatrix(const Matrix& m);
    void setupWorldMatrix(const Matrix& m);
    // The only draw of scene content: one mesh with its material, as a triangle strip from the
    // mesh's GL buffer. A mesh at alpha 0 costs no GL call at all.
    void renderMesh(Mesh* mesh);
    // A framebuffer at least this large, or 0. One is cached; a larger one serves smaller asks.
    GLuint getFramebufferObject(int width, int height);
    void destroyFramebufferObject();
    // Non-null starts rendering into the texture (at its packed size); null ends it and always
    // discards the framebuffer.
    bool toggleRenderToTexture(Texture* texture);
    bool createPostProcessBuffers();
    void destroyPostProcessBuffers();
    // Draws `source` over the whole current target with the material's own program, which must
    // place the quad without matrices.
    bool postProcess(Material* material, const Texture* source);
    Mesh* getTextureMesh(Environment* environment);
    Material* getTextureMaterial();

    // Inert: fills a table of axis lines that nothing draws.
    void renderCoordinates(float length);
    EGLBoolean present(Window* window);
    // Inert: the window calls it at the end of every render.
    void flush() {}

    // A built-in program by name, remembered once built: the same program a lookup through the
    // context returns, without the lookup on every draw.
    ShaderProgram* builtInProgram(int which);
    enum BuiltInProgram { PROGRAM_DEFAULT, PROGRAM_NO_TEXTURE, PROGRAM_OES_TEXTURE, PROGRAM_COUNT };

  private:
    ShaderProgram* builtInPrograms_[PROGRAM_COUNT] = {};
};

}  // namespace kesto
