#include <gtest/gtest.h>

#include "core/Ray.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

const Vector kP0(-1, -1, 0), kP1(1, -1, 0), kP2(0, 1, 0);

Ray MakeRay(Vector origin, Vector direction) {
    Ray ray;
    EXPECT_TRUE(ray.setup(origin, direction));
    return ray;
}

TEST(RayTest, SetupNormalisesAndRefusesZeroDirection) {
    Ray ray = MakeRay(Vector(1, 2, 3), Vector(0, 0, -5));
    EXPECT_EQ(-1.0f, ray.direction.z);

    test::LogCapture log;
    Ray bad;
    EXPECT_FALSE(bad.setup(Vector(1, 2, 3), Vector(0, 0, 0)));
    EXPECT_EQ(1, log.count("KestoRay", 'E', "setup - illegal ray"));
    EXPECT_EQ(0.0f, bad.direction.x);
    EXPECT_EQ(3.0f, bad.origin.z);
}

TEST(RayTest, HitsBothWindingsWithTheWindingNormal) {
    const Ray ray = MakeRay(Vector(0, 0, 10), Vector(0, 0, -1));
    Vector position(9, 9, 9), normal, direction;
    ASSERT_TRUE(ray.hitTriangle(kP0, kP1, kP2, &position, &normal, &direction));
    EXPECT_EQ(0.0f, position.x);
    EXPECT_EQ(0.0f, position.y);
    EXPECT_EQ(0.0f, position.z);
    EXPECT_EQ(1.0f, normal.z);
    EXPECT_EQ(-1.0f, direction.z);

    ASSERT_TRUE(ray.hitTriangle(kP0, kP2, kP1, &position, &normal, nullptr));
    EXPECT_EQ(-1.0f, normal.z);
    // From behind, too.
    EXPECT_TRUE(MakeRay(Vector(0, 0, -10), Vector(0, 0, 1))
                    .hitTriangle(kP0, kP1, kP2, nullptr, nullptr, nullptr));
}

TEST(RayTest, MissesBehindParallelOutsideAndDegenerate) {
    EXPECT_FALSE(MakeRay(Vector(0, 0, 10), Vector(0, 0, 1))
                     .hitTriangle(kP0, kP1, kP2, nullptr, nullptr, nullptr));
    EXPECT_FALSE(MakeRay(Vector(-5, 0, 0), Vector(1, 0, 0))
                     .hitTriangle(kP0, kP1, kP2, nullptr, nullptr, nullptr));
    // Just outside each edge.
    for (const Vector& origin :
         {Vector(0, -1.01f, 5), Vector(0.6f, 0.1f, 5), Vector(-0.6f, 0.1f, 5)}) {
        EXPECT_FALSE(
            MakeRay(origin, Vector(0, 0, -1)).hitTriangle(kP0, kP1, kP2, nullptr, nullptr, nullptr))
            << origin.x << "," << origin.y;
    }
    Vector untouched(7, 7, 7);
    EXPECT_FALSE(MakeRay(Vector(0, 0, 10), Vector(0, 0, -1))
                     .hitTriangle(kP0, kP0, kP2, &untouched, nullptr, nullptr));
    EXPECT_EQ(7.0f, untouched.x);
}

TEST(RayTest, EdgesAndVerticesCountAsHits) {
    const Vector down(0, 0, -1);
    // Midpoints of the three edges, and a corner.
    for (const Vector& origin :
         {Vector(0, -1, 3), Vector(0.5f, 0, 3), Vector(-0.5f, 0, 3), Vector(1, -1, 3)}) {
        Vector position;
        EXPECT_TRUE(MakeRay(origin, down).hitTriangle(kP0, kP1, kP2, &position, nullptr, nullptr))
            << origin.x << "," << origin.y;
        EXPECT_EQ(origin.x, position.x);
        EXPECT_EQ(origin.y, position.y);
    }
}

TEST(RayTest, Oblique) {
    // From (2, 0, 2) towards (0, 0, 0): 45 degrees to the plane.
    Vector position;
    ASSERT_TRUE(MakeRay(Vector(2, 0, 2), Vector(-1, 0, -1))
                    .hitTriangle(kP0, kP1, kP2, &position, nullptr, nullptr));
    EXPECT_NEAR(0.0f, position.x, 1e-6f);
    EXPECT_NEAR(0.0f, position.z, 1e-6f);
}

TEST(RayTest, TransformedRayKeepsAUnitDirection) {
    const Ray ray = MakeRay(Vector(1, 2, 3), Vector(0, 0, -1));
    Matrix scale;
    scale.setAsScale(2, 2, 2);
    Ray local;
    ASSERT_TRUE(ray.getTransformedRay(scale, &local));
    EXPECT_EQ(2.0f, local.origin.x);
    EXPECT_EQ(4.0f, local.origin.y);
    EXPECT_EQ(6.0f, local.origin.z);
    EXPECT_EQ(-1.0f, local.direction.z);

    Matrix collapse;
    collapse.setAsScale(1, 1, 0);
    test::LogCapture log;
    EXPECT_FALSE(ray.getTransformedRay(collapse, &local));
    EXPECT_TRUE(log.lines().empty());  // silently

    test::LogCapture info;
    ray.logi("pick");
    EXPECT_TRUE(
        info.has("KestoRay", 'I',
                 "pick - (1.000000, 2.000000, 3.000000) --> (0.000000, 0.000000, -1.000000)"));
}

}  // namespace
}  // namespace kesto
