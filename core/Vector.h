#pragma once

namespace kesto {

struct Vector {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;

    Vector() = default;
    Vector(float xValue, float yValue, float zValue) : x(xValue), y(yValue), z(zValue) {}

    float length() const;
    // False, leaving the vector as it is, when its length is 0.
    bool normalize();

    static void Cross(Vector* out, const Vector& a, const Vector& b);
    static float Dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
    static Vector Subtract(const Vector& a, const Vector& b) {
        return Vector(a.x - b.x, a.y - b.y, a.z - b.z);
    }
};

struct Vector2 {
    float x = 0.0f;
    float y = 0.0f;

    Vector2() = default;
    Vector2(float xValue, float yValue) : x(xValue), y(yValue) {}
};

// Out-parameter of picking queries made from Java, read back one component at a time.
extern Vector g_OutputVector;

}  // namespace kesto
