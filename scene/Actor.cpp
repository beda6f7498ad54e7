#include "scene/Actor.h"

#include "platform/Log.h"
#include "scene/Mesh.h"

KESTO_LOG_TAG("KestoActor");

namespace kesto {

bool Actor::addMesh(Mesh* mesh, bool atBack) {
    if (mesh == nullptr) {
        return false;
    }
    if (!(atBack ? meshes.push_back(mesh) : meshes.push_front(mesh))) {
        KLOGE("meshes.push_back NG");
        return false;
    }
    return true;
}

void Actor::render(Renderer* renderer) {
    for (auto* node = meshes.head; node != nullptr; node = node->next) {
        node->value->render(renderer);
    }
}

bool Actor::hitTest(const Ray& localRay, Vector* hitPosition, Vector* hitNormal,
                    Vector* hitDirection) {
    if (!touchable) {
        return false;
    }
    for (auto* node = meshes.tail; node != nullptr; node = node->prev) {
        if (node->value->hitTest(localRay, hitPosition, hitNormal, hitDirection)) {
            return true;
        }
    }
    return false;
}

}  // namespace kesto
