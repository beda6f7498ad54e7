// A scene node that records what the traversals do to it. Its own content is the square
// (-1,-1)..(1,1) in its local plane z = 0.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "gl/Renderer.h"
#include "scene/SceneNode.h"

namespace kesto::test {

class ProbeNode : public SceneNode {
  public:
    ProbeNode(Environment* env, std::string nodeName, std::vector<std::string>* journal)
        : SceneNode(env), name(std::move(nodeName)), log(journal) {}

    void render(Renderer* renderer) override {
        log->push_back("draw " + name);
        drawnAlpha = renderer->currentGroupAlpha;
        drawnWorld = renderer->worldMatrix;
    }
    bool hitTest(const Ray& ray, Vector* position, Vector* normal, Vector* direction) override {
        log->push_back("hit " + name);
        const Vector a(-1, -1, 0), b(1, -1, 0), c(1, 1, 0), d(-1, 1, 0);
        return ray.hitTriangle(a, b, c, position, normal, direction) ||
               ray.hitTriangle(a, c, d, position, normal, direction);
    }

    std::string name;
    std::vector<std::string>* log;
    float drawnAlpha = -1;
    Matrix drawnWorld;
};

}  // namespace kesto::test
