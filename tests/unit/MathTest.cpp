#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

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

TEST(VectorTest, LengthNormalizeAndCross) {
    EXPECT_FLOAT_EQ(5.0f, Vector(3, 4, 0).length());
    Vector zero;
    EXPECT_FALSE(zero.normalize());
    EXPECT_EQ(0.0f, zero.x);
    EXPECT_EQ(0.0f, zero.y);
    EXPECT_EQ(0.0f, zero.z);

    Vector v(0, 3, 4);
    EXPECT_TRUE(v.normalize());
    EXPECT_FLOAT_EQ(0.6f, v.y);
    EXPECT_FLOAT_EQ(0.8f, v.z);

    Vector out;
    Vector::Cross(&out, Vector(1, 0, 0), Vector(0, 1, 0));
    ExpectVectorNear(Vector(0, 0, 1), out, 0);
    Vector a(1, 2, 3);
    Vector::Cross(&a, a, Vector(4, 5, 6));  // out may be an input
    ExpectVectorNear(Vector(-3, 6, -3), a, 0);
}

TEST(MatrixTest, AngleConstantsUseTheTenDigitPi) {
    EXPECT_EQ(0.017453292522222223, Matrix::PI_OVER_180);
    EXPECT_EQ(0.008726646261111111, Matrix::PI_OVER_360);
}

TEST(MatrixTest, RotationsAreCounterClockwiseSeenFromThePositiveAxis) {
    Matrix m;
    Vector out;
    m.setAsRotationZ(90);
    m.transformPosition(Vector(1, 0, 0), &out);
    ExpectVectorNear(Vector(0, 1, 0), out);
    m.setAsRotationX(90);
    m.transformPosition(Vector(0, 1, 0), &out);
    ExpectVectorNear(Vector(0, 0, 1), out);
    m.setAsRotationY(90);
    m.transformPosition(Vector(0, 0, 1), &out);
    ExpectVectorNear(Vector(1, 0, 0), out);
    // sin and cos are taken in double with the ten-digit pi, then rounded to float.
    m.setAsRotationZ(30);
    EXPECT_EQ(static_cast<float>(std::cos(30 * Matrix::PI_OVER_180)), m.m[0]);
    EXPECT_EQ(static_cast<float>(std::sin(30 * Matrix::PI_OVER_180)), m.m[1]);
}

TEST(MatrixTest, MultiplyAppliesTheLeftMatrixFirst) {
    Matrix t, r, product;
    t.setAsTranslation(10, 0, 0);
    r.setAsRotationZ(90);
    Matrix::Multiply(&product, t, r);
    Vector out;
    product.transformPosition(Vector(1, 0, 0), &out);
    ExpectVectorNear(Vector(0, 11, 0), out);

    Matrix::Multiply(&product, r, t);
    product.transformPosition(Vector(1, 0, 0), &out);
    ExpectVectorNear(Vector(10, 1, 0), out);

    // The affine product agrees on the 12 elements it writes and leaves the other four alone.
    Matrix affine;
    for (float& element : affine.m) {
        element = 42.0f;
    }
    Matrix::TransformMultiply(&affine, r, t);
    for (int i = 0; i < 16; ++i) {
        if (i % 4 == 3) {
            EXPECT_EQ(42.0f, affine.m[i]) << i;
        } else {
            EXPECT_EQ(product.m[i], affine.m[i]) << i;
        }
    }
}

TEST(MatrixTest, InverseUndoesRandomAffineTransforms) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> angle(-180, 180), offset(-500, 500), scale(0.25f, 4);
    for (int round = 0; round < 100; ++round) {
        Matrix s, rx, ry, rz, t, a, b, world, inverse, product;
        s.setAsScale(scale(random), scale(random), scale(random));
        rx.setAsRotationX(angle(random));
        ry.setAsRotationY(angle(random));
        rz.setAsRotationZ(angle(random));
        t.setAsTranslation(offset(random), offset(random), offset(random));
        Matrix::Multiply(&a, s, rx);
        Matrix::Multiply(&b, a, ry);
        Matrix::Multiply(&a, b, rz);
        Matrix::Multiply(&world, a, t);
        world.getInverse(&inverse);
        Matrix::Multiply(&product, world, inverse);
        for (int i = 0; i < 16; ++i) {
            EXPECT_NEAR(i % 5 == 0 ? 1.0f : 0.0f, product.m[i], 2e-4f) << "round " << round;
        }
    }
    // A projection is not affine; the full inverse handles it too.
    Matrix projection, inverse, product;
    projection.setAsPerspectiveProjectionH(480, 800, 60, 10, 10000);
    projection.getInverse(&inverse);
    Matrix::Multiply(&product, projection, inverse);
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(i % 5 == 0 ? 1.0f : 0.0f, product.m[i], 1e-4f) << i;
    }
}

TEST(MatrixTest, SingularInverseGivesNonFiniteValues) {
    Matrix flat, inverse;
    flat.setAsScale(1, 0, 1);
    flat.getInverse(&inverse);
    bool anyNonFinite = false;
    for (float element : inverse.m) {
        anyNonFinite |= !std::isfinite(element);
    }
    EXPECT_TRUE(anyNonFinite);
    flat.getInverse(nullptr);  // tolerated
}

TEST(MatrixTest, Projections) {
    Matrix p;
    p.setAsPerspectiveProjectionH(480, 800, 60, 10, 10000);
    EXPECT_NEAR(1.7320508f, p.m[5], 1e-6f);
    EXPECT_FLOAT_EQ(p.m[5] * (800.0f / 480.0f), p.m[0]);
    EXPECT_FLOAT_EQ(10010.0f / -9990.0f, p.m[10]);
    EXPECT_EQ(-1.0f, p.m[11]);
    EXPECT_FLOAT_EQ(20000.0f * 10.0f / -9990.0f, p.m[14]);
    EXPECT_EQ(0.0f, p.m[15]);

    // A point on the near plane lands at depth -1, one on the far plane at +1.
    Vector out;
    p.projectPosition(Vector(0, 0, -10), &out);
    EXPECT_NEAR(-1.0f, out.z, 1e-5f);
    p.projectPosition(Vector(0, 0, -10000), &out);
    EXPECT_NEAR(1.0f, out.z, 1e-4f);

    Matrix o;
    o.setAsOrthographicProjection(800, 0, 480, 0, -1, 1);  // right, left, top, bottom, near, far
    o.projectPosition(Vector(800, 480, 0), &out);
    ExpectVectorNear(Vector(1, 1, 0), out);
    o.projectPosition(Vector(0, 0, 0), &out);
    ExpectVectorNear(Vector(-1, -1, 0), out);
}

TEST(MatrixTest, ProjectPositionWithZeroWIsUndivided) {
    Matrix m;
    m.setAsTranslation(1, 2, 3);
    m.m[15] = 0.0f;
    Vector out;
    m.projectPosition(Vector(1, 1, 1), &out);
    ExpectVectorNear(Vector(2, 3, 4), out, 0);

    m.m[15] = 2.0f;
    m.projectPosition(Vector(1, 1, 1), &out);
    ExpectVectorNear(Vector(1, 1.5f, 2), out, 0);

    m.transformVector(Vector(1, 1, 1), &out);  // no translation
    ExpectVectorNear(Vector(1, 1, 1), out, 0);
}

TEST(MatrixTest, FixedPointConversionOnRawBits) {
    EXPECT_EQ(65536, ConvertToFixed(1.0f));
    EXPECT_EQ(-32768, ConvertToFixed(-0.5f));
    EXPECT_EQ(0, ConvertToFixed(0.0f));
    EXPECT_EQ(-1, ConvertToFixed(-0.0f));
    EXPECT_EQ(1, ConvertToFixed(1e-9f));
    EXPECT_EQ(-1, ConvertToFixed(-1e-30f));
    EXPECT_EQ(1, ConvertToFixed(std::numeric_limits<float>::denorm_min()));
    EXPECT_EQ(98304, ConvertToFixed(1.5f));
    EXPECT_EQ(6553, ConvertToFixed(0.1f));  // truncated, not rounded
    EXPECT_EQ(32767 * 65536, ConvertToFixed(32767.0f));
    EXPECT_EQ(0, ConvertToFixed(1e30f));  // shift past 31 bits silently yields 0

    Matrix m;
    m.setAsTranslation(2, -3, 0.25f);
    int fixed[16];
    m.getFixedMatrix(fixed);
    EXPECT_EQ(65536, fixed[0]);
    EXPECT_EQ(0, fixed[1]);
    EXPECT_EQ(131072, fixed[12]);
    EXPECT_EQ(-196608, fixed[13]);
    EXPECT_EQ(16384, fixed[14]);
}

TEST(MatrixTest, LogiPrintsAllElementsInStorageOrder) {
    Matrix m;
    m.setAsTranslation(1, 2.5f, -3);
    test::LogCapture log;
    m.logi("world");
    EXPECT_TRUE(log.has("KestoMtr", 'I',
                        "world - (1.000,0.000,0.000,0.000)(0.000,1.000,0.000,0.000)"
                        "(0.000,0.000,1.000,0.000)(1.000,2.500,-3.000,1.000)"))
        << log.text();
}

}  // namespace
}  // namespace kesto
