package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** A one-layer sprite showing a texture at an adjustable blur, changed without rendering. */
public final class BlurSprite extends Sprite {
    /**
     * A blur sprite without a texture.
     *
     * @param engine the engine
     */
    public BlurSprite(Engine engine) {
        super(engine, KestoException.check(Kesto2.CreateBlurSprite(engine.environment()), "CreateBlurSprite"), true);
    }

    /**
     * Renders the chain of blurred copies of {@code texture}, once, and shows blur 0.
     *
     * @param texture a realised texture
     * @param maxBlur the largest blur to show, above 0 and at most 48
     * @return this sprite
     */
    public BlurSprite setTexture(Texture texture, float maxBlur) {
        KestoException.check(Kesto2.BlurSprite_SetTexture(handle(), engine.context(), texture.handle(), maxBlur),
                "BlurSprite_SetTexture");
        return this;
    }

    /**
     * Shows a blur level, clamped to 0 and the maximum; cheap.
     *
     * @param blur the level
     * @return this sprite
     */
    public BlurSprite setBlur(float blur) {
        KestoException.check(Kesto2.BlurSprite_SetBlurParameter(handle(), engine.context(), blur),
                "BlurSprite_SetBlurParameter");
        return this;
    }
}
