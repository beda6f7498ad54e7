#pragma once

#include "core/Link.h"
#include "core/Vector.h"
#include "scene/Camera.h"

namespace kesto {

class Renderer;

// A link from a window to the camera that renders into it.
class Viewport {
  public:
    // Null once the camera's scene is destroyed.
    Link<Camera> camera;

    // Null unlinks.
    void linkCamera(Camera* linked) { camera = linked; }
    // Without a camera the frame stays as cleared.
    void render(Renderer* renderer);
    void renderPartialScene(Renderer* renderer, int flags, int x, int y, int width, int height,
                            bool includeHidden);
    // (x, y) in window pixels, y down from the top edge.
    bool hitTest(int width, int height, int x, int y, Vector* hitPosition, Vector* hitNormal,
                 Vector* hitDirection, SceneNode** hitNode = nullptr);
    // Where the hit-test ray through window pixel (x, y) meets the plane z = 0 of `node`, in its
    // coordinates (null: world coordinates). False when the ray runs parallel to the plane.
    bool pointOnPlane(int width, int height, int x, int y, SceneNode* node, Vector* out);
    bool querySceneNodeOriginPositionOnViewport(int width, int height, SceneNode& node,
                                                Vector* out);
};

}  // namespace kesto
