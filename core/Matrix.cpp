#include "core/Matrix.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "platform/Log.h"

KESTO_LOG_TAG("KestoMtr");

namespace kesto {

int ConvertToFixed(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    if (bits == 0) {
        return 0;
    }
    const uint32_t mantissa = (bits & 0x7FFFFFu) + 0x800000u;
    const int shift = static_cast<int>((bits >> 23) & 0xFFu) - 134;
    uint32_t magnitude;
    if (shift >= 1) {
        magnitude = shift < 32 ? mantissa << shift : 0u;
    } else if (shift >= -23) {
        magnitude = mantissa >> -shift;
    } else {
        magnitude = 1u;
    }
    if (bits & 0x80000000u) {
        magnitude = 0u - magnitude;
    }
    return static_cast<int32_t>(magnitude);
}

void Matrix::setAsZero() {
    std::memset(m, 0, sizeof m);
}

void Matrix::setAsIdentity() {
    setAsZero();
    m[0] = m[5] = m[10] = m[15] = 1.0f;
}

void Matrix::setAsTranslation(float x, float y, float z) {
    setAsIdentity();
    m[12] = x;
    m[13] = y;
    m[14] = z;
}

void Matrix::setAsScale(float x, float y, float z) {
    setAsZero();
    m[0] = x;
    m[5] = y;
    m[10] = z;
    m[15] = 1.0f;
}

namespace {

void SinCos(float deg, float* s, float* c) {
    const double radians = deg * Matrix::PI_OVER_180;
    *s = static_cast<float>(std::sin(radians));
    *c = static_cast<float>(std::cos(radians));
}

}  // namespace

void Matrix::setAsRotationX(float deg) {
    float s, c;
    SinCos(deg, &s, &c);
    setAsZero();
    m[0] = 1.0f;
    m[5] = c;
    m[6] = s;
    m[9] = -s;
    m[10] = c;
    m[15] = 1.0f;
}

void Matrix::setAsRotationY(float deg) {
    float s, c;
    SinCos(deg, &s, &c);
    setAsZero();
    m[0] = c;
    m[2] = -s;
    m[5] = 1.0f;
    m[8] = s;
    m[10] = c;
    m[15] = 1.0f;
}

void Matrix::setAsRotationZ(float deg) {
    float s, c;
    SinCos(deg, &s, &c);
    setAsZero();
    m[0] = c;
    m[1] = s;
    m[4] = -s;
    m[5] = c;
    m[10] = 1.0f;
    m[15] = 1.0f;
}

void Matrix::setAsPerspectiveProjectionH(float width, float height, float fovDeg, float zNear,
                                         float zFar) {
    const float tangent = static_cast<float>(std::tan(fovDeg * PI_OVER_360));
    const float f = 1.0f / tangent;
    setAsZero();
    m[0] = f * (height / width);
    m[5] = f;
    m[10] = (zFar + zNear) / (zNear - zFar);
    m[11] = -1.0f;
    m[14] = (zFar + zFar) * zNear / (zNear - zFar);
}

void Matrix::setAsOrthographicProjection(float a, float b, float c, float d, float e, float f) {
    setAsZero();
    m[0] = 2.0f / (a - b);
    m[5] = 2.0f / (c - d);
    m[10] = -2.0f / (f - e);
    m[12] = (a + b) / (b - a);
    m[13] = (c + d) / (d - c);
    m[14] = (f + e) / (e - f);
    m[15] = 1.0f;
}

void Matrix::getInverse(Matrix* out) const {
    if (out == nullptr) {
        return;
    }
    // 2x2 determinants of the lower two rows give the cofactors of the upper two, and the other
    // way round.
    const float c0 = m[8] * m[13] - m[12] * m[9];
    const float c1 = m[8] * m[14] - m[12] * m[10];
    const float c2 = m[8] * m[15] - m[12] * m[11];
    const float c3 = m[9] * m[14] - m[13] * m[10];
    const float c4 = m[9] * m[15] - m[13] * m[11];
    const float c5 = m[10] * m[15] - m[14] * m[11];

    const float cofactor0 = m[5] * c5 - m[6] * c4 + m[7] * c3;
    const float cofactor1 = -(m[4] * c5 - m[6] * c2 + m[7] * c1);
    const float cofactor2 = m[4] * c4 - m[5] * c2 + m[7] * c0;
    const float cofactor3 = -(m[4] * c3 - m[5] * c1 + m[6] * c0);
    const float det = m[0] * cofactor0 + m[1] * cofactor1 + m[2] * cofactor2 + m[3] * cofactor3;
    const float inv = 1.0f / det;

    const float s0 = m[0] * m[5] - m[4] * m[1];
    const float s1 = m[0] * m[6] - m[4] * m[2];
    const float s2 = m[0] * m[7] - m[4] * m[3];
    const float s3 = m[1] * m[6] - m[5] * m[2];
    const float s4 = m[1] * m[7] - m[5] * m[3];
    const float s5 = m[2] * m[7] - m[6] * m[3];

    float result[16];
    result[0] = cofactor0 * inv;
    result[1] = (-m[1] * c5 + m[2] * c4 - m[3] * c3) * inv;
    result[2] = (m[13] * s5 - m[14] * s4 + m[15] * s3) * inv;
    result[3] = (-m[9] * s5 + m[10] * s4 - m[11] * s3) * inv;
    result[4] = cofactor1 * inv;
    result[5] = (m[0] * c5 - m[2] * c2 + m[3] * c1) * inv;
    result[6] = (-m[12] * s5 + m[14] * s2 - m[15] * s1) * inv;
    result[7] = (m[8] * s5 - m[10] * s2 + m[11] * s1) * inv;
    result[8] = cofactor2 * inv;
    result[9] = (-m[0] * c4 + m[1] * c2 - m[3] * c0) * inv;
    result[10] = (m[12] * s4 - m[13] * s2 + m[15] * s0) * inv;
    result[11] = (-m[8] * s4 + m[9] * s2 - m[11] * s0) * inv;
    result[12] = cofactor3 * inv;
    result[13] = (m[0] * c3 - m[1] * c1 + m[2] * c0) * inv;
    result[14] = (-m[12] * s3 + m[13] * s1 - m[14] * s0) * inv;
    result[15] = (m[8] * s3 - m[9] * s1 + m[10] * s0) * inv;
    std::memcpy(out->m, result, sizeof result);
}

void Matrix::transformVector(const Vector& v, Vector* out) const {
    const float x = v.x * m[0] + v.y * m[4] + v.z * m[8];
    const float y = v.x * m[1] + v.y * m[5] + v.z * m[9];
    const float z = v.x * m[2] + v.y * m[6] + v.z * m[10];
    out->x = x;
    out->y = y;
    out->z = z;
}

void Matrix::transformPosition(const Vector& v, Vector* out) const {
    const float x = v.x * m[0] + v.y * m[4] + v.z * m[8] + m[12];
    const float y = v.x * m[1] + v.y * m[5] + v.z * m[9] + m[13];
    const float z = v.x * m[2] + v.y * m[6] + v.z * m[10] + m[14];
    out->x = x;
    out->y = y;
    out->z = z;
}

void Matrix::projectPosition(const Vector& v, Vector* out) const {
    const float w = v.x * m[3] + v.y * m[7] + v.z * m[11] + m[15];
    transformPosition(v, out);
    if (w != 0.0f) {
        const float inverse = 1.0f / w;
        out->x *= inverse;
        out->y *= inverse;
        out->z *= inverse;
    }
}

void Matrix::Multiply(Matrix* out, const Matrix& a, const Matrix& b) {
    float result[16];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            result[4 * i + j] = a.m[4 * i] * b.m[j] + a.m[4 * i + 1] * b.m[4 + j] +
                                a.m[4 * i + 2] * b.m[8 + j] + a.m[4 * i + 3] * b.m[12 + j];
        }
    }
    std::memcpy(out->m, result, sizeof result);
}

void Matrix::TransformMultiply(Matrix* out, const Matrix& a, const Matrix& b) {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            out->m[4 * i + j] =
                a.m[4 * i] * b.m[j] + a.m[4 * i + 1] * b.m[4 + j] + a.m[4 * i + 2] * b.m[8 + j];
        }
    }
    for (int j = 0; j < 3; ++j) {
        out->m[12 + j] =
            a.m[12] * b.m[j] + a.m[13] * b.m[4 + j] + a.m[14] * b.m[8 + j] + b.m[12 + j];
    }
}

void Matrix::getFixedMatrix(int* out) const {
    for (int i = 0; i < 16; ++i) {
        out[i] = ConvertToFixed(m[i]);
    }
}

void Matrix::logi(const char* label) const {
    KLOGI(
        "%s - (%.3f,%.3f,%.3f,%.3f)(%.3f,%.3f,%.3f,%.3f)(%.3f,%.3f,%.3f,%.3f)(%.3f,%.3f,%.3f,%.3f)",
        label, m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11], m[12],
        m[13], m[14], m[15]);
}

}  // namespace kesto
