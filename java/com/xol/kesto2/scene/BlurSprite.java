package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;
import java.util.List;

/** A one-layer sprite showing a texture at an adjustable blur, changed without rendering. */
public final class BlurSprite extends Sprite {
    /** What the chain was rendered from, to render it again after a lost context. */
    private Texture source;
    private float maxBlur;
    private float blur;

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
        boolean built = Kesto2.BlurSprite_SetTexture(handle(), engine.context(), texture.handle(), maxBlur);
        if (!built) {
            engine.recoverOrThrow("BlurSprite_SetTexture");
            built = Kesto2.BlurSprite_SetTexture(handle(), engine.context(), texture.handle(), maxBlur);
        }
        KestoException.check(built, "BlurSprite_SetTexture");
        source = texture;
        this.maxBlur = maxBlur;
        blur = 0f;
        engine.remember(this);
        return this;
    }

    /** The chain went with the context: rendered again from the source, at the same level. */
    @Override
    void restoreAfterLoss(List<Texture> unrestored) {
        if (!isClosed() && source != null && !source.isClosed()
                && Kesto2.BlurSprite_SetTexture(handle(), engine.context(), source.handle(), maxBlur)) {
            Kesto2.BlurSprite_SetBlurParameter(handle(), engine.context(), blur);
        }
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
        this.blur = blur;
        return this;
    }
}
