// What one frame cost in draws, and why batching broke. Plain increments on the render thread.
#pragma once

#include <cstdint>

namespace kesto {

struct FrameStats {
    // What ended a run of batched meshes; the order is that of the Java statistics array.
    enum Break : int32_t {
        BREAK_TEXTURE,
        BREAK_PROGRAM,  // textured against untextured
        BREAK_BLEND,
        BREAK_SCISSOR,
        BREAK_TARGET,  // render target, viewport or projection
        BREAK_BLUR,
        BREAK_CUSTOM,  // own program, extra uniforms or an external texture
        BREAK_FULL,
        BREAK_COUNT,
        // Draws what is held without counting a break: the end of a frame.
        BREAK_NONE = BREAK_COUNT
    };

    int32_t meshes = 0;
    int32_t drawCalls = 0;
    int32_t batches = 0;
    int32_t textureBinds = 0;
    int32_t vertices = 0;
    int32_t breaks[BREAK_COUNT] = {};
};

}  // namespace kesto
