// The scene graph's traversals need no GL: the renderer only collects matrices and alpha here.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "scene/Scene.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProbeNode.h"

namespace kesto {
namespace {

using test::CountersRestored;
using test::LogCapture;
using test::ProbeNode;

void ExpectMatrixNear(const Matrix& expected, const Matrix& actual) {
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(expected.m[i], actual.m[i], 1e-4f) << "element " << i;
    }
}

class SceneGraphTest : public ::testing::Test {
  protected:
    CountersRestored restored;
    Environment env;
    std::vector<std::string> journal;
    Renderer renderer{EGL_NO_DISPLAY, EGL_NO_CONTEXT, nullptr};
};

TEST_F(SceneGraphTest, WorldTransformsFollowThreeLevelsLazily) {
    SceneNode grandparent(&env), parent(&env), child(&env);
    ASSERT_TRUE(grandparent.addChild(&parent, true));
    ASSERT_TRUE(parent.addChild(&child, false));

    // Under untransformed ancestors the child's world matrix is a plain copy.
    child.setPosition(Vector(1, 2, 3));
    bool identity = true;
    const Matrix& copied = child.getWorldTransform(&identity);
    EXPECT_FALSE(identity);
    EXPECT_EQ(3.0f, copied.m[14]);
    EXPECT_FALSE(parent.worldTransformDirty);

    grandparent.setRotate(Vector(0, 0, 90));
    parent.setScale(Vector(2, 2, 2));
    EXPECT_TRUE(child.worldTransformDirty) << "dirtiness is pushed down eagerly";
    const uint16_t versionBefore = child.worldTransformVersion;
    Matrix expected, step;
    Matrix::Multiply(&step, child.getTransform(), parent.getTransform());
    Matrix::Multiply(&expected, step, grandparent.getTransform());
    ExpectMatrixNear(expected, child.getWorldTransform(nullptr));
    EXPECT_EQ(versionBefore + 1, child.worldTransformVersion);
    child.getWorldTransform(nullptr);
    EXPECT_EQ(versionBefore + 1, child.worldTransformVersion);

    Vector out;
    child.getWorldTransform(nullptr).transformPosition(Vector(0, 0, 0), &out);
    EXPECT_NEAR(-4, out.x, 1e-4f);  // (1,2,3) doubled, then turned a quarter
    EXPECT_NEAR(2, out.y, 1e-4f);
    EXPECT_NEAR(6, out.z, 1e-4f);
}

TEST_F(SceneGraphTest, GroupAlphaMultipliesDownAndStaysOnRemoval) {
    SceneNode root(&env), middle(&env), leaf(&env);
    root.setGroupAlpha(0.8f);
    ASSERT_TRUE(root.addChild(&middle, true));
    ASSERT_TRUE(middle.addChild(&leaf, true));
    leaf.setGroupAlpha(0.5f);
    middle.setGroupAlpha(0.5f);
    EXPECT_FLOAT_EQ(0.4f, middle.appliedGroupAlpha);
    EXPECT_FLOAT_EQ(0.2f, leaf.appliedGroupAlpha);
    root.setGroupAlpha(2.0f);  // not clamped
    EXPECT_FLOAT_EQ(0.5f, leaf.appliedGroupAlpha);
    root.removeChild(&middle);
    EXPECT_FLOAT_EQ(1.0f, middle.appliedGroupAlpha);
    EXPECT_EQ(nullptr, middle.parent);
}

TEST_F(SceneGraphTest, AddAndRemoveRefuseWhatTheyCannotDo) {
    SceneNode a(&env), b(&env), c(&env);
    LogCapture log;
    EXPECT_FALSE(a.addChild(nullptr, true));
    ASSERT_TRUE(a.addChild(&c, true));
    EXPECT_FALSE(b.addChild(&c, true));
    EXPECT_EQ(&a, c.parent);
    EXPECT_EQ(0, b.children.count);
    b.removeChild(&c);
    EXPECT_EQ(1, a.children.count);
    EXPECT_EQ((std::vector<std::string>{"addChild NG - child already has parent",
                                        "removeChild NG - not in list"}),
              log.messages("KestoNode"));
}

TEST_F(SceneGraphTest, DestroyingANodeDetachesItsFamily) {
    SceneNode grandparent(&env), leaf(&env);
    EXPECT_EQ(2, env.sceneNodeCount);
    {
        SceneNode middle(&env);
        grandparent.addChild(&middle, true);
        middle.addChild(&leaf, true);
        middle.setGroupAlpha(0.5f);
        EXPECT_EQ(3, env.sceneNodeCount);
    }
    EXPECT_EQ(0, grandparent.children.count);
    EXPECT_EQ(nullptr, leaf.parent);
    EXPECT_FLOAT_EQ(0.5f, leaf.appliedGroupAlpha);
    EXPECT_EQ(2, env.sceneNodeCount);
}

TEST_F(SceneGraphTest, RenderOrderModeSortsStablyBeforeDrawingAndHitTesting) {
    SceneNode root(&env);
    root.setPosition(Vector(0, 0, 0));
    ProbeNode three(&env, "3", &journal), one(&env, "1", &journal), two(&env, "2", &journal),
        alsoTwo(&env, "2b", &journal);
    for (ProbeNode* node : {&three, &one, &two, &alsoTwo}) {
        root.addChild(node, false);
    }
    three.setRenderOrder(3);
    one.setRenderOrder(1);
    two.setRenderOrder(2);
    alsoTwo.setRenderOrder(2);
    root.setChildrenRenderOrderMode(1);
    root.dispatchRender(&renderer);
    EXPECT_EQ((std::vector<std::string>{"draw 1", "draw 2", "draw 2b", "draw 3"}), journal);

    journal.clear();
    Ray ray;
    ray.setup(Vector(50, 50, 10), Vector(0, 0, -1));  // hits nothing
    EXPECT_FALSE(root.dispatchHitTest(ray, nullptr, nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{"hit 3", "hit 2b", "hit 2", "hit 1"}), journal);

    // The first hit wins: the topmost drawn node.
    journal.clear();
    ray.setup(Vector(0, 0, 10), Vector(0, 0, -1));
    EXPECT_TRUE(root.dispatchHitTest(ray, nullptr, nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{"hit 3"}), journal);

    // Hidden subtrees are neither drawn nor hit.
    journal.clear();
    three.setVisible(false);
    root.dispatchRender(&renderer);
    EXPECT_TRUE(root.dispatchHitTest(ray, nullptr, nullptr, nullptr));
    EXPECT_EQ((std::vector<std::string>{"draw 1", "draw 2", "draw 2b", "hit 2b"}), journal);
}

TEST_F(SceneGraphTest, HitTestWorksInTheLocalSpaceOfTransformedNodes) {
    SceneNode root(&env);
    ProbeNode square(&env, "square", &journal);
    root.addChild(&square, true);
    root.setPosition(Vector(100, 0, 0));
    square.setScale(Vector(10, 10, 1));
    Ray ray;
    Vector position;
    ray.setup(Vector(108, 9, 50), Vector(0, 0, -1));
    EXPECT_TRUE(root.dispatchHitTest(ray, &position, nullptr, nullptr));
    EXPECT_NEAR(0.8f, position.x, 1e-5f);  // in the square's own units
    EXPECT_NEAR(0.9f, position.y, 1e-5f);
    ray.setup(Vector(111, 0, 50), Vector(0, 0, -1));
    EXPECT_FALSE(root.dispatchHitTest(ray, nullptr, nullptr, nullptr));
}

TEST_F(SceneGraphTest, PartialRenderingSelectsByFlags) {
    SceneNode root(&env);
    ProbeNode parent(&env, "parent", &journal), child(&env, "child", &journal),
        hidden(&env, "hidden", &journal), other(&env, "other", &journal);
    root.addChild(&parent, false);
    root.addChild(&other, false);
    parent.addChild(&child, false);
    parent.addChild(&hidden, false);
    parent.AddRenderFlag(2 | 4, true);
    parent.RemoveRenderFlag(4, false);
    other.AddRenderFlag(1, false);
    hidden.setVisible(false);
    child.setGroupAlpha(0.5f);
    EXPECT_EQ(2, parent.renderFlags);
    EXPECT_EQ(6, child.renderFlags);

    root.dispatchPartialSceneRender(&renderer, 2, false);
    EXPECT_EQ((std::vector<std::string>{"draw parent", "draw child"}), journal);
    EXPECT_FLOAT_EQ(0.5f, child.drawnAlpha);
    journal.clear();
    root.dispatchPartialSceneRender(&renderer, 4, true);
    EXPECT_EQ((std::vector<std::string>{"draw child", "draw hidden"}), journal);
    journal.clear();
    parent.setVisible(false);  // skips the subtree even where the children match
    root.dispatchPartialSceneRender(&renderer, 7, false);
    EXPECT_EQ((std::vector<std::string>{"draw other"}), journal);
}

TEST_F(SceneGraphTest, CameraPlacesItselfOnePixelPerUnit) {
    Scene scene(&env);
    ProbeNode node(&env, "node", &journal);
    scene.rootNode.addChild(&node, true);
    node.setPosition(Vector(100, 50, 0));
    renderer.viewportWidth = 480;
    renderer.viewportHeight = 800;
    scene.defaultCamera.renderScene(&renderer);
    const Vector& at = scene.defaultCamera.getPosition();
    EXPECT_EQ(0.0f, at.x);
    EXPECT_NEAR(400.0 / std::tan(M_PI / 6), at.z, 1e-2);
    EXPECT_EQ((std::vector<std::string>{"draw node"}), journal);

    // The node's origin lands 100 px right and 50 px up from the centre, in clip space too.
    Vector clip;
    Matrix worldView;
    Matrix::Multiply(&worldView, node.drawnWorld, renderer.viewMatrix);
    Vector eye;
    worldView.transformPosition(Vector(), &eye);
    renderer.projectionMatrix.projectPosition(eye, &clip);
    EXPECT_NEAR(100.0f / 240.0f, clip.x, 1e-5f);
    EXPECT_NEAR(50.0f / 400.0f, clip.y, 1e-5f);

    Vector onScreen(0, 0, 7);
    ASSERT_TRUE(
        scene.defaultCamera.querySceneNodeOriginPositionOnViewport(480, 800, node, &onScreen));
    EXPECT_NEAR(100.0f, onScreen.x, 1e-3f);
    EXPECT_NEAR(50.0f, onScreen.y, 1e-3f);
    EXPECT_EQ(7.0f, onScreen.z);

    LogCapture log;
    Vector untouched(1, 2, 3);
    EXPECT_FALSE(
        scene.defaultCamera.querySceneNodeOriginPositionOnViewport(480, 0, node, &untouched));
    EXPECT_TRUE(
        log.has("KestoCam", 'E', "querySceneNodeOriginPositionOnViewport NG - zero viewport size"));
    EXPECT_EQ(1.0f, untouched.x);
}

}  // namespace
}  // namespace kesto
