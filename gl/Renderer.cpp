#include "gl/Renderer.h"

#include <algorithm>
#include <initializer_list>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoRender");

namespace kesto {

namespace {

// Axis lines from the origin; filled for debugging, never drawn.
float g_axisLines[6][3] = {};

}  // namespace

Renderer::Renderer(EGLDisplay display, EGLContext owningEglContext, Context* owner)
    : eglDisplay(display), eglContext(owningEglContext), context(owner) {}

Renderer::~Renderer() {
    deinit();
}

bool Renderer::init() {
    deinit();
    return true;
}

void Renderer::deinit() {
    destroyFramebufferObject();
    destroyPostProcessBuffers();
    for (GLuint* buffer : {&streamVertexBuffer, &streamIndexBuffer}) {
        if (*buffer != 0) {
            glDeleteBuffers(1, buffer);
            *buffer = 0;
        }
    }
    textureMesh.reset();
    textureMaterial.reset();
}

void Renderer::forgetGLObjects() {
    blend = BlendState();
    for (GLuint* name :
         {&framebuffer, &renderbuffer, &postProcessPositionBuffer, &postProcessTexCoordBuffer,
          &postProcessIndexBuffer, &streamVertexBuffer, &streamIndexBuffer}) {
        *name = 0;
    }
    framebufferWidth = framebufferHeight = 0;
    batchProjectionLocations_[0] = batchProjectionLocations_[1] = -1;
}

void Renderer::clearStatus() {
    flushSink(FrameStats::BREAK_TARGET);
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
    blend.enabled = true;
    beginRecording(0, 0);
    recording = false;
}

void Renderer::beginRecording(int width, int height) {
    recording = true;
    targetWidth = width;
    targetHeight = height;
    viewportX = viewportY = viewportWidth = viewportHeight = 0;
    scissorOn = false;
    projectionMatrix.setAsIdentity();
    viewMatrix.setAsIdentity();
    worldMatrix.setAsIdentity();
    modelViewMatrix.setAsIdentity();
    currentGroupAlpha = 1.0f;
}

bool Renderer::targetSurface(EGLSurface surface, int width, int height) {
    flushSink(FrameStats::BREAK_TARGET);
    if (!context->makeCurrent(surface)) {
        KLOGE("eglMakeCurrent NG");
        return false;
    }
    targetWidth = width;
    targetHeight = height;
    return true;
}

void Renderer::clearBuffers(float r, float g, float b, float a) {
    flushSink(FrameStats::BREAK_TARGET);
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

void Renderer::setViewport(int x, int y, int width, int height) {
    flushSink(FrameStats::BREAK_TARGET);
    if (!recording) {
        glViewport(x, y, width, height);
    }
    viewportX = x;
    viewportY = y;
    viewportWidth = width;
    viewportHeight = height;
}

void Renderer::setupProjectionMatrix(const Matrix& m) {
    projectionMatrix = m;
    ++projectionVersion;
}

void Renderer::setupViewMatrix(const Matrix& m) {
    viewMatrix = m;
}

void Renderer::setupWorldMatrix(const Matrix& m) {
    worldMatrix = m;
    Matrix::TransformMultiply(&modelViewMatrix, worldMatrix, viewMatrix);
}

void Renderer::renderCoordinates(float length) {
    g_axisLines[1][0] = length;
    g_axisLines[3][1] = length;
    g_axisLines[5][2] = length;
}

void Renderer::beginScissor(int x, int y, int width, int height) {
    flushSink(FrameStats::BREAK_SCISSOR);
    // In 64 bits: an area far outside the viewport must not wrap around into it.
    const int64_t bottom = int64_t{viewportHeight} - (int64_t{y} + height);
    scissorOn = true;
    scissorBox[0] = x;
    scissorBox[1] = static_cast<int32_t>(std::clamp<int64_t>(bottom, INT32_MIN, INT32_MAX));
    scissorBox[2] = width;
    scissorBox[3] = height;
    if (!recording) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(scissorBox[0], scissorBox[1], width, height);
    }
}

void Renderer::endScissor() {
    flushSink(FrameStats::BREAK_SCISSOR);
    scissorOn = false;
    if (!recording) {
        glDisable(GL_SCISSOR_TEST);
    }
}

bool Renderer::present(EGLSurface surface, EGLint* damageRects, EGLint damageCount) {
    flushSink(FrameStats::BREAK_TARGET);
    return context->swapBuffers(surface, damageRects, damageCount);
}

}  // namespace kesto
