#include "gl/Renderer.h"

#include "core/Accounting.h"
#include "gl/Window.h"
#include "platform/Log.h"
#include "scene/Material.h"
#include "scene/Mesh.h"

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
    DeleteObject(textureMesh);
    textureMesh = nullptr;
    DeleteObject(textureMaterial);
    textureMaterial = nullptr;
}

void Renderer::clearStatus() {
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
    targetWidth = targetHeight = 0;
    viewportWidth = viewportHeight = 0;
    projectionMatrix.setAsIdentity();
    viewMatrix.setAsIdentity();
    worldMatrix.setAsIdentity();
    modelViewMatrix.setAsIdentity();
    currentGroupAlpha = 1.0f;
}

void Renderer::targetWindow(Window* window) {
    if (!eglMakeCurrent(eglDisplay, window->eglSurface, window->eglSurface, eglContext)) {
        KLOGE("eglMakeCurrent NG");
        return;
    }
    targetWidth = window->width;
    targetHeight = window->height;
}

void Renderer::clearBuffers(float r, float g, float b, float a) {
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

void Renderer::setViewport(int x, int y, int width, int height) {
    glViewport(x, y, width, height);
    viewportWidth = width;
    viewportHeight = height;
}

void Renderer::setupProjectionMatrix(const Matrix& m) {
    projectionMatrix = m;
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

EGLBoolean Renderer::present(Window* window) {
    return eglSwapBuffers(eglDisplay, window->eglSurface);
}

}  // namespace kesto
