#include "bench/SpriteScenes.h"

#include <cstring>

#include "core/Accounting.h"
#include "gl/Renderer.h"
#include "host/HostNativeWindow.h"
#include "platform/Log.h"
#include "scene/Material.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderProgram.h"

// Errors only: the engine's informational lines would bury the benchmark output.
extern "C" void __xollog_init_mask(const char* /*tag*/, int /*level*/, unsigned char* mask) {
    *mask = kesto::LOG_LEVEL_ERROR;
}

namespace kesto::bench {

namespace {

// The engine's vertex layout for a quad: x, y, z, u, v per vertex, as a triangle strip of
// top-left, bottom-left, top-right, bottom-right.
constexpr GLsizei kStride = 20;
constexpr float kHalf = kSpriteSize * 0.5f;
constexpr float kQuad[4][5] = {{-kHalf, kHalf, 0.0f, 0.0f, 0.0f},
                               {-kHalf, -kHalf, 0.0f, 0.0f, 1.0f},
                               {kHalf, kHalf, 0.0f, 1.0f, 0.0f},
                               {kHalf, -kHalf, 0.0f, 1.0f, 1.0f}};
// The limit's indices are 16-bit, which every GLES2 has.
static_assert(4 * kSpriteCounts.back() <= 65536);

}  // namespace

const char* Harness::open() {
    env = NewObject<Environment>();
    if (env == nullptr || !env->init(8, 8, 8, 0)) {
        return "no EGL display (is DISPLAY set?)";
    }
    context = env->getDefaultContext();
    if (context == nullptr || !context->runOnCurrentThread()) {
        return "no EGL context";
    }
    native = host::X11Window::Open(kWindowWidth, kWindowHeight, "kesto bench");
    if (native == nullptr) {
        return "no X11 window";
    }
    nativeWindow = KestoHost_ANativeWindow_fromXWindow(native->id(), kWindowWidth, kWindowHeight);
    window = std::make_unique<Window>(env, context);
    window->setClearColor(kClearColor[0], kClearColor[1], kClearColor[2], kClearColor[3]);
    if (!window->bindSurface(nativeWindow, kWindowWidth, kWindowHeight)) {
        return "binding the window surface failed";
    }
    return nullptr;
}

void Harness::close() {
    window.reset();
    if (nativeWindow != nullptr) {
        ANativeWindow_release(nativeWindow);
        nativeWindow = nullptr;
    }
    native.reset();
    if (env != nullptr) {
        env->deinit();
        DeleteObject(env);
        env = nullptr;
        context = nullptr;
    }
}

std::string Harness::describeGl() const {
    auto text = [](const GLubyte* value) {
        return value != nullptr ? std::string(reinterpret_cast<const char*>(value)) : "?";
    };
    const char* eglVersion = eglQueryString(env->eglDisplay, EGL_VERSION);
    const char* eglVendor = eglQueryString(env->eglDisplay, EGL_VENDOR);
    return text(glGetString(GL_VENDOR)) + " | " + text(glGetString(GL_RENDERER)) + " | " +
           text(glGetString(GL_VERSION)) + " | EGL " + (eglVersion ? eglVersion : "?") + " " +
           (eglVendor ? eglVendor : "?");
}

void Harness::swapIntervalRange(int* minimum, int* maximum) const {
    EGLint low = -1, high = -1;
    eglGetConfigAttrib(env->eglDisplay, context->eglConfig, EGL_MIN_SWAP_INTERVAL, &low);
    eglGetConfigAttrib(env->eglDisplay, context->eglConfig, EGL_MAX_SWAP_INTERVAL, &high);
    *minimum = low;
    *maximum = high;
}

std::vector<uint8_t> ReadWindow() {
    std::vector<uint8_t> pixels(static_cast<size_t>(kWindowWidth) * kWindowHeight * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, kWindowWidth, kWindowHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
}

std::unique_ptr<Texture> MakeSpriteTexture(Environment* env) {
    const std::vector<uint32_t> pixels = MakePixels(kSpriteSize);
    Bitmap bitmap;
    if (!bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, kSpriteSize, kSpriteSize)) {
        return nullptr;
    }
    for (int row = 0; row < kSpriteSize; ++row) {
        std::memcpy(bitmap.buffer + row * bitmap.scanlineBytes, &pixels[row * kSpriteSize],
                    kSpriteSize * 4);
    }
    auto texture = std::make_unique<Texture>(env);
    if (!texture->init() || !texture->setupByBitmap_InRenderThread(&bitmap, false)) {
        return nullptr;
    }
    return texture;
}

Vector EngineSprites::PositionOf(const Placement& placement) {
    // The camera puts the origin at the window's centre with y up.
    return Vector(placement.x - kWindowWidth / 2.0f, kWindowHeight / 2.0f - placement.y, 0.0f);
}

EngineSprites::EngineSprites(Environment* env, Texture* texture,
                             const std::vector<Placement>& layout)
    : scene(env) {
    sprites.reserve(layout.size());
    for (const Placement& placement : layout) {
        auto sprite = std::make_unique<Sprite>(env);
        sprite->init(1, true);
        sprite->initSpriteGeometry(0, kSpriteSize, kSpriteSize, 0.0f, 0.0f, 0.0f);
        Material* material = sprite->getLayerMaterial(0);
        material->setTexture(0, texture);
        material->setAlpha(kSpriteAlpha);
        sprite->setPosition(PositionOf(placement));
        // Counter-clockwise with y up is clockwise on the screen once negated.
        sprite->setRotate(Vector(0.0f, 0.0f, -placement.angle));
        scene.rootNode.addChild(sprite.get(), false);
        sprites.push_back(std::move(sprite));
    }
}

void EngineUpload(Texture* texture) {
    texture->createRenderTexture();
    glFinish();
}

void PlainUpload(GLuint* name, const void* pixels, int size) {
    // The engine first checks that the thread has a context.
    eglGetCurrentContext();
    if (*name != 0) {
        glDeleteTextures(1, name);
    }
    UploadCalls(name, pixels, size);
    glFinish();
}

void UploadCalls(GLuint* name, const void* pixels, int size) {
    // The engine checks every upload against the context's limit.
    GLint limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    glGenTextures(1, name);
    glBindTexture(GL_TEXTURE_2D, *name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

PlainScene::PlainScene(Harness& harness, bool uploadTexture)
    : display_(harness.env->eglDisplay),
      surface_(harness.window->eglSurface),
      context_(harness.context->eglContext),
      width_(harness.window->width),
      height_(harness.window->height),
      projection_(harness.context->renderer->projectionMatrix),
      view_(harness.context->renderer->viewMatrix) {
    program_ = harness.context->getShaderProgram(DefaultShader::DEFAULT_SP)->glProgram;
    projectionLocation_ = glGetUniformLocation(program_, "ProjectionMatrix");
    modelViewLocation_ = glGetUniformLocation(program_, "ModelViewMatrix");
    blendColorLocation_ = glGetUniformLocation(program_, "BlendColor");
    alpha_ = 1.0f * static_cast<float>(kSpriteAlpha / 255.0);
    if (uploadTexture) {
        const std::vector<uint32_t> pixels = MakePixels(kSpriteSize);
        PlainUpload(&texture_, pixels.data(), kSpriteSize);
    }
}

PlainScene::~PlainScene() {
    if (texture_ != 0) {
        glDeleteTextures(1, &texture_);
    }
}

FloorSprites::FloorSprites(Harness& harness, EngineSprites& engine, bool firstFrame)
    : PlainScene(harness, !firstFrame), uploaded_(!firstFrame) {
    buffers_.resize(engine.sprites.size());
    modelViews_.resize(engine.sprites.size());
    for (size_t i = 0; i < buffers_.size(); ++i) {
        if (!firstFrame) {
            glGenBuffers(1, &buffers_[i]);
            glBindBuffer(GL_ARRAY_BUFFER, buffers_[i]);
            glBufferData(GL_ARRAY_BUFFER, sizeof kQuad, kQuad, GL_STATIC_DRAW);
        }
        Matrix::TransformMultiply(&modelViews_[i], engine.sprites[i]->getWorldTransform(nullptr),
                                  view_);
    }
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

FloorSprites::~FloorSprites() {
    glDeleteBuffers(static_cast<GLsizei>(buffers_.size()), buffers_.data());
}

// Call for call what Window::render issues for this scene: Renderer::clearStatus, targetWindow,
// the clear that present() makes unnecessary within 100 ms, setViewport, and per sprite the
// textured premultiplied path of Renderer::renderMesh with the program setters' error checks.
// A first frame uploads each sprite's vertices first, and then, at the first sprite, the
// texture's pending bitmap (which checks for a current context).
void FloorSprites::render() {
    const uint32_t start = NowMillis();
    glClearStencil(0);
    glDisable(GL_STENCIL_TEST);
    glDisable(GL_SCISSOR_TEST);
    glFrontFace(GL_CCW);
    glEnable(GL_DITHER);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glEnable(GL_BLEND);
    eglMakeCurrent(display_, surface_, surface_, context_);
    if (!presented_ || start > lastClearTime_ + 100u) {
        glClearColor(kClearColor[0], kClearColor[1], kClearColor[2], kClearColor[3]);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    }
    glViewport(0, 0, width_, height_);
    const float* projection = projection_.m;
    for (size_t i = 0; i < buffers_.size(); ++i) {
        if (!uploaded_) {
            glGenBuffers(1, &buffers_[i]);
            glBindBuffer(GL_ARRAY_BUFFER, buffers_[i]);
            glBufferData(GL_ARRAY_BUFFER, sizeof kQuad, kQuad, GL_STATIC_DRAW);
            errors_ |= glGetError();
            if (i == 0) {
                eglGetCurrentContext();
                const std::vector<uint32_t> pixels = MakePixels(kSpriteSize);
                UploadCalls(&texture_, pixels.data(), kSpriteSize);
            }
        }
        glBindBuffer(GL_ARRAY_BUFFER, buffers_[i]);
        glUseProgram(program_);
        errors_ |= glGetError();
        glUniformMatrix4fv(projectionLocation_, 1, GL_FALSE, projection);
        errors_ |= glGetError();
        glUniformMatrix4fv(modelViewLocation_, 1, GL_FALSE, modelViews_[i].m);
        errors_ |= glGetError();
        glUniform4f(blendColorLocation_, alpha_, alpha_, alpha_, alpha_);
        errors_ |= glGetError();
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glEnableVertexAttribArray(0);
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, kStride, nullptr);
        glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, kStride,
                              reinterpret_cast<const void*>(static_cast<uintptr_t>(12)));
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, texture_);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        glDisableVertexAttribArray(1);
        glDisableVertexAttribArray(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
    }
    uploaded_ = true;
}

// Window::present: swap, then clear the new back buffer.
void FloorSprites::present() {
    eglSwapBuffers(display_, surface_);
    glClearColor(kClearColor[0], kClearColor[1], kClearColor[2], kClearColor[3]);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    presented_ = true;
    lastClearTime_ = NowMillis();
}

LimitSprites::LimitSprites(Harness& harness, EngineSprites& engine) : PlainScene(harness, true) {
    std::vector<float> vertices;
    std::vector<GLushort> indices;
    for (size_t i = 0; i < engine.sprites.size(); ++i) {
        Matrix modelView;
        Matrix::TransformMultiply(&modelView, engine.sprites[i]->getWorldTransform(nullptr), view_);
        for (const float* corner : kQuad) {
            Vector p;
            modelView.transformPosition(Vector(corner[0], corner[1], corner[2]), &p);
            vertices.insert(vertices.end(), {p.x, p.y, p.z, corner[3], corner[4]});
        }
        // The strip's two triangles, vertices in the order the strip gives them.
        for (int corner : {0, 1, 2, 2, 1, 3}) {
            indices.push_back(static_cast<GLushort>(4 * i + corner));
        }
    }
    indexCount_ = static_cast<GLsizei>(indices.size());
    glGenBuffers(1, &vertices_);
    glBindBuffer(GL_ARRAY_BUFFER, vertices_);
    glBufferData(GL_ARRAY_BUFFER, vertices.size() * sizeof(float), vertices.data(), GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glGenBuffers(1, &indices_);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices_);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, indices.size() * sizeof(GLushort), indices.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

LimitSprites::~LimitSprites() {
    glDeleteBuffers(1, &vertices_);
    glDeleteBuffers(1, &indices_);
}

// The state Renderer::clearStatus and the textured premultiplied path leave for a sprite, with
// the model-view already applied to the vertices.
void LimitSprites::bind() {
    eglMakeCurrent(display_, surface_, surface_, context_);
    glDisable(GL_STENCIL_TEST);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_DITHER);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glClearColor(kClearColor[0], kClearColor[1], kClearColor[2], kClearColor[3]);
    glViewport(0, 0, width_, height_);
    glUseProgram(program_);
    const Matrix identity;
    glUniformMatrix4fv(projectionLocation_, 1, GL_FALSE, projection_.m);
    glUniformMatrix4fv(modelViewLocation_, 1, GL_FALSE, identity.m);
    glUniform4f(blendColorLocation_, alpha_, alpha_, alpha_, alpha_);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture_);
    glBindBuffer(GL_ARRAY_BUFFER, vertices_);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices_);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, kStride, nullptr);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, kStride,
                          reinterpret_cast<const void*>(static_cast<uintptr_t>(12)));
}

void LimitSprites::unbind() {
    glDisableVertexAttribArray(1);
    glDisableVertexAttribArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

void LimitSprites::render() {
    glClear(GL_COLOR_BUFFER_BIT);
    glDrawElements(GL_TRIANGLES, indexCount_, GL_UNSIGNED_SHORT, nullptr);
}

void LimitSprites::present() {
    eglSwapBuffers(display_, surface_);
}

}  // namespace kesto::bench
