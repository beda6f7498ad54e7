// A scene node that turns the tree into GL matrices. Before every render it places itself on the
// +z axis at the distance where one world unit at z = 0 covers one pixel, so scenes are laid out
// in pixels around the viewport centre and still get true perspective.
#pragma once

#include "core/Link.h"
#include "scene/SceneNode.h"

namespace kesto {

class Scene;

// Viewports link to cameras; a destroyed camera (with its scene) unlinks them.
class Camera : public SceneNode, public LinkTarget {
  public:
    Scene* scene;
    // Degrees across the viewport height.
    float fov = 60.0f;
    float zNear = 10.0f;
    float zFar = 10000.0f;

    Camera(Environment* env, Scene* shownScene);
    ~Camera() override;

    void usePerspectiveProjectionH(float fieldOfView, float nearPlane, float farPlane);
    void getProjectionMatrix(int width, int height, Matrix* out);
    void getViewMatrix(Matrix* out);
    // The distance at which `height` world units fill the field of view.
    float pixelDistance(int height) const;
    // Where every frame of a viewport this high puts the camera: one unit at z = 0 is one pixel.
    void placeFor(int height) { setPosition(Vector(0.0f, 0.0f, pixelDistance(height))); }

    void renderScene(Renderer* renderer);
    // Renders the rectangle (x, y, w, h) of the viewport, y down from the top, enlarged to the
    // whole target and mirrored in y so that the rectangle's top row is read back first.
    void renderPartialScene(Renderer* renderer, int flags, int x, int y, int width, int height,
                            bool includeHidden);
    // x and y are normalised viewport coordinates, y up. Uses the camera as the last render
    // placed it.
    bool hitTest(int width, int height, float x, float y, Vector* hitPosition, Vector* hitNormal,
                 Vector* hitDirection, SceneNode** hitNode = nullptr);
    // The ray a hit test casts through (x, y), in world space.
    bool viewRay(int width, int height, float x, float y, Ray* worldRay);
    using SceneNode::hitTest;
    // Pixels from the viewport centre, y up; out->z is left alone.
    bool querySceneNodeOriginPositionOnViewport(int width, int height, SceneNode& node,
                                                Vector* out);

  private:
    void placeAndSetupView(Renderer* renderer, int height);
};

}  // namespace kesto
