// Clips the drawing of its subtree to a rectangle of the viewport (pixels, y down from the top).
// Scissors do not nest: an inner one replaces the outer rectangle and switches clipping off when
// it is done.
#pragma once

#include "core/Changes.h"
#include "scene/SceneNode.h"

namespace kesto {

class Scissor : public SceneNode {
  public:
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 100;
    int32_t height = 100;

    explicit Scissor(Environment* env) : SceneNode(env) {}
    ~Scissor() override = default;

    void setArea(int areaX, int areaY, int areaWidth, int areaHeight) {
        NoteSceneChange();
        x = areaX;
        y = areaY;
        width = areaWidth;
        height = areaHeight;
    }
    // Clips even when hidden; takes no part in partial rendering or hit testing.
    void dispatchRender(Renderer* renderer) override;
};

}  // namespace kesto
