// The engine's image primitive: an actor of a fixed number of layers, each a textured quad (a
// four-vertex strip mesh with its own material), all sharing the node's transform.
#pragma once

#include "core/Vector.h"
#include "scene/Actor.h"

namespace kesto {

class Material;
class Mesh;

class Sprite : public Actor {
  public:
    Mesh** layersMeshes = nullptr;        // owned, as are the meshes
    Material* layersMaterials = nullptr;  // owned; material i belongs to layer i
    int32_t layersCount = 0;

    explicit Sprite(Environment* env) : Actor(env) {}
    ~Sprite() override { deinit(); }

    // With layer zero on top it is drawn last and hit-tested first. A failure rolls back.
    bool init(int count, bool layerZeroOnTop);
    void deinit();

    // A width x height quad whose point (anchorX, anchorY), measured from its centre, lies on
    // the node's origin.
    void initSpriteGeometry(int layer, float width, float height, float anchorX, float anchorY,
                            float anchorZ);
    // An axis-aligned sub-rectangle of the texture, v = 0 at the image's top.
    void setTextureCoordinatesBy2P(int layer, const Vector2& topLeft, const Vector2& bottomRight);
    // One point per vertex: top-left, bottom-left, top-right, bottom-right.
    void setTextureCoordinatesBy4P(int layer, const Vector2& uv0, const Vector2& uv1,
                                   const Vector2& uv2, const Vector2& uv3);
    Mesh* getLayerMesh(int layer);
    Material* getLayerMaterial(int layer);

  private:
    // The layer's mesh, or null: silently without a table, logging `message` for a bad index.
    Mesh* layerMesh(int layer, const char* message);
};

}  // namespace kesto
