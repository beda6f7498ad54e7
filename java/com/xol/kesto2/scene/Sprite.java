package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** A node showing layers of textured quads, 100 by 100 pixels each until set otherwise. */
public class Sprite extends Node {
    /**
     * A sprite with {@code layers} layers, layer 0 on top.
     *
     * @param engine the engine
     * @param layers 1 to 1024
     * @throws KestoException for a count the engine refuses
     */
    public Sprite(Engine engine, int layers) {
        super(engine, KestoException.check(Kesto2.CreateSprite(engine.environment(), layers), "CreateSprite"), true);
    }

    Sprite(Engine engine, int handle, boolean owned) {
        super(engine, handle, owned);
    }

    /**
     * The size of a layer's quad, centred on the node's origin.
     *
     * @param layer the layer
     * @param width pixels
     * @param height pixels
     * @return this sprite
     */
    public Sprite setSize(int layer, float width, float height) {
        KestoException.check(Kesto2.Sprite_SetupGeometry(handle(), layer, width, height, 0f, 0f, 0f),
                "Sprite_SetupGeometry");
        return this;
    }

    /**
     * The texture a layer shows; null shows the layer's colour instead.
     *
     * @param layer the layer
     * @param texture the texture, or null
     * @return this sprite
     */
    public Sprite setTexture(int layer, Texture texture) {
        KestoException.check(Kesto2.Sprite_SetTexture(handle(), layer, 0, texture != null ? texture.handle() : 0),
                "Sprite_SetTexture");
        return this;
    }

    /**
     * The part of the texture a layer shows, in texture units, v = 0 at the image's top.
     *
     * @param layer the layer
     * @param left u of the left edge
     * @param top v of the top edge
     * @param right u of the right edge
     * @param bottom v of the bottom edge
     * @return this sprite
     */
    public Sprite setTextureRect(int layer, float left, float top, float right, float bottom) {
        KestoException.check(Kesto2.Sprite_SetTextureCoordinatesBy2P(handle(), layer, left, top, right, bottom),
                "Sprite_SetTextureCoordinatesBy2P");
        return this;
    }

    /**
     * A layer's colour: what an untextured layer shows, and the tint of a textured one.
     *
     * @param layer the layer
     * @param rgb the colour as 0xRRGGBB
     * @return this sprite
     */
    public Sprite setColor(int layer, int rgb) {
        Kesto2.Sprite_SetColor(handle(), layer, rgb >>> 16 & 0xFF, rgb >>> 8 & 0xFF, rgb & 0xFF);
        KestoException.checkLogged();
        return this;
    }

    /**
     * Whether the colour tints a textured layer (off: the texture as it is).
     *
     * @param layer the layer
     * @param tint whether to tint
     * @return this sprite
     */
    public Sprite setTint(int layer, boolean tint) {
        Kesto2.Sprite_SetRGBOperation(handle(), layer, tint ? 1 : 0);
        KestoException.checkLogged();
        return this;
    }

    /**
     * Whether hit tests can find this sprite's layers (its children are unaffected).
     *
     * @param touchable whether to be hit
     * @return this sprite
     */
    public Sprite setTouchable(boolean touchable) {
        Kesto2.Sprite_SetTouchable(handle(), touchable);
        return this;
    }

    /**
     * A layer's opacity.
     *
     * @param layer the layer
     * @param alpha 0 (invisible) to 255 (opaque)
     * @return this sprite
     */
    public Sprite setAlpha(int layer, int alpha) {
        Kesto2.Sprite_SetAlpha(handle(), layer, alpha);
        KestoException.checkLogged();
        return this;
    }
}
