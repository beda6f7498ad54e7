#include "draw/Viewport.h"

#include <cstdint>

#include "gl/Renderer.h"
#include "platform/Log.h"
#include "scene/Camera.h"

KESTO_LOG_TAG("KestoVp");

namespace kesto {

void Viewport::render(Renderer* renderer) {
    renderer->setViewport(0, 0, renderer->targetWidth, renderer->targetHeight);
    if (camera != nullptr) {
        camera->renderScene(renderer);
    }
}

void Viewport::renderPartialScene(Renderer* renderer, int flags, int x, int y, int width,
                                  int height, bool includeHidden) {
    if (camera != nullptr) {
        camera->renderPartialScene(renderer, flags, x, y, width, height, includeHidden);
    }
}

bool Viewport::hitTest(int width, int height, int x, int y, Vector* hitPosition, Vector* hitNormal,
                       Vector* hitDirection, SceneNode** hitNode) {
    if (camera == nullptr) {
        return false;
    }
    const int halfWidth = width / 2;
    const int halfHeight = height / 2;
    // In 64 bits: a point far off the window must not wrap around onto it.
    const float nx = static_cast<float>(int64_t{x} - halfWidth) / halfWidth;
    const float ny = static_cast<float>(int64_t{halfHeight} - y) / halfHeight;
    return camera->hitTest(width, height, nx, ny, hitPosition, hitNormal, hitDirection, hitNode);
}

bool Viewport::querySceneNodeOriginPositionOnViewport(int width, int height, SceneNode& node,
                                                      Vector* out) {
    if (width == 0 || height == 0) {
        KLOGE("querySceneNodeOriginPositionOnViewport NG - zero window size");
        return false;
    }
    if (camera == nullptr) {
        KLOGE("querySceneNodeOriginPositionOnViewport NG - null camera");
        return false;
    }
    return camera->querySceneNodeOriginPositionOnViewport(width, height, node, out);
}

}  // namespace kesto
