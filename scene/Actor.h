// A node that draws and hit-tests a list of meshes it does not own.
#pragma once

#include "core/List.h"
#include "scene/SceneNode.h"

namespace kesto {

class Mesh;

class Actor : public SceneNode {
  public:
    List<Mesh*> meshes;
    // Off: this actor's own meshes are never hit; its children still are.
    bool touchable = true;

    explicit Actor(Environment* env) : SceneNode(env) {}
    ~Actor() override { removeMeshes(); }

    // `atBack` appends: the opposite sense of addChild's flag.
    bool addMesh(Mesh* mesh, bool atBack);
    void removeMeshes() { meshes.clear(); }
    void render(Renderer* renderer) override;
    // The mesh drawn last is tested first.
    bool hitTest(const Ray& localRay, Vector* hitPosition, Vector* hitNormal,
                 Vector* hitDirection) override;
};

}  // namespace kesto
