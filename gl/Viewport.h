#pragma once

#include "core/Vector.h"

namespace kesto {

class Camera;
class Renderer;
class SceneNode;

// A link from a window to the camera that renders into it.
class Viewport {
  public:
    Camera* camera = nullptr;

    // Null unlinks.
    void linkCamera(Camera* linked) { camera = linked; }
    // Without a camera the frame stays as cleared.
    void render(Renderer* renderer);
    void renderPartialScene(Renderer* renderer, int flags, int x, int y, int width, int height,
                            bool includeHidden);
    // (x, y) in window pixels, y down from the top edge.
    bool hitTest(int width, int height, int x, int y, Vector* hitPosition, Vector* hitNormal,
                 Vector* hitDirection, SceneNode** hitNode = nullptr);
    bool querySceneNodeOriginPositionOnViewport(int width, int height, SceneNode& node,
                                                Vector* out);
};

}  // namespace kesto
