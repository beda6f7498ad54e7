// 4x4 float matrix in GL layout (translation in m[12..14]). Points are row vectors multiplied on
// the left, so Multiply(out, a, b) applies a first, then b. Angles are in degrees.
#pragma once

#include "core/Vector.h"

namespace kesto {

// Float to signed 16.16 on the raw IEEE bits; never rounds a non-zero value to 0.
int ConvertToFixed(float value);

class Matrix {
  public:
    // The ten-digit pi is part of the engine's arithmetic; a more precise one changes results.
    static constexpr double PI_OVER_180 = 3.141592654 / 180.0;
    static constexpr double PI_OVER_360 = 3.141592654 / 360.0;

    float m[16];

    Matrix() { setAsIdentity(); }

    void setAsIdentity();
    void setAsTranslation(float x, float y, float z);
    void setAsScale(float x, float y, float z);
    void setAsRotationX(float deg);
    void setAsRotationY(float deg);
    void setAsRotationZ(float deg);
    // The field of view spans the vertical axis.
    void setAsPerspectiveProjectionH(float width, float height, float fovDeg, float zNear,
                                     float zFar);
    // Arguments: right, left, top, bottom, near, far.
    void setAsOrthographicProjection(float a, float b, float c, float d, float e, float f);

    // No singularity test: a zero determinant yields non-finite elements.
    void getInverse(Matrix* out) const;
    void transformVector(const Vector& v, Vector* out) const;
    void transformPosition(const Vector& v, Vector* out) const;
    void projectPosition(const Vector& v, Vector* out) const;

    static void Multiply(Matrix* out, const Matrix& a, const Matrix& b);
    // Affine product; leaves out->m[3], m[7], m[11], m[15] untouched. `out` must not alias a or b.
    static void TransformMultiply(Matrix* out, const Matrix& a, const Matrix& b);

    void getFixedMatrix(int* out) const;
    void logi(const char* label) const;

  private:
    void setAsZero();
};

}  // namespace kesto
