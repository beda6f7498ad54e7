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

class SpriteTest : public ::testing::Test {
  protected:
    CountersRestored restored;
    Environment env;
};

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
