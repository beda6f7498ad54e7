#include "scene/Scene.h"

#include "gl/Environment.h"

namespace kesto {

// Members are destroyed in reverse order: the root node before the camera.
Scene::Scene(Environment* env) : environment(env), defaultCamera(env, this), rootNode(env) {
    if (environment != nullptr) {
        CountUp(environment->sceneCount);
    }
}

Scene::~Scene() {
    if (environment != nullptr) {
        CountDown(environment->sceneCount);
    }
}

}  // namespace kesto
