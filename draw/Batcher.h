// Collects consecutive meshes that the built-in programs draw with the same texture and blending,
// transformed into eye space on the CPU, and draws each run with one call. A run ends when the
// next mesh needs another program, texture or blend, at any state change the renderer flushes
// for (scissor, target, projection), and when the 16-bit indices run out; meshes with programs or
// uniforms of their own, or external textures, take the per-mesh path.
#pragma once

#include <cstdint>

#include "gl/Renderer.h"

namespace kesto {

class Batcher final : public DrawSink {
  public:
    Batcher() = default;
    ~Batcher();
    Batcher(const Batcher&) = delete;
    Batcher& operator=(const Batcher&) = delete;

    bool add(Renderer& renderer, DrawItem& item) override;
    void flush(Renderer& renderer, FrameStats::Break reason) override;

  private:
    struct Run {
        ShaderProgram* program = nullptr;
        GLuint texture = 0;
        BlendMode blend = BlendMode::Inherit;
        uint32_t projectionVersion = 0;
    };

    bool decline(Renderer& renderer, FrameStats::Break reason);
    // Room for `vertices` more vertices and `indices` more indices; false when the arrays
    // cannot grow that far.
    bool reserve(int32_t vertices, int32_t indices);

    Run run_;
    int32_t meshes_ = 0;
    float* vertices_ = nullptr;  // kBatchVertexFloats per vertex
    int32_t vertexCount_ = 0;
    int32_t vertexCapacity_ = 0;
    uint16_t* indices_ = nullptr;
    int32_t indexCount_ = 0;
    int32_t indexCapacity_ = 0;
};

}  // namespace kesto
