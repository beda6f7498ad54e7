// The scene graph's traversals need no GL: the renderer only collects matrices and alpha here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "scene/SceneNode.h"
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

}  // namespace
}  // namespace kesto
