package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** The pixel layouts the engine keeps textures and bitmaps in. */
public enum PixelFormat {
    /** 16 bits, no alpha; drawn without blending when opaque. */
    RGB565(Kesto2.PIXEL_FORMAT_RGB565),
    /** 16 bits with one bit of alpha; blended with straight alpha. */
    RGBA5551(Kesto2.PIXEL_FORMAT_RGBA5551),
    /** 24 bits, no alpha. */
    RGB888(Kesto2.PIXEL_FORMAT_RGB888),
    /** 32 bits, premultiplied alpha. */
    RGBA8888(Kesto2.PIXEL_FORMAT_RGBA8888);

    /** The code the natives take. */
    public final int code;

    PixelFormat(int code) {
        this.code = code;
    }
}
