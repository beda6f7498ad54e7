#include <gtest/gtest.h>

#include "gl/Renderer.h"
#include "tests/support/GlFixture.h"

namespace kesto {
namespace {

using RendererTest = test::GlTest;

TEST_F(RendererTest, ClearStatusResetsGlAndRendererState) {
    Renderer* renderer = context->renderer;
    glEnable(GL_SCISSOR_TEST);
    glEnable(GL_STENCIL_TEST);
    glEnable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_DITHER);
    glFrontFace(GL_CW);
    glDepthFunc(GL_ALWAYS);
    glClearColor(1, 0, 0, 0);
    glClearStencil(5);
    renderer->targetWidth = renderer->targetHeight = 7;
    renderer->setViewport(0, 0, 2, 2);
    renderer->currentGroupAlpha = 0.25f;
    Matrix moved;
    moved.setAsTranslation(1, 2, 3);
    renderer->setupViewMatrix(moved);
    renderer->setupWorldMatrix(moved);
    renderer->setupProjectionMatrix(moved);

    renderer->clearStatus();
    for (GLenum disabled : {GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_DEPTH_TEST}) {
        EXPECT_FALSE(glIsEnabled(disabled)) << std::hex << disabled;
    }
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_DITHER));
    GLint value = 0;
    glGetIntegerv(GL_FRONT_FACE, &value);
    EXPECT_EQ(GL_CCW, value);
    glGetIntegerv(GL_DEPTH_FUNC, &value);
    EXPECT_EQ(GL_LEQUAL, value);
    glGetIntegerv(GL_STENCIL_CLEAR_VALUE, &value);
    EXPECT_EQ(0, value);
    GLfloat clear[4];
    glGetFloatv(GL_COLOR_CLEAR_VALUE, clear);
    EXPECT_EQ(0.0f, clear[0]);
    EXPECT_EQ(1.0f, clear[3]);

    EXPECT_EQ(0, renderer->targetWidth + renderer->targetHeight);
    EXPECT_EQ(0, renderer->viewportWidth + renderer->viewportHeight);
    EXPECT_EQ(1.0f, renderer->currentGroupAlpha);
    for (const Matrix* m : {&renderer->projectionMatrix, &renderer->viewMatrix,
                            &renderer->worldMatrix, &renderer->modelViewMatrix}) {
        EXPECT_EQ(0.0f, m->m[12]);
        EXPECT_EQ(1.0f, m->m[15]);
    }
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

TEST_F(RendererTest, ClearBuffersAndViewportReachGl) {
    Renderer* renderer = context->renderer;
    renderer->clearBuffers(0.0f, 1.0f, 0.0f, 1.0f);
    EXPECT_EQ((std::array<uint8_t, 4>{0, 255, 0, 255}), test::ReadPixel(1, 1));
    renderer->clearBuffers(1.0f, 0.0f, 1.0f, 1.0f);
    EXPECT_EQ((std::array<uint8_t, 4>{255, 0, 255, 255}), test::ReadPixel(0, 0));

    renderer->setViewport(1, 2, 30, 40);
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(1, viewport[0]);
    EXPECT_EQ(2, viewport[1]);
    EXPECT_EQ(30, viewport[2]);
    EXPECT_EQ(40, viewport[3]);
    EXPECT_EQ(30, renderer->viewportWidth);
    EXPECT_EQ(40, renderer->viewportHeight);

    // Inert: no GL call, nothing changes.
    renderer->renderCoordinates(100.0f);
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(30, viewport[2]);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

TEST_F(RendererTest, ModelViewAppliesTheWorldThenTheView) {
    Renderer* renderer = context->renderer;
    Matrix view, world;
    view.setAsTranslation(0, 0, -100);
    world.setAsRotationZ(90);
    world.m[12] = 10;  // rotate, then move right
    renderer->setupViewMatrix(view);
    renderer->setupWorldMatrix(world);
    Vector out;
    renderer->modelViewMatrix.transformPosition(Vector(1, 0, 0), &out);
    EXPECT_NEAR(10.0f, out.x, 1e-5f);
    EXPECT_NEAR(1.0f, out.y, 1e-5f);
    EXPECT_EQ(-100.0f, out.z);
}

}  // namespace
}  // namespace kesto
