#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "core/Matrix.h"
#include "core/Vector.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

void ExpectVectorNear(const Vector& expected, const Vector& actual, float tolerance = 1e-5f) {
    EXPECT_NEAR(expected.x, actual.x, tolerance);
    EXPECT_NEAR(expected.y, actual.y, tolerance);
    EXPECT_NEAR(expected.z, actual.z, tolerance);
}

// v mapped through m, as a position unless another mapping is given.
Vector Apply(const Matrix& m, const Vector& v,
             void (Matrix::*map)(const Vector&, Vector*) const = &Matrix::transformPosition) {
    Vector out;
    (m.*map)(v, &out);
    return out;
}

void ExpectIdentity(const Matrix& m, float tolerance) {
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(i % 5 == 0 ? 1.0f : 0.0f, m.m[i], tolerance) << i;
    }
}

TEST(MatrixTest, RotationsAreCounterClockwise) {
    Matrix m;
    m.setAsRotationZ(90);
    ExpectVectorNear(Vector(0, 1, 0), Apply(m, Vector(1, 0, 0)));
    m.setAsRotationX(90);
    ExpectVectorNear(Vector(0, 0, 1), Apply(m, Vector(0, 1, 0)));
    m.setAsRotationY(90);
    ExpectVectorNear(Vector(1, 0, 0), Apply(m, Vector(0, 0, 1)));
}

TEST(MatrixTest, InverseUndoesAffineTransformsAndProjections) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> angle(-180, 180), offset(-500, 500), scale(0.25f, 4);
    Matrix a, b, world, inverse, product;
    for (int round = 0; round < 100; ++round) {
        world.setAsScale(scale(random), scale(random), scale(random));
        for (auto set :
             {&Matrix::setAsRotationX, &Matrix::setAsRotationY, &Matrix::setAsRotationZ}) {
            (a.*set)(angle(random));
            Matrix::Multiply(&world, Matrix(world), a);
        }
        a.setAsTranslation(offset(random), offset(random), offset(random));
        Matrix::Multiply(&world, Matrix(world), a);
        world.getInverse(&inverse);
        Matrix::Multiply(&product, world, inverse);
        SCOPED_TRACE(round);
        ExpectIdentity(product, 2e-4f);
    }
    // A projection is not affine; the full inverse handles it too.
    world.setAsPerspectiveProjectionH(480, 800, 60, 10, 10000);
    world.getInverse(&inverse);
    Matrix::Multiply(&product, world, inverse);
    ExpectIdentity(product, 1e-4f);

    b.setAsScale(1, 0, 1);
    b.getInverse(&inverse);
    EXPECT_FALSE(std::all_of(inverse.m, inverse.m + 16, [](float e) { return std::isfinite(e); }))
        << "singular";
    b.getInverse(nullptr);  // tolerated
}

TEST(MatrixTest, ProjectionsAndTheDivisionByW) {
    const auto project = &Matrix::projectPosition;
    Matrix p;
    p.setAsPerspectiveProjectionH(480, 800, 60, 10, 10000);
    EXPECT_NEAR(1.7320508f, p.m[5], 1e-6f);
    EXPECT_FLOAT_EQ(p.m[5] * (800.0f / 480.0f), p.m[0]);
    // The near plane lands at depth -1, the far one at +1.
    EXPECT_NEAR(-1.0f, Apply(p, Vector(0, 0, -10), project).z, 1e-5f);
    EXPECT_NEAR(1.0f, Apply(p, Vector(0, 0, -10000), project).z, 1e-4f);
    p.setAsOrthographicProjection(800, 0, 480, 0, -1, 1);  // right, left, top, bottom, near, far
    ExpectVectorNear(Vector(1, 1, 0), Apply(p, Vector(800, 480, 0), project));
    ExpectVectorNear(Vector(-1, -1, 0), Apply(p, Vector(0, 0, 0), project));

    // A zero w leaves the position undivided.
    p.setAsTranslation(1, 2, 3);
    p.m[15] = 0.0f;
    ExpectVectorNear(Vector(2, 3, 4), Apply(p, Vector(1, 1, 1), project), 0);
    p.m[15] = 2.0f;
    ExpectVectorNear(Vector(1, 1.5f, 2), Apply(p, Vector(1, 1, 1), project), 0);
    ExpectVectorNear(Vector(1, 1, 1), Apply(p, Vector(1, 1, 1), &Matrix::transformVector), 0);
}

TEST(MatrixTest, FixedPointConversionOnRawBits) {
    // 0.1 is truncated, not rounded; 1e30 shifts past 31 bits and silently yields 0.
    const float in[] = {
        1.0f, -0.5f, 0.0f,     -0.0f, 1e-9f, -1e-30f, std::numeric_limits<float>::denorm_min(),
        1.5f, 0.1f,  32767.0f, 1e30f};
    std::vector<int> out;
    for (float value : in) {
        out.push_back(ConvertToFixed(value));
    }
    EXPECT_EQ((std::vector<int>{65536, -32768, 0, -1, 1, -1, 1, 98304, 6553, 32767 * 65536, 0}),
              out);
    Matrix m;
    m.setAsTranslation(2, -3, 0.25f);
    std::vector<int> fixed(16);
    m.getFixedMatrix(fixed.data());
    EXPECT_EQ((std::vector<int>{65536, 0, 0, 0, 0, 65536, 0, 0, 0, 0, 65536, 0, 131072, -196608,
                                16384, 65536}),
              fixed);
}

}  // namespace
}  // namespace kesto
