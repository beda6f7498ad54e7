#include "scene/Scissor.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdint>

#include "gl/Renderer.h"

namespace kesto {

void Scissor::dispatchRender(Renderer* renderer) {
    glEnable(GL_SCISSOR_TEST);
    // In 64 bits: an area far outside the viewport must not wrap around into it.
    const int64_t bottom = int64_t{renderer->viewportHeight} - (int64_t{y} + height);
    glScissor(x, static_cast<GLint>(std::clamp<int64_t>(bottom, INT32_MIN, INT32_MAX)), width,
              height);
    SceneNode::dispatchRender(renderer);
    glDisable(GL_SCISSOR_TEST);
}

}  // namespace kesto
