#include <gtest/gtest.h>

#include <vector>

#include "core/Ray.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

const Vector kP0(-1, -1, 0), kP1(1, -1, 0), kP2(0, 1, 0), kDown(0, 0, -1);

Ray MakeRay(Vector origin, Vector direction) {
    Ray ray;
    EXPECT_TRUE(ray.setup(origin, direction));
    return ray;
}

TEST(RayTest, HitsBothWindingsWithTheWindingNormal) {
    const Ray ray = MakeRay(Vector(0, 0, 10), kDown);
    Vector position(9, 9, 9), normal, direction;
    ASSERT_TRUE(ray.hitTriangle(kP0, kP1, kP2, &position, &normal, &direction));
    EXPECT_EQ((std::vector<float>{0, 0, 0, 0, 0, 1, 0, 0, -1}),
              (std::vector<float>{position.x, position.y, position.z, normal.x, normal.y, normal.z,
                                  direction.x, direction.y, direction.z}));
    ASSERT_TRUE(ray.hitTriangle(kP0, kP2, kP1, &position, &normal, nullptr));
    EXPECT_EQ(-1.0f, normal.z);
    Vector untouched(7, 7, 7);  // degenerate
    EXPECT_FALSE(ray.hitTriangle(kP0, kP0, kP2, &untouched, nullptr, nullptr));
    EXPECT_EQ(7.0f, untouched.x);
}

TEST(RayTest, HitsInsideAndOnTheEdgesFromEitherSide) {
    const Vector up(0, 0, 1), miss(9, 9, 9);
    const struct {
        Vector origin, direction, hit;
        float tolerance;
    } rays[] = {
        {{0, 0, -10}, up, {0, 0, 0}, 0},   // from behind
        {{0, 0, 10}, up, miss, 0},         // pointing away
        {{-5, 0, 0}, {1, 0, 0}, miss, 0},  // parallel
        {{0, -1.01f, 5}, kDown, miss, 0},  // just outside each edge
        {{0.6f, 0.1f, 5}, kDown, miss, 0},
        {{-0.6f, 0.1f, 5}, kDown, miss, 0},
        {{0, -1, 3}, kDown, {0, -1, 0}, 0},  // on each edge, and a corner
        {{0.5f, 0, 3}, kDown, {0.5f, 0, 0}, 0},
        {{-0.5f, 0, 3}, kDown, {-0.5f, 0, 0}, 0},
        {{1, -1, 3}, kDown, {1, -1, 0}, 0},
        {{2, 0, 2}, {-1, 0, -1}, {0, 0, 0}, 1e-6f},  // 45 degrees
    };
    for (const auto& r : rays) {
        Vector position = miss;
        EXPECT_EQ(
            r.hit.x != miss.x,
            MakeRay(r.origin, r.direction).hitTriangle(kP0, kP1, kP2, &position, nullptr, nullptr))
            << r.origin.x << "," << r.origin.y << "," << r.origin.z;
        EXPECT_NEAR(r.hit.x, position.x, r.tolerance);
        EXPECT_NEAR(r.hit.y, position.y, r.tolerance);
        EXPECT_NEAR(r.hit.z, position.z, r.tolerance);
    }
}

}  // namespace
}  // namespace kesto
