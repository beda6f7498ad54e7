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

    public static native int Native_createBitmap();
    public static native void Native_destroyBitmap(int bitmap);
    /** Frees the pixels; the handle stays usable. */
    public static native void Native_clearBitmap(int bitmap);
    public static native void Native_swapBitmap(int a, int b);
    /** The copy is always owned, even of a bitmap that wraps a foreign buffer. */
    public static native boolean Native_copyFromBitmap(int destination, int source);
    public static native int Native_getBitmapWidth(int bitmap);
    public static native int Native_getBitmapHeight(int bitmap);
    public static native int Native_getBitmapBufferBytes(int bitmap);
    /** A copy of the whole buffer, or null when the bitmap is empty. */
    public static native byte[] Native_getBitmapBuffer(int bitmap);
    /** Copies the buffer to a native address given as 32 bits; `length` must be the buffer size. */
    public static native boolean Native_copyBitmapBuffer(int bitmap, int destination, int length);
    /**
     * Sets format, size and pixels. Rows must be laid out with the engine's even-rounded row
     * length (width times bytes per pixel, rounded up to even), so `pixels` holds exactly
     * height times that many bytes.
     */
    public static native boolean Native_setBitmap(int bitmap, int pixelFormat, int width, int height, byte[] pixels);
    public static native int Native_getBitmapCount();
    public static native void Native_printResourceLog();
}
