// What the device layer draws: plain data filled by the layers above, so that it never sees a
// scene or image object. A DrawItem is one mesh as the per-mesh path draws it; a BatchDraw is many
// meshes already in eye space, drawn with one call.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>

#include "core/Changes.h"

namespace kesto {

class ShaderProgram;
class TextureSource;
class VertexBuffer;

// How a draw blends. Inherit leaves whatever the previous draw set, as the untextured program
// always has.
enum class BlendMode : uint8_t { Inherit, Off, Straight, Premultiplied };

struct DrawItem {
    // What the texture's pixel format means for blending.
    enum class TextureKind : uint8_t { None, Rgb565, Rgba5551, Other, External };

    VertexBuffer* vertices = nullptr;
    // The material's own program; null picks a built-in one.
    ShaderProgram* program = nullptr;
    // Realised where the draw reaches it (after the vertex upload), which fills the two fields
    // below; null leaves them as they stand (none, or an external texture).
    TextureSource* textureSource = nullptr;
    GLuint texture = 0;  // 0: none, or not realised
    TextureKind textureKind = TextureKind::None;
    // External textures: 16 floats from the stream, or null for the identity.
    const float* textureTransform = nullptr;
    float red = 1.0f;
    float green = 1.0f;
    float blue = 1.0f;
    // The material's alpha times the node's group alpha.
    float alpha = 1.0f;
    // 1: the colour tints the texture; 0 (with an opaque RGB565 texture) allows drawing unblended.
    int32_t rgbOperation = 0;
    // The material's extra uniforms, written into whichever program draws.
    bool (*writeUniforms)(const void* source, GLuint program) = nullptr;
    const void* uniformSource = nullptr;
    bool hasUniforms = false;
    // The extra uniforms' names and values, mixed: a changed value changes the picture.
    uint64_t uniformHash = 0;
    // False: a picture queued for the texture waits for a later frame. A partial frame redraws
    // unchanged meshes with the picture they were drawn with, so that no frame shows two.
    bool mayUpload = true;

    // Takes the texture's name and kind, after uploading what it has pending when `upload`.
    inline void realizeTexture(bool upload = true);
};

// A texture of the layers above as the device layer uses it. A pending upload replaces the GL
// name, so the device layer decides when it happens: a name already collected for a batch, or
// bound for a draw in progress, must not be deleted under it.
class TextureSource {
  public:
    // The GL name, 0 for none, after uploading the pending picture (if any) when `upload`.
    virtual GLuint realize(bool upload) = 0;
    // Whether realize(true) would replace the current name. A producer thread may make it true
    // at any moment: decide once, then realize with that decision.
    virtual bool uploadPending() const = 0;
    virtual GLuint currentName() const = 0;
    virtual DrawItem::TextureKind drawKind() const = 0;
    // The recorded texture size, which a render into the texture fills.
    virtual int textureWidth() const = 0;
    virtual int textureHeight() const = 0;

    // Changes with every new picture (an upload, a render into it, a clear, a lost context) and
    // never repeats, also across textures: a frame can tell the picture it drew from a new one.
    uint32_t pictureVersion() const { return pictureVersion_; }
    void pictureChanged() { pictureVersion_ = NewPictureVersion(); }

  protected:
    ~TextureSource() = default;

  private:
    uint32_t pictureVersion_ = NewPictureVersion();
};

void DrawItem::realizeTexture(bool upload) {
    if (textureSource != nullptr) {
        texture = textureSource->realize(upload);
        textureKind = textureSource->drawKind();
    }
}

// Interleaved vertices of BatchDraw: eye-space position, texture coordinates, colour.
constexpr int kBatchVertexFloats = 9;

struct BatchDraw {
    ShaderProgram* program = nullptr;
    GLuint texture = 0;  // unused by the untextured program
    BlendMode blend = BlendMode::Inherit;
    const float* vertices = nullptr;  // kBatchVertexFloats per vertex
    int32_t vertexCount = 0;
    const uint16_t* indices = nullptr;  // triangles
    int32_t indexCount = 0;
    int32_t meshCount = 0;
};

}  // namespace kesto
