#include "core/Ray.h"

#include "platform/Log.h"

KESTO_LOG_TAG("KestoRay");

namespace kesto {

bool Ray::setup(const Vector& rayOrigin, const Vector& rayDirection) {
    origin = rayOrigin;
    direction = rayDirection;
    if (!direction.normalize()) {
        KLOGE("setup - illegal ray");
        return false;
    }
    return true;
}

bool Ray::getTransformedRay(const Matrix& m, Ray* out) const {
    m.transformPosition(origin, &out->origin);
    m.transformVector(direction, &out->direction);
    return out->direction.normalize();
}

bool Ray::hitTriangle(const Vector& p0, const Vector& p1, const Vector& p2, Vector* hitPosition,
                      Vector* hitNormal, Vector* hitDirection) const {
    const Vector e1 = Vector::Subtract(p1, p0);
    const Vector e2 = Vector::Subtract(p2, p0);
    Vector normal;
    Vector::Cross(&normal, e1, e2);
    Vector unitNormal = normal;
    if (!unitNormal.normalize()) {
        return false;
    }

    // Orient the plane normal from the origin towards the plane.
    float distance = Vector::Dot(unitNormal, p0) - Vector::Dot(unitNormal, origin);
    Vector towards = unitNormal;
    if (distance < 0.0f) {
        towards = Vector(-unitNormal.x, -unitNormal.y, -unitNormal.z);
        distance = -distance;
    }
    const float speed = Vector::Dot(direction, towards);
    if (speed <= 0.0f) {
        return false;
    }
    const float t = distance / speed;
    const Vector position(origin.x + t * direction.x, origin.y + t * direction.y,
                          origin.z + t * direction.z);

    const Vector q = Vector::Subtract(position, p0);
    Vector c1;
    Vector::Cross(&c1, e1, q);
    if (Vector::Dot(normal, c1) < 0.0f) {
        return false;
    }
    Vector c2;
    Vector::Cross(&c2, q, e2);
    if (Vector::Dot(normal, c2) < 0.0f) {
        return false;
    }
    // Beyond the edge p1-p2 the two sub-areas add up to more than the whole triangle.
    if (normal.length() < c1.length() + c2.length()) {
        return false;
    }

    if (hitPosition != nullptr) {
        *hitPosition = position;
    }
    if (hitNormal != nullptr) {
        *hitNormal = unitNormal;
    }
    if (hitDirection != nullptr) {
        *hitDirection = direction;
    }
    return true;
}

void Ray::logi(const char* label) const {
    KLOGI("%s - (%f, %f, %f) --> (%f, %f, %f)", label, origin.x, origin.y, origin.z, direction.x,
          direction.y, direction.z);
}

}  // namespace kesto
