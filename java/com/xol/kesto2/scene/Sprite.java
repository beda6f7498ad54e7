package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/**
 * A node showing layers of textured quads, 100 by 100 pixels each until set otherwise, layer 0 on
 * top. A layer without a texture shows its colour; colour, alpha and group alpha blend the same way
 * on plain and textured layers.
 */
public class Sprite extends Node {
    // Per layer: the texture shown (null: the layer's colour) and whether its colour tints it.
    private final Texture[] textures;
    private final boolean[] tints;

    /**
     * A sprite with {@code layers} layers, layer 0 on top.
     *
     * @param engine the engine
     * @param layers 1 to 1024
     * @throws KestoException for a count the engine refuses
     */
    public Sprite(Engine engine, int layers) {
        super(engine, KestoException.check(Kesto2.CreateSprite(engine.environment(), layers), "CreateSprite"), true);
        textures = new Texture[layers];
        tints = new boolean[layers];
        for (int layer = 0; layer < layers; ++layer) {
            showTexture(layer);
        }
    }

    Sprite(Engine engine, int handle, boolean owned) {
        super(engine, handle, owned);
        textures = null;
        tints = null;
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
        finite(width, height);
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
        if (textures == null) {
            KestoException.check(Kesto2.Sprite_SetTexture(handle(), layer, 0, texture != null ? texture.handle() : 0),
                    "Sprite_SetTexture");
            return this;
        }
        checkLayer(layer);
        textures[layer] = texture;
        showTexture(layer);
        return this;
    }

    /**
     * The part of the texture a layer shows, in texture units from 0 to 1, v = 0 at the image's
     * top. For a rectangle in pixels, e.g. a cell of an atlas, see {@link #setTextureRegion}.
     *
     * @param layer the layer
     * @param left u of the left edge
     * @param top v of the top edge
     * @param right u of the right edge
     * @param bottom v of the bottom edge
     * @return this sprite
     * @throws IllegalArgumentException for a value outside 0 to 1 (pixels, say) or not a number
     */
    public Sprite setTextureRect(int layer, float left, float top, float right, float bottom) {
        for (float value : new float[] {left, top, right, bottom}) {
            if (!(value >= 0f && value <= 1f)) {
                throw new IllegalArgumentException("texture coordinate " + value
                        + " outside 0 to 1; for pixels use setTextureRegion");
            }
        }
        KestoException.check(Kesto2.Sprite_SetTextureCoordinatesBy2P(handle(), layer, left, top, right, bottom),
                "Sprite_SetTextureCoordinatesBy2P");
        return this;
    }

    /**
     * Shows a rectangle of a texture in pixels, x right and y down from its top left corner, e.g.
     * one cell of an atlas. With linear filtering (the default) the edge pixels of a magnified or
     * moved region blend with the pixels just outside it: leave a border around atlas cells that
     * repeats their edge, or use {@link Texture#setFilter} with nearest filtering.
     *
     * @param layer the layer
     * @param texture the texture, its size known (uploaded or queued)
     * @param x left edge, pixels
     * @param y top edge, pixels
     * @param width pixels
     * @param height pixels
     * @return this sprite
     * @throws IllegalArgumentException when the rectangle is empty or leaves the texture
     */
    public Sprite setTextureRegion(int layer, Texture texture, int x, int y, int width, int height) {
        int textureWidth = texture.width(), textureHeight = texture.height();
        if (width <= 0 || height <= 0 || x < 0 || y < 0 || x > textureWidth - width || y > textureHeight - height) {
            throw new IllegalArgumentException(String.format("region (%d, %d, %d, %d) outside the %dx%d texture",
                    x, y, width, height, textureWidth, textureHeight));
        }
        setTexture(layer, texture);
        return setTextureRect(layer, (float) x / textureWidth, (float) y / textureHeight,
                (float) (x + width) / textureWidth, (float) (y + height) / textureHeight);
    }

    /**
     * A layer's colour: what a layer without a texture shows, and the tint of a textured one.
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
     * Whether the colour tints a textured layer (off, the default: the texture as it is).
     *
     * @param layer the layer
     * @param tint whether to tint
     * @return this sprite
     */
    public Sprite setTint(int layer, boolean tint) {
        if (tints == null) {
            Kesto2.Sprite_SetRGBOperation(handle(), layer, tint ? 1 : 0);
            KestoException.checkLogged();
            return this;
        }
        checkLayer(layer);
        tints[layer] = tint;
        showTexture(layer);
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
     * A layer's opacity, times the group alpha of the node and its ancestors.
     *
     * @param layer the layer
     * @param alpha 0 (invisible) to 255 (opaque)
     * @return this sprite
     * @throws IllegalArgumentException outside 0 to 255
     */
    public Sprite setAlpha(int layer, int alpha) {
        if (alpha < 0 || alpha > 255) {
            throw new IllegalArgumentException("alpha " + alpha + " outside 0 to 255");
        }
        Kesto2.Sprite_SetAlpha(handle(), layer, alpha);
        KestoException.checkLogged();
        return this;
    }

    // A plain layer shows the engine's white texel tinted with its colour: the textured path's
    // blending, and runs shared with the other plain layers.
    private void showTexture(int layer) {
        Texture texture = textures[layer];
        int shown = texture != null ? texture.handle() : engine.plainTexture();
        KestoException.check(Kesto2.Sprite_SetTexture(handle(), layer, 0, shown), "Sprite_SetTexture");
        Kesto2.Sprite_SetRGBOperation(handle(), layer, texture == null || tints[layer] ? 1 : 0);
        KestoException.checkLogged();
    }

    // A layer the sprite lacks is refused by the engine, in its words.
    private void checkLayer(int layer) {
        if (layer < 0 || layer >= textures.length) {
            KestoException.check(Kesto2.Sprite_SetTexture(handle(), layer, 0, 0), "Sprite_SetTexture");
        }
    }
}
