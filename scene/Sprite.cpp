#include "scene/Sprite.h"

#include "core/Accounting.h"
#include "platform/Log.h"
#include "scene/Material.h"
#include "scene/Mesh.h"

KESTO_LOG_TAG("KestoSprite");

namespace kesto {

namespace {

void SetQuadTextureCoordinates(Mesh* mesh, const Vector2& uv0, const Vector2& uv1,
                               const Vector2& uv2, const Vector2& uv3) {
    const Vector2* corners[4] = {&uv0, &uv1, &uv2, &uv3};
    for (unsigned int vertex = 0; vertex < 4; ++vertex) {
        mesh->vertexBuffer.setVertexTextureCoordinates(vertex, corners[vertex]->x,
                                                       corners[vertex]->y);
    }
}

}  // namespace

bool Sprite::init(int count, bool layerZeroOnTop) {
    layersCount = count;
    layersMeshes = count >= 0 ? NewArray<Mesh*>(static_cast<size_t>(count)) : nullptr;
    if (layersMeshes == nullptr) {
        KLOGE("new layersMeshes NG");
        deinit();
        return false;
    }
    for (int i = 0; i < count; ++i) {
        Mesh* mesh = NewObject<Mesh>(environment);
        layersMeshes[i] = mesh;
        const char* failure = nullptr;
        if (mesh == nullptr) {
            failure = "new Mesh NG";
        } else if (!mesh->setup(Mesh::TRIANGLE_STRIP, 4)) {
            failure = "mesh setup NG";
        } else if (!addMesh(mesh, !layerZeroOnTop)) {
            failure = "addMesh NG";
        }
        if (failure != nullptr) {
            KLOGE("%s", failure);
            deinit();
            return false;
        }
        SetQuadTextureCoordinates(mesh, Vector2(0, 0), Vector2(0, 1), Vector2(1, 0), Vector2(1, 1));
    }
    for (int i = 0; i < count; ++i) {
        initSpriteGeometry(i, 100.0f, 100.0f, 0.0f, 0.0f, 0.0f);
    }
    layersMaterials = NewArray<Material>(static_cast<size_t>(count));
    if (layersMaterials == nullptr) {
        KLOGE("new Materials NG");
        deinit();
        return false;
    }
    for (int i = 0; i < count; ++i) {
        layersMeshes[i]->setMaterial(&layersMaterials[i]);
    }
    return true;
}

void Sprite::deinit() {
    DeleteArray(layersMaterials);
    layersMaterials = nullptr;
    removeMeshes();
    if (layersMeshes != nullptr) {
        for (int i = 0; i < layersCount; ++i) {
            DeleteObject(layersMeshes[i]);
        }
    }
    DeleteArray(layersMeshes);
    layersMeshes = nullptr;
    layersCount = 0;
}

Mesh* Sprite::layerMesh(int layer, const char* message) {
    if (layersMeshes == nullptr) {
        return nullptr;
    }
    if (layer < 0 || layer >= layersCount) {
        KLOGE(message, layer);
        return nullptr;
    }
    return layersMeshes[layer];
}

void Sprite::initSpriteGeometry(int layer, float width, float height, float anchorX, float anchorY,
                                float anchorZ) {
    Mesh* mesh = layerMesh(layer, "initSpriteGeometry index NG %d");
    if (mesh == nullptr) {
        return;
    }
    const float left = -anchorX - width * 0.5f;
    const float bottom = -anchorY - height * 0.5f;
    const float right = left + width;
    const float top = bottom + height;
    const float z = -anchorZ;
    VertexBuffer& vertices = mesh->vertexBuffer;
    vertices.setVertexPosition(0, left, top, z);
    vertices.setVertexPosition(1, left, bottom, z);
    vertices.setVertexPosition(2, right, top, z);
    vertices.setVertexPosition(3, right, bottom, z);
}

void Sprite::setTextureCoordinatesBy2P(int layer, const Vector2& topLeft,
                                       const Vector2& bottomRight) {
    Mesh* mesh = layerMesh(layer, "setTextureCoordinatesBy2P index NG %d");
    if (mesh != nullptr) {
        SetQuadTextureCoordinates(mesh, topLeft, Vector2(topLeft.x, bottomRight.y),
                                  Vector2(bottomRight.x, topLeft.y), bottomRight);
    }
}

void Sprite::setTextureCoordinatesBy4P(int layer, const Vector2& uv0, const Vector2& uv1,
                                       const Vector2& uv2, const Vector2& uv3) {
    // Shares the two-point variant's message.
    Mesh* mesh = layerMesh(layer, "setTextureCoordinatesBy2P index NG %d");
    if (mesh != nullptr) {
        SetQuadTextureCoordinates(mesh, uv0, uv1, uv2, uv3);
    }
}

Mesh* Sprite::getLayerMesh(int layer) {
    return layerMesh(layer, "getLayerMesh index NG %d");
}

Material* Sprite::getLayerMaterial(int layer) {
    if (layersMaterials == nullptr) {
        return nullptr;
    }
    if (layer < 0 || layer >= layersCount) {
        KLOGE("getLayerMaterial index NG %d", layer);
        return nullptr;
    }
    return &layersMaterials[layer];
}

}  // namespace kesto
