#pragma once

#include "core/Matrix.h"
#include "core/Vector.h"

namespace kesto {

// Picking primitive: an origin and a unit direction.
class Ray {
  public:
    Vector origin;
    Vector direction;

    // False, with "setup - illegal ray", when the direction has length 0.
    bool setup(const Vector& origin, const Vector& direction);
    // Renormalises the carried direction so that hits work in the space of scaled nodes.
    bool getTransformedRay(const Matrix& m, Ray* out) const;
    // Two-sided, no tolerances: points on edges and vertices count as hits.
    bool hitTriangle(const Vector& p0, const Vector& p1, const Vector& p2, Vector* hitPosition,
                     Vector* hitNormal, Vector* hitDirection) const;
    void logi(const char* label) const;
};

}  // namespace kesto
