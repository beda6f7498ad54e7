package com.xol.kesto2.scene;

import com.xol.kesto2.NativeBitmap;

/** A pixel buffer outside the Java heap, filled from bytes; independent of any engine. */
public final class NativeImage extends EngineObject {
    /** An empty buffer. */
    public NativeImage() {
        super(null, KestoException.check(NativeBitmap.Native_createBitmap(), "Native_createBitmap"));
    }

    @Override
    void destroy(int handle) {
        NativeBitmap.Native_destroyBitmap(handle);
    }

    /**
     * Replaces the pixels.
     *
     * @param format the layout of {@code pixels}
     * @param width pixels per row
     * @param height rows
     * @param pixels rows of pixels, top row first, without padding
     * @return this image
     */
    public NativeImage set(PixelFormat format, int width, int height, byte[] pixels) {
        KestoException.check(NativeBitmap.Native_setBitmap(handle(), format.code, width, height, pixels),
                "Native_setBitmap");
        return this;
    }

    /** @return the width in pixels, 0 when empty */
    public int width() {
        return NativeBitmap.Native_getBitmapWidth(handle());
    }

    /** @return the height in pixels, 0 when empty */
    public int height() {
        return NativeBitmap.Native_getBitmapHeight(handle());
    }
}
