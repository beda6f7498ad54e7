package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;

/** Pixels held by the engine, filled on any thread and handed to a {@link Texture} with {@link Texture#queue}. */
public final class Image extends EngineObject {
    /**
     * An empty image.
     *
     * @param engine the engine
     */
    public Image(Engine engine) {
        super(engine, KestoException.check(Kesto2.CreateBitmap(engine.environment()), "CreateBitmap"));
    }

    @Override
    void destroy(int handle) {
        Kesto2.DestroyBitmap(handle);
    }

    /**
     * Copies a Java bitmap's pixels; any thread.
     *
     * @param bitmap the pixels
     * @return this image
     */
    public Image set(Bitmap bitmap) {
        KestoException.check(Kesto2.Bitmap_Set(handle(), bitmap), "Bitmap_Set");
        return this;
    }
}
