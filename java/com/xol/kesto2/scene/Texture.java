package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;

/** A GL texture, fed from a Java bitmap, an {@link Image} from any thread, or a {@link NativeImage}. */
public final class Texture extends EngineObject {
    /**
     * An empty texture.
     *
     * @param engine the engine
     */
    public Texture(Engine engine) {
        super(engine, KestoException.check(Kesto2.CreateTexture(engine.environment()), "CreateTexture"));
    }

    /** How a texture is sampled between its pixels. */
    public enum Filter {
        /** The nearest pixel: sharp edges when magnified, no blending with neighbouring pixels. */
        NEAREST,
        /** A blend of the four nearest pixels (the default): smooth when scaled. */
        LINEAR
    }

    @Override
    void destroy(int handle) {
        Kesto2.DestroyTexture(handle);
    }

    /**
     * Sampling for this texture, from its next draw on (any thread).
     *
     * @param filter nearest or linear
     * @return this texture
     */
    public Texture setFilter(Filter filter) {
        KestoException.check(Kesto2.Texture_SetFilter(handle(), filter == Filter.LINEAR), "Texture_SetFilter");
        return this;
    }

    /** @return the texture's width in pixels as last uploaded, queued or allocated; 0 before */
    public int width() {
        return Kesto2.Texture_QueryInfo(handle(), 1) >>> 16;
    }

    /** @return the texture's height in pixels as last uploaded, queued or allocated; 0 before */
    public int height() {
        return Kesto2.Texture_QueryInfo(handle(), 1) & 0xFFFF;
    }

    /**
     * Uploads a Java bitmap now; the engine's context must be current.
     *
     * @param bitmap the pixels
     * @return this texture
     */
    public Texture upload(Bitmap bitmap) {
        KestoException.check(Kesto2.Texture_SetupByAndroidBitmapAndRealize(handle(), bitmap),
                "Texture_SetupByAndroidBitmapAndRealize");
        return this;
    }

    /**
     * Uploads a native image now; the engine's context must be current.
     *
     * @param image the pixels
     * @return this texture
     */
    public Texture upload(NativeImage image) {
        KestoException.check(Kesto2.Texture_SetupByNativeBitmapAndRealize(handle(), image.handle()),
                "Texture_SetupByNativeBitmapAndRealize");
        return this;
    }

    /**
     * Queues an image's pixels from any thread; the next frame that draws the texture uploads the
     * newest one.
     *
     * @param image the pixels
     * @param handOver true moves the pixels out of the image instead of copying them
     * @return this texture
     */
    public Texture queue(Image image, boolean handOver) {
        KestoException.check(Kesto2.Texture_SetupByBitmap(handle(), image.handle(), handOver), "Texture_SetupByBitmap");
        return this;
    }

    /**
     * A texture of undefined content, to render into.
     *
     * @param format the pixel layout
     * @param width pixels
     * @param height pixels
     * @return this texture
     */
    public Texture allocate(PixelFormat format, int width, int height) {
        KestoException.check(Kesto2.Texture_RealizeBlankTexture(handle(), format.code, width, height),
                "Texture_RealizeBlankTexture");
        return this;
    }

    /**
     * Renders the nodes marked with {@code flag} (see {@link Node#addRenderFlag}) in a rectangle of
     * the window, scaled to fill this texture.
     *
     * @param window the window whose scene and camera are used
     * @param flag the partial scene
     * @param x left edge of the rectangle, window pixels
     * @param y top edge
     * @param width width
     * @param height height
     * @return this texture
     */
    public Texture renderFrom(Window window, int flag, int x, int y, int width, int height) {
        KestoException.check(Kesto2.Window_NativeRenderPartialSceneToTexture(window.handle(), handle(), flag, x, y,
                width, height, false), "Window_NativeRenderPartialSceneToTexture");
        return this;
    }
}
