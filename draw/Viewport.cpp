#include "draw/Viewport.h"

#include <cmath>
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

namespace {

// Normalised viewport coordinates, y up, of a window pixel (x right, y down from the top left).
void Normalise(int width, int height, int x, int y, float* nx, float* ny) {
    const int halfWidth = width / 2;
    const int halfHeight = height / 2;
    // In 64 bits: a point far off the window must not wrap around onto it.
    *nx = static_cast<float>(int64_t{x} - halfWidth) / halfWidth;
    *ny = static_cast<float>(int64_t{halfHeight} - y) / halfHeight;
}

}  // namespace

bool Viewport::hitTest(int width, int height, int x, int y, Vector* hitPosition, Vector* hitNormal,
                       Vector* hitDirection, SceneNode** hitNode) {
    if (camera == nullptr) {
        return false;
    }
    float nx, ny;
    Normalise(width, height, x, y, &nx, &ny);
    return camera->hitTest(width, height, nx, ny, hitPosition, hitNormal, hitDirection, hitNode);
}

bool Viewport::pointOnPlane(int width, int height, int x, int y, SceneNode* node, Vector* out) {
    if (camera == nullptr) {
        KLOGE("pointOnPlane NG - the viewport shows no scene");
        return false;
    }
    float nx, ny;
    Normalise(width, height, x, y, &nx, &ny);
    // Placed as a frame of this window places it: the answer holds before the first frame too.
    camera->placeFor(height);
    Ray ray;
    if (!camera->viewRay(width, height, nx, ny, &ray)) {
        return false;
    }
    if (node != nullptr) {
        Matrix inverse;
        node->getWorldTransform(nullptr).getInverse(&inverse);
        Ray world = ray;
        world.getTransformedRay(inverse, &ray);
    }
    if (!(std::fabs(ray.direction.z) > 1e-6f)) {
        KLOGE("pointOnPlane NG - the view runs along the node's plane");
        return false;
    }
    const float t = -ray.origin.z / ray.direction.z;
    out->x = ray.origin.x + t * ray.direction.x;
    out->y = ray.origin.y + t * ray.direction.y;
    out->z = 0.0f;
    return std::isfinite(out->x) && std::isfinite(out->y);
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
