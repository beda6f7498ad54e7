#include "core/Vector.h"

#include <cmath>

namespace kesto {

Vector g_OutputVector;

float Vector::length() const {
    const float sum = x * x + y * y + z * z;
    return static_cast<float>(std::sqrt(static_cast<double>(sum)));
}

bool Vector::normalize() {
    const float len = length();
    if (len == 0.0f) {
        return false;
    }
    const float inverse = 1.0f / len;
    x *= inverse;
    y *= inverse;
    z *= inverse;
    return true;
}

void Vector::Cross(Vector* out, const Vector& a, const Vector& b) {
    const float cx = a.y * b.z - a.z * b.y;
    const float cy = a.z * b.x - a.x * b.z;
    const float cz = a.x * b.y - a.y * b.x;
    out->x = cx;
    out->y = cy;
    out->z = cz;
}

}  // namespace kesto
