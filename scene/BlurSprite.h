// A one-layer sprite that shows a texture at an adjustable blur. setTexture renders, once, a chain
// of progressively smaller blurred copies; any level up to the maximum is then shown by choosing
// a texture of the chain and a sampling step, without rendering.
#pragma once

#include "core/Link.h"
#include "image/Texture.h"
#include "scene/Sprite.h"

namespace kesto {

class Context;

class BlurSprite : public Sprite {
  private:
    void sourceGoing() {
        if (bufferTextures != nullptr) {
            bufferTextures[0] = nullptr;
        }
    }

  public:
    // Each level past the second halves the texture: 16 halvings take the largest texture to
    // one pixel, so a larger maximum only costs memory (and overflows the level count).
    static constexpr float kMaximumBlur = 48.0f;

    float maxBlur = 0.0f;
    int32_t bufferTextureNum = 0;
    // Element 0 is the source (not owned, null once it is destroyed); the rest are owned.
    Texture** bufferTextures = nullptr;
    WatchedLink<Texture, BlurSprite, &BlurSprite::sourceGoing> sourceTexture{this};

    explicit BlurSprite(Environment* env) : Sprite(env) {}
    ~BlurSprite() override { deinit(); }

    bool init();
    void deinit();
    // Slow: builds the chain, then shows blur 0.
    bool setTexture(Context* context, Texture* source, float maximum);
    // Cheap: swaps the layer's texture, program and sampling step.
    bool setBlurParameter(Context* context, float blur);
    // trunc(maximum / 3 + 2) levels: the source, halvings blurred with a 3-texel step, and a
    // last same-size pass with the remaining fmod(maximum, 3)-texel step.
    bool createBufferTexture(Context* context, Texture* source, float maximum);
    // Leaves the layer material's texture slot as it is.
    void destroyBufferTexture();
};

}  // namespace kesto
