#include "draw/Batcher.h"

#include <algorithm>
#include <cstring>

#include "core/Accounting.h"
#include "shader/ShaderProgram.h"

namespace kesto {

namespace {

// 16-bit indices address this many vertices.
constexpr int32_t kMaximumVertices = 65536;
constexpr int32_t kFirstCapacity = 1024;

}  // namespace

Batcher::~Batcher() {
    DeleteArray(vertices_);
    DeleteArray(indices_);
}

bool Batcher::reserve(int32_t vertices, int32_t indices) {
    return GrowArray(&vertices_, vertexCount_, &vertexCapacity_, vertexCount_ + vertices,
                     kBatchVertexFloats, kFirstCapacity) &&
           GrowArray(&indices_, indexCount_, &indexCapacity_, indexCount_ + indices, 1,
                     kFirstCapacity);
}

bool Batcher::decline(Renderer& renderer, FrameStats::Break reason) {
    flush(renderer, reason);
    return false;
}

bool Batcher::add(Renderer& renderer, DrawItem& item) {
    if (item.alpha == 0.0f) {
        return true;  // the per-mesh path makes no GL call for it either
    }
    if (item.program != nullptr &&
        item.program == renderer.builtInProgram(Renderer::PROGRAM_BLUR)) {
        return decline(renderer, FrameStats::BREAK_BLUR);
    }
    if (item.textureKind == DrawItem::TextureKind::External || item.hasUniforms) {
        return decline(renderer, FrameStats::BREAK_CUSTOM);
    }
    const VertexBuffer* vertices = item.vertices;
    const int32_t count = vertices != nullptr ? static_cast<int32_t>(vertices->vertexCount) : 0;
    // Meshes without both positions and texture coordinates are left to the per-mesh path, which
    // reports them (and realises nothing for a buffer it cannot upload).
    if (count == 0 || vertices->buffer == nullptr ||
        (vertices->flags & VertexBuffer::HAS_TEXTURE_COORDINATES) == 0 ||
        (vertices->flags & VertexBuffer::HAS_POSITION) == 0 || count > kMaximumVertices) {
        return decline(renderer, FrameStats::BREAK_CUSTOM);
    }
    // An upload deletes the texture's old name, which meshes collected before may still use: they
    // are drawn first, with the picture they were collected with, as the per-mesh path draws them.
    // A picture a producer queues after this check waits for the next draw of the texture.
    const TextureSource* texture = item.textureSource;
    const bool upload = item.mayUpload && texture != nullptr && texture->uploadPending();
    if (upload && meshes_ > 0 && run_.texture != 0 && run_.texture == texture->currentName()) {
        flush(renderer, FrameStats::BREAK_TEXTURE);
    }
    item.realizeTexture(upload);
    // Only the built-in programs batch, also when a material names one of them itself.
    const bool textured = item.program == nullptr
                              ? item.texture != 0
                              : item.program == renderer.builtInProgram(Renderer::PROGRAM_DEFAULT);
    if (item.program != nullptr && !textured &&
        item.program != renderer.builtInProgram(Renderer::PROGRAM_NO_TEXTURE)) {
        return decline(renderer, FrameStats::BREAK_CUSTOM);
    }
    // A missing program is left to the per-mesh path, which reports it.
    if (renderer.builtInProgram(textured ? Renderer::PROGRAM_DEFAULT
                                         : Renderer::PROGRAM_NO_TEXTURE) == nullptr) {
        return decline(renderer, FrameStats::BREAK_CUSTOM);
    }
    ShaderProgram* program = renderer.builtInProgram(textured ? Renderer::PROGRAM_BATCH
                                                              : Renderer::PROGRAM_BATCH_NO_TEXTURE);
    if (program == nullptr) {
        return decline(renderer, FrameStats::BREAK_PROGRAM);
    }

    float colour[4] = {item.red, item.green, item.blue, item.alpha};
    BlendMode blend = BlendMode::Inherit;
    if (textured) {
        blend = Renderer::TexturedBlend(item);
        Renderer::TexturedColour(item, blend, colour);
    }
    const Run next{program, textured ? item.texture : 0, blend, renderer.projectionVersion};
    if (meshes_ > 0) {
        FrameStats::Break reason = FrameStats::BREAK_NONE;
        if (next.program != run_.program) {
            reason = FrameStats::BREAK_PROGRAM;
        } else if (next.texture != run_.texture) {
            reason = FrameStats::BREAK_TEXTURE;
        } else if (next.blend != run_.blend) {
            reason = FrameStats::BREAK_BLEND;
        } else if (next.projectionVersion != run_.projectionVersion) {
            reason = FrameStats::BREAK_TARGET;
        } else if (vertexCount_ + count > kMaximumVertices) {
            reason = FrameStats::BREAK_FULL;
        }
        if (reason != FrameStats::BREAK_NONE) {
            flush(renderer, reason);
        }
    }
    const int32_t triangles = std::max(count - 2, 0);
    if (!reserve(count, triangles * 3)) {
        flush(renderer, FrameStats::BREAK_FULL);
        if (!reserve(count, triangles * 3)) {
            return false;  // out of memory: this mesh is drawn on its own
        }
    }
    run_ = next;

    // Eye space as the per-mesh vertex shader computes it: ModelView * (x, y, z, 1).
    const float* m = renderer.modelViewMatrix.m;
    const uint8_t* source = vertices->buffer;
    float* out = vertices_ + static_cast<size_t>(vertexCount_) * kBatchVertexFloats;
    for (int32_t i = 0; i < count; ++i, source += vertices->stride, out += kBatchVertexFloats) {
        float p[3];
        float uv[2];
        std::memcpy(p, source + vertices->positionOffset, sizeof p);
        std::memcpy(uv, source + vertices->texCoordOffset, sizeof uv);
        for (int row = 0; row < 3; ++row) {
            out[row] = m[row] * p[0] + m[4 + row] * p[1] + m[8 + row] * p[2] + m[12 + row];
        }
        out[3] = uv[0];
        out[4] = uv[1];
        std::memcpy(out + 5, colour, sizeof colour);
    }
    // The strip's triangles in the order and winding the per-mesh draw rasterises them.
    uint16_t* index = indices_ + indexCount_;
    const int32_t base = vertexCount_;
    for (int32_t t = 0; t < triangles; ++t) {
        const bool odd = (t & 1) != 0;
        *index++ = static_cast<uint16_t>(base + t + (odd ? 1 : 0));
        *index++ = static_cast<uint16_t>(base + t + (odd ? 0 : 1));
        *index++ = static_cast<uint16_t>(base + t + 2);
    }
    vertexCount_ += count;
    indexCount_ += triangles * 3;
    ++meshes_;
    return true;
}

void Batcher::flush(Renderer& renderer, FrameStats::Break reason) {
    if (meshes_ == 0) {
        return;
    }
    BatchDraw batch;
    batch.program = run_.program;
    batch.texture = run_.texture;
    batch.blend = run_.blend;
    batch.vertices = vertices_;
    batch.vertexCount = vertexCount_;
    batch.indices = indices_;
    batch.indexCount = indexCount_;
    batch.meshCount = meshes_;
    renderer.drawBatch(batch);
    if (reason != FrameStats::BREAK_NONE) {
        ++renderer.stats.breaks[reason];
    }
    meshes_ = 0;
    vertexCount_ = 0;
    indexCount_ = 0;
}

}  // namespace kesto
