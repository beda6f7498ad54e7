package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;

import java.util.List;

/**
 * A GL texture, fed from a Java bitmap, an {@link Image} from any thread, or a {@link NativeImage}.
 *
 * <p>The texture keeps a reference to what it was last fed from (no copy of the pixels), so that
 * after a lost GL context it can upload it again: a bitmap not recycled, an image not closed. A
 * texture queued with hand-over, or whose source is gone, is reported to the engine's
 * {@link Engine.ContextLossListener} instead. A texture allocated to render into is allocated
 * again, transparent, and rendered again if {@link #renderFrom} filled it.
 */
public final class Texture extends EngineObject {
    /** What the picture came from: a Bitmap, an Image or a NativeImage; null for none. */
    private Object source;
    private PixelFormat allocatedFormat;
    private int allocatedWidth;
    private int allocatedHeight;
    /** The last {@link #renderFrom}, repeated after a loss. */
    private Window renderWindow;
    private int[] renderArea;

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
        engine.forget(this);
        Kesto2.DestroyTexture(handle);
    }

    private void remember(Object from) {
        source = from;
        allocatedFormat = null;
        renderWindow = null;
        engine.remember(this);
    }

    @Override
    void restoreAfterLoss(List<Texture> unrestored) {
        if (isClosed() || !Kesto2.Texture_IsLost(handle())) {
            return;
        }
        boolean restored = true;
        if (source instanceof Bitmap && !((Bitmap) source).isRecycled()) {
            restored = Kesto2.Texture_SetupByAndroidBitmapAndRealize(handle(), (Bitmap) source);
        } else if (source instanceof NativeImage && !((NativeImage) source).isClosed()) {
            restored = Kesto2.Texture_SetupByNativeBitmapAndRealize(handle(), ((NativeImage) source).handle());
        } else if (source instanceof Image && !((Image) source).isClosed()) {
            restored = Kesto2.Texture_SetupByBitmap(handle(), ((Image) source).handle(), false);
        } else if (allocatedFormat != null) {
            restored = Kesto2.Texture_RealizeBlankTexture(handle(), allocatedFormat.code, allocatedWidth,
                    allocatedHeight);
            if (restored && renderWindow != null && !renderWindow.isClosed()) {
                int[] a = renderArea;
                restored = Kesto2.Window_NativeRenderPartialSceneToTexture(renderWindow.handle(), handle(), a[0],
                        a[1], a[2], a[3], a[4], false);
            }
        } else {
            restored = false;
        }
        if (!restored) {
            unrestored.add(this);
        }
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
        remember(bitmap);
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
        remember(image);
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
        remember(handOver ? null : image);
        return this;
    }

    /**
     * A transparent texture, to render into.
     *
     * @param format the pixel layout
     * @param width pixels
     * @param height pixels
     * @return this texture
     */
    public Texture allocate(PixelFormat format, int width, int height) {
        KestoException.check(Kesto2.Texture_RealizeBlankTexture(handle(), format.code, width, height),
                "Texture_RealizeBlankTexture");
        remember(null);
        allocatedFormat = format;
        allocatedWidth = width;
        allocatedHeight = height;
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
        boolean rendered = Kesto2.Window_NativeRenderPartialSceneToTexture(window.handle(), handle(), flag, x, y,
                width, height, false);
        if (!rendered) {
            engine.recoverOrThrow("Window_NativeRenderPartialSceneToTexture");
            rendered = Kesto2.Window_NativeRenderPartialSceneToTexture(window.handle(), handle(), flag, x, y,
                    width, height, false);
        }
        KestoException.check(rendered, "Window_NativeRenderPartialSceneToTexture");
        if (allocatedFormat != null) {
            renderWindow = window;
            renderArea = new int[] {flag, x, y, width, height};
            engine.remember(this);
        }
        return this;
    }
}
