#include "scene/Camera.h"

#include <cmath>

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "platform/Log.h"
#include "scene/Scene.h"

KESTO_LOG_TAG("KestoCam");

namespace kesto {

Camera::Camera(Environment* env, Scene* shownScene) : SceneNode(env), scene(shownScene) {
    if (environment != nullptr) {
        CountUp(environment->cameraCount);
    }
}

Camera::~Camera() {
    if (environment != nullptr) {
        CountDown(environment->cameraCount);
    }
}

void Camera::usePerspectiveProjectionH(float fieldOfView, float nearPlane, float farPlane) {
    NoteSceneChange();
    fov = fieldOfView;
    zNear = nearPlane;
    zFar = farPlane;
}

void Camera::getProjectionMatrix(int width, int height, Matrix* out) {
    if (out != nullptr) {
        out->setAsPerspectiveProjectionH(static_cast<float>(width), static_cast<float>(height), fov,
                                         zNear, zFar);
    }
}

void Camera::getViewMatrix(Matrix* out) {
    if (out != nullptr) {
        getWorldTransform(nullptr).getInverse(out);
    }
}

float Camera::pixelDistance(int height) const {
    const float tangent = static_cast<float>(std::tan(fov * Matrix::PI_OVER_360));
    return (static_cast<float>(height) * 0.5f) / tangent;
}

void Camera::placeAndSetupView(Renderer* renderer, int height) {
    placeFor(height);
    Matrix view;
    getViewMatrix(&view);
    renderer->setupViewMatrix(view);
}

void Camera::renderScene(Renderer* renderer) {
    const int width = renderer->viewportWidth;
    const int height = renderer->viewportHeight;
    Matrix projection;
    getProjectionMatrix(width, height, &projection);
    renderer->setupProjectionMatrix(projection);
    placeAndSetupView(renderer, height);
    if (scene != nullptr) {
        scene->render(renderer);
    }
}

void Camera::renderPartialScene(Renderer* renderer, int flags, int x, int y, int width, int height,
                                bool includeHidden) {
    const int viewportWidth = renderer->viewportWidth;
    const int viewportHeight = renderer->viewportHeight;
    const float fullWidth = static_cast<float>(viewportWidth);
    const float fullHeight = static_cast<float>(viewportHeight);
    Matrix projection;
    getProjectionMatrix(viewportWidth, viewportHeight, &projection);
    const float tx = (x + width * 0.5f) / fullWidth - 0.5f;
    const float ty = (y + height * 0.5f) / fullHeight - 0.5f;
    Matrix translate;
    translate.setAsTranslation(-2.0f * tx, -2.0f * ty, 0.0f);
    translate.m[5] = -1.0f;
    Matrix enlarge;
    enlarge.setAsScale(fullWidth / width, fullHeight / height, 1.0f);
    Matrix region;
    Matrix::Multiply(&region, translate, enlarge);
    Matrix regionProjection;
    Matrix::Multiply(&regionProjection, projection, region);
    renderer->setupProjectionMatrix(regionProjection);
    placeAndSetupView(renderer, viewportHeight);
    if (scene != nullptr) {
        scene->renderPartialScene(renderer, flags, includeHidden);
    }
}

bool Camera::hitTest(int width, int height, float x, float y, Vector* hitPosition,
                     Vector* hitNormal, Vector* hitDirection, SceneNode** hitNode) {
    Ray worldRay;
    if (scene == nullptr || !viewRay(width, height, x, y, &worldRay)) {
        return false;
    }
    return scene->hitTest(worldRay, hitPosition, hitNormal, hitDirection, hitNode);
}

bool Camera::viewRay(int width, int height, float x, float y, Ray* worldRay) {
    const float t = static_cast<float>(std::tan(fov * Matrix::PI_OVER_360));
    Ray cameraRay;
    if (!cameraRay.setup(Vector(0.0f, 0.0f, 0.0f),
                         Vector(x * (t * width / height), y * t, -1.0f))) {
        KLOGE("ray setup NG");
        return false;
    }
    cameraRay.getTransformedRay(getWorldTransform(nullptr), worldRay);
    return true;
}

bool Camera::querySceneNodeOriginPositionOnViewport(int width, int height, SceneNode& node,
                                                    Vector* out) {
    if (out == nullptr) {
        return false;
    }
    if (width == 0 || height == 0) {
        KLOGE("querySceneNodeOriginPositionOnViewport NG - zero viewport size");
        return false;
    }
    const Matrix& world = node.getWorldTransform(nullptr);
    const Vector origin(world.m[12], world.m[13], world.m[14]);
    placeFor(height);
    Matrix view;
    getViewMatrix(&view);
    Vector eye;
    view.transformPosition(origin, &eye);
    Matrix projection;
    getProjectionMatrix(width, height, &projection);
    Vector projected;
    projection.projectPosition(eye, &projected);
    out->x = (width * 0.5f) * projected.x;
    out->y = (height * 0.5f) * projected.y;
    return true;
}

}  // namespace kesto
