// Sprite geometry, layer tables and mesh hit tests: no GL is needed until something is drawn.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "gl/Environment.h"
#include "scene/Material.h"
#include "scene/Mesh.h"
#include "scene/Sprite.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::CountersRestored;
using test::LogCapture;

void ExpectVertex(Mesh* mesh, int index, float x, float y, float z) {
    const Vector* v = mesh->vertexBuffer.getVertexPosition(index);
    EXPECT_EQ(x, v->x) << "vertex " << index;
    EXPECT_EQ(y, v->y) << "vertex " << index;
    EXPECT_EQ(z, v->z) << "vertex " << index;
}

void ExpectUv(Mesh* mesh, int index, float u, float v) {
    const Vector2* uv = mesh->vertexBuffer.getVertexTextureCoordinates(index);
    EXPECT_EQ(u, uv->x) << "vertex " << index;
    EXPECT_EQ(v, uv->y) << "vertex " << index;
}

class SpriteTest : public ::testing::Test {
  protected:
    CountersRestored restored;
    Environment env;
};

TEST_F(SpriteTest, InitBuildsCentredQuadsWithLayerZeroOnTop) {
    Sprite sprite(&env);
    ASSERT_TRUE(sprite.init(2, true));
    EXPECT_EQ(2, env.meshCount);
    Mesh* layer0 = sprite.getLayerMesh(0);
    Mesh* layer1 = sprite.getLayerMesh(1);
    // Drawn front to back: layer 1 first, layer 0 last, on top.
    EXPECT_EQ(layer1, sprite.meshes.head->value);
    EXPECT_EQ(layer0, sprite.meshes.tail->value);
    EXPECT_EQ(sprite.getLayerMaterial(1), layer1->getMaterial());
    ExpectVertex(layer0, 0, -50, 50, 0);
    ExpectVertex(layer0, 1, -50, -50, 0);
    ExpectVertex(layer0, 2, 50, 50, 0);
    ExpectVertex(layer0, 3, 50, -50, 0);
    ExpectUv(layer1, 0, 0, 0);
    ExpectUv(layer1, 1, 0, 1);
    ExpectUv(layer1, 2, 1, 0);
    ExpectUv(layer1, 3, 1, 1);

    Sprite bottom(&env);
    ASSERT_TRUE(bottom.init(2, false));
    EXPECT_EQ(bottom.getLayerMesh(0), bottom.meshes.head->value);
}

TEST_F(SpriteTest, GeometryAnchorsAndTextureCoordinates) {
    Sprite sprite(&env);
    ASSERT_TRUE(sprite.init(2, true));
    Mesh* mesh = sprite.getLayerMesh(0);
    sprite.initSpriteGeometry(0, 200, 100, 100, -50, 3);
    ExpectVertex(mesh, 0, -200, 100, -3);
    ExpectVertex(mesh, 3, 0, 0, -3);
    sprite.setTextureCoordinatesBy2P(0, Vector2(0.25f, 0), Vector2(0.75f, 1));
    ExpectUv(mesh, 0, 0.25f, 0);
    ExpectUv(mesh, 1, 0.25f, 1);
    ExpectUv(mesh, 2, 0.75f, 0);
    ExpectUv(mesh, 3, 0.75f, 1);
    sprite.setTextureCoordinatesBy4P(0, Vector2(1, 1), Vector2(1, 0), Vector2(0, 1), Vector2(0, 0));
    ExpectUv(mesh, 0, 1, 1);
    ExpectUv(mesh, 3, 0, 0);

    LogCapture log;
    sprite.initSpriteGeometry(2, 1, 1, 0, 0, 0);
    sprite.setTextureCoordinatesBy4P(5, Vector2(), Vector2(), Vector2(), Vector2());
    EXPECT_EQ(nullptr, sprite.getLayerMaterial(-1));
    EXPECT_EQ(nullptr, sprite.getLayerMesh(2));
    EXPECT_EQ((std::vector<std::string>{"initSpriteGeometry index NG 2",
                                        "setTextureCoordinatesBy2P index NG 5",
                                        "getLayerMaterial index NG -1", "getLayerMesh index NG 2"}),
              log.messages("KestoSprite"));

    // Without a table every layer operation is a silent no-op.
    Sprite empty(&env);
    LogCapture quiet;
    empty.initSpriteGeometry(0, 1, 1, 0, 0, 0);
    EXPECT_EQ(nullptr, empty.getLayerMesh(0));
    EXPECT_TRUE(quiet.lines().empty());
}

TEST_F(SpriteTest, DeinitReleasesMeshesAndMaterialsButNotTheSprite) {
    const int32_t nodesBefore = env.sceneNodeCount;
    Sprite sprite(&env);
    ASSERT_TRUE(sprite.init(3, true));
    float size[2] = {1, 2};
    ASSERT_TRUE(sprite.getLayerMaterial(2)->setUniformVariable("TextureSize", 2, size));
    sprite.deinit();
    EXPECT_EQ(0, sprite.layersCount);
    EXPECT_EQ(0, sprite.meshes.count);
    EXPECT_EQ(0, env.meshCount);
    EXPECT_EQ(nodesBefore + 1, env.sceneNodeCount);
    ASSERT_TRUE(sprite.init(1, false)) << "usable again";
}

TEST_F(SpriteTest, MeshHitsFollowTheStripAndTheFlags) {
    Mesh mesh(&env);
    Material material;
    mesh.setMaterial(&material);
    Ray down;
    down.setup(Vector(0.5f, 0.5f, 5), Vector(0, 0, -1));
    ASSERT_TRUE(mesh.setup(Mesh::TRIANGLE_STRIP, 2));
    EXPECT_FALSE(mesh.hitTest(down, nullptr, nullptr, nullptr)) << "two vertices: no triangle";

    // A unit square as a strip: (0,1) (0,0) (1,1) (1,0). The point (0.5, 0.5) lies on the
    // shared diagonal; (0.9, 0.2) only in the second, reordered triangle (1, 3, 2).
    ASSERT_TRUE(mesh.setup(Mesh::TRIANGLE_STRIP, 4));
    const float corners[4][2] = {{0, 1}, {0, 0}, {1, 1}, {1, 0}};
    for (int i = 0; i < 4; ++i) {
        mesh.vertexBuffer.setVertexPosition(i, corners[i][0], corners[i][1], 0);
    }
    Ray second;
    second.setup(Vector(0.9f, 0.2f, 5), Vector(0, 0, -1));
    Vector untouched(7, 7, 7);
    EXPECT_TRUE(mesh.hitTest(second, &untouched, &untouched, &untouched));
    EXPECT_EQ(7.0f, untouched.x) << "a mesh reports only whether it was hit";
    Ray outside;
    outside.setup(Vector(1.1f, 0.5f, 5), Vector(0, 0, -1));
    EXPECT_FALSE(mesh.hitTest(outside, nullptr, nullptr, nullptr));

    mesh.setRenderable(false);
    EXPECT_TRUE(mesh.hitTest(second, nullptr, nullptr, nullptr));
    mesh.setRenderable(true);
    mesh.setTouchable(false);
    EXPECT_FALSE(mesh.hitTest(second, nullptr, nullptr, nullptr));
    mesh.setTouchable(true);
    mesh.setVisible(false);
    EXPECT_FALSE(mesh.hitTest(second, nullptr, nullptr, nullptr));
}

TEST_F(SpriteTest, QuickRejectsNeverChangeWhatAMeshAnswers) {
    // Random strips, flat and bent, against rays aimed near them, some exactly at corners and
    // edge midpoints: the mesh's answer must equal the plain triangle tests'.
    std::mt19937 random(99);
    std::uniform_real_distribution<float> coordinate(-50, 50), jitter(-1, 1);
    Mesh mesh(&env);
    int hits = 0;
    for (int round = 0; round < 2000; ++round) {
        const unsigned count = 3 + random() % 4;
        ASSERT_TRUE(mesh.setup(Mesh::TRIANGLE_STRIP, count));
        std::vector<Vector> corners;
        for (unsigned i = 0; i < count; ++i) {
            corners.emplace_back(coordinate(random), coordinate(random),
                                 round % 2 ? coordinate(random) * 0.2f : 0.0f);
            mesh.vertexBuffer.setVertexPosition(i, corners[i].x, corners[i].y, corners[i].z);
        }
        Vector target = corners[random() % count];
        if (round % 3 == 1) {  // an edge midpoint
            const Vector& other = corners[random() % count];
            target = Vector((target.x + other.x) / 2, (target.y + other.y) / 2,
                            (target.z + other.z) / 2);
        } else if (round % 3 == 2) {
            target =
                Vector(target.x + jitter(random) * 10, target.y + jitter(random) * 10, target.z);
        }
        const Vector origin(coordinate(random), coordinate(random), 200);
        Ray ray;
        ASSERT_TRUE(ray.setup(origin, Vector::Subtract(target, origin)));
        bool expected = false;
        for (unsigned i = 0; i + 2 < count && !expected; ++i) {
            const Vector& a = corners[i];
            const Vector& b = corners[i % 2 == 0 ? i + 1 : i + 2];
            const Vector& c = corners[i % 2 == 0 ? i + 2 : i + 1];
            expected = ray.hitTriangle(a, b, c, nullptr, nullptr, nullptr);
        }
        hits += expected;
        ASSERT_EQ(expected, mesh.hitTest(ray, nullptr, nullptr, nullptr)) << "round " << round;
    }
    EXPECT_GT(hits, 400);
    EXPECT_LT(hits, 1800);
}

TEST_F(SpriteTest, HitTestsFollowMovesDespiteTheCachedInverse) {
    Sprite sprite(&env);
    ASSERT_TRUE(sprite.init(1, true));
    Ray down;
    ASSERT_TRUE(down.setup(Vector(0, 0, 100), Vector(0, 0, -1)));
    EXPECT_TRUE(sprite.dispatchHitTest(down, nullptr, nullptr, nullptr));
    sprite.setPosition(Vector(200, 0, 0));
    EXPECT_FALSE(sprite.dispatchHitTest(down, nullptr, nullptr, nullptr));
    sprite.setScale(Vector(5, 1, 1));  // now 500 wide around x = 200
    EXPECT_TRUE(sprite.dispatchHitTest(down, nullptr, nullptr, nullptr));
}

}  // namespace
}  // namespace kesto
