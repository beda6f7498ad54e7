#include "scene/Scissor.h"

#include "gl/Renderer.h"

namespace kesto {

void Scissor::dispatchRender(Renderer* renderer) {
    renderer->beginScissor(x, y, width, height);
    SceneNode::dispatchRender(renderer);
    renderer->endScissor();
}

}  // namespace kesto
