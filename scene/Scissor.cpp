#include "scene/Scissor.h"

#include <GLES2/gl2.h>

#include "gl/Renderer.h"

namespace kesto {

void Scissor::dispatchRender(Renderer* renderer) {
    glEnable(GL_SCISSOR_TEST);
    glScissor(x, renderer->viewportHeight - (y + height), width, height);
    SceneNode::dispatchRender(renderer);
    glDisable(GL_SCISSOR_TEST);
}

}  // namespace kesto
