// One scene tree: its root node and its camera, both held by value. Nodes under the root are not
// owned: destroying the scene detaches them.
#pragma once

#include "scene/Camera.h"
#include "scene/SceneNode.h"

namespace kesto {

class Scene {
  public:
    Environment* environment;
    Camera defaultCamera;
    SceneNode rootNode;

    explicit Scene(Environment* env);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void render(Renderer* renderer) { rootNode.dispatchRender(renderer); }
    void renderPartialScene(Renderer* renderer, int flags, bool includeHidden) {
        rootNode.dispatchPartialSceneRender(renderer, flags, includeHidden);
    }
    bool hitTest(const Ray& worldRay, Vector* hitPosition, Vector* hitNormal, Vector* hitDirection,
                 SceneNode** hitNode = nullptr) {
        return rootNode.dispatchHitTest(worldRay, hitPosition, hitNormal, hitDirection, hitNode);
    }
};

}  // namespace kesto
