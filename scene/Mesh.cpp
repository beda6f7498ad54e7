#include "scene/Mesh.h"

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "platform/Log.h"

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
    if (visible && renderable) {
        renderer->renderMesh(this);
    }
}

bool Mesh::hitTest(const Ray& ray, Vector* /*hitPosition*/, Vector* /*hitNormal*/,
                   Vector* /*hitDirection*/) {
    if (!visible || !touchable) {
        return false;
    }
    const int count = static_cast<int>(vertexBuffer.vertexCount);
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
