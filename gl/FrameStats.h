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

    // Partial redraw: why a frame was drawn whole, if it was.
    enum Whole : int32_t {
        WHOLE_NO,     // only what changed was drawn
        WHOLE_OFF,    // partial redraw is off
        WHOLE_FIRST,  // no earlier picture to start from (first frame, new surface, lost context)
        WHOLE_BACK_BUFFER,   // the back buffer's picture is unknown (no preserved swap, no buffer
                             // age)
        WHOLE_RESIZED,       // the window's size changed
        WHOLE_CLEAR_COLOUR,  // the colour behind the scene changed
        WHOLE_DAMAGE,        // the change covers most of the window
        WHOLE_MEMORY,        // the frame could not be recorded
    };
    int32_t whole = WHOLE_OFF;
    // Window pixels drawn again: the whole window, or the area that changed.
    int32_t damagedPixels = 0;
    // Meshes left as the back buffer holds them.
    int32_t meshesSkipped = 0;
    // Nothing changed: nothing was drawn, nothing will be swapped.
    int32_t skipped = 0;
};

}  // namespace kesto
