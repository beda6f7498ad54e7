#include "scene/Mesh.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "platform/Log.h"
#include "scene/Material.h"

KESTO_LOG_TAG("KestoMesh");

namespace kesto {

Mesh::Mesh(Environment* env) : environment(env), vertexBuffer(env) {
    if (environment != nullptr) {
        CountUp(environment->meshCount);
    }
}

Mesh::~Mesh() {
    clear();
    if (environment != nullptr) {
        CountDown(environment->meshCount);
        environment = nullptr;
    }
}

bool Mesh::setup(RENDER_PRIMITIVE_TYPE type, unsigned int vertexCount) {
    primitiveType = type;
    if (!vertexBuffer.allocateBuffer(
            VertexBuffer::HAS_POSITION | VertexBuffer::HAS_TEXTURE_COORDINATES, vertexCount)) {
        KLOGE("allocateBuffer NG - %d, %u", type, vertexCount);
        clear();
        return false;
    }
    return true;
}

void Mesh::clear() {
    primitiveType = NONE;
    vertexBuffer.freeBuffer();
}

void Mesh::render(Renderer* renderer) {
    DrawItem item;
    if (visible && renderable && material != nullptr &&
        material->describe(renderer->currentGroupAlpha, &item)) {
        item.vertices = &vertexBuffer;
        renderer->submit(item);
    }
}

namespace {

// Whether the ray's line can meet the box around the vertices. Only a quick reject: the box is
// widened so that rounding can never turn away a ray the exact triangle tests would hit.
bool LineMayMeetBounds(const Ray& ray, VertexBuffer& vertices, int count) {
    float low[3], high[3];
    const Vector* first = vertices.getVertexPosition(0);
    low[0] = high[0] = first->x;
    low[1] = high[1] = first->y;
    low[2] = high[2] = first->z;
    for (int i = 1; i < count; ++i) {
        const Vector* v = vertices.getVertexPosition(i);
        const float c[3] = {v->x, v->y, v->z};
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], c[axis]);
            high[axis] = std::max(high[axis], c[axis]);
        }
    }
    const float origin[3] = {ray.origin.x, ray.origin.y, ray.origin.z};
    const float direction[3] = {ray.direction.x, ray.direction.y, ray.direction.z};
    float enter = -std::numeric_limits<float>::infinity();
    float leave = std::numeric_limits<float>::infinity();
    for (int axis = 0; axis < 3; ++axis) {
        const float margin =
            1e-3f * (1.0f + std::fabs(low[axis]) + std::fabs(high[axis]) + std::fabs(origin[axis]));
        const float lo = low[axis] - margin, hi = high[axis] + margin;
        if (direction[axis] == 0.0f) {
            if (origin[axis] < lo || origin[axis] > hi) {
                return false;
            }
            continue;
        }
        float t0 = (lo - origin[axis]) / direction[axis];
        float t1 = (hi - origin[axis]) / direction[axis];
        if (t0 > t1) {
            std::swap(t0, t1);
        }
        enter = std::max(enter, t0);
        leave = std::min(leave, t1);
    }
    // Non-finite values (a degenerate transform) never reject.
    return !(enter > leave + 1e-3f * (1.0f + std::fabs(enter) + std::fabs(leave)));
}

}  // namespace

bool Mesh::hitTest(const Ray& ray, Vector* /*hitPosition*/, Vector* /*hitNormal*/,
                   Vector* /*hitDirection*/) {
    if (!visible || !touchable) {
        return false;
    }
    const int count = static_cast<int>(vertexBuffer.vertexCount);
    // Positions are read by the texture-coordinate bit (see VertexBuffer): only then can the
    // bounds be taken from the real vertices.
    if (count >= 3 && (vertexBuffer.flags & VertexBuffer::HAS_TEXTURE_COORDINATES) &&
        !LineMayMeetBounds(ray, vertexBuffer, count)) {
        return false;
    }
    for (int i = 0; i < count - 2; ++i) {
        // Odd strip triangles are flipped back to the strip's winding.
        const Vector& a = *vertexBuffer.getVertexPosition(i);
        const Vector& b = *vertexBuffer.getVertexPosition(i % 2 == 0 ? i + 1 : i + 2);
        const Vector& c = *vertexBuffer.getVertexPosition(i % 2 == 0 ? i + 2 : i + 1);
        if (ray.hitTriangle(a, b, c, nullptr, nullptr, nullptr)) {
            return true;
        }
    }
    return false;
}

}  // namespace kesto
