package com.xol.kesto2;

/**
 * Pixel buffers that Java allocates, fills and reads back through plain native functions, and
 * hands to textures. Handles are ints; 0 means none.
 */
public final class NativeBitmap {
    static {
        System.loadLibrary("xolkesto2engine");
    }

    private NativeBitmap() {}
}
