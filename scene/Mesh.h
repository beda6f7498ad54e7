// One drawable piece of geometry: a triangle strip in its own vertex buffer, drawn with a material
// it does not own.
#pragma once

#include "core/Changes.h"
#include "core/Ray.h"
#include "gl/VertexBuffer.h"

namespace kesto {

class Environment;
class Material;
class Renderer;

class Mesh {
  public:
    enum RENDER_PRIMITIVE_TYPE { NONE = 0, TRIANGLE_STRIP = 1 };

    Environment* environment;
    RENDER_PRIMITIVE_TYPE primitiveType = NONE;
    VertexBuffer vertexBuffer;
    Material* material = nullptr;
    // visible off: neither drawn nor hit; renderable off: not drawn; touchable off: not hit.
    bool visible = true;
    bool renderable = true;
    bool touchable = true;

    explicit Mesh(Environment* env);
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // Positions and texture coordinates, contents unset.
    bool setup(RENDER_PRIMITIVE_TYPE type, unsigned int vertexCount);
    void clear();
    void setMaterial(Material* meshMaterial) {
        NoteSceneChange();
        material = meshMaterial;
    }
    Material* getMaterial() const { return material; }
    void setVisible(bool value) {
        NoteSceneChange();
        visible = value;
    }
    void setRenderable(bool value) {
        NoteSceneChange();
        renderable = value;
    }
    void setTouchable(bool value) { touchable = value; }
    void render(Renderer* renderer);
    // Reads the vertices as a strip; the first triangle hit decides. Answers only whether the
    // ray meets the mesh: the output vectors are left as they are.
    bool hitTest(const Ray& ray, Vector* hitPosition, Vector* hitNormal, Vector* hitDirection);
};

}  // namespace kesto
