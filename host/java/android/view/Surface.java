package android.view;

/**
 * Desktop stand-in for the platform surface: a mapped X11 window on {@code DISPLAY}, which
 * native code reaches with ANativeWindow_fromSurface.
 *
 * <p>libkesto2host (host/HostNativeWindow.cpp) reads the private field {@code mNativeObject}
 * through JNI while holding this object's monitor: the address of the native window, on which
 * this Surface holds one reference, or 0 once released. The window stays open while either this
 * Surface or any native reference to it is alive.
 */
public class Surface {
    static {
        System.loadLibrary("kesto2host");
    }

    private long mNativeObject;

    /** Host only: opens a window of this size, or throws when no X server lets it. */
    public Surface(int width, int height) {
        if (width <= 0 || height <= 0) {
            throw new IllegalArgumentException(
                    "surface size must be positive: " + width + "x" + height);
        }
        long nativeObject = nativeCreate(width, height);
        if (nativeObject == 0) {
            throw new IllegalStateException(
                    "cannot open a " + width + "x" + height + " X11 window on DISPLAY="
                            + System.getenv("DISPLAY"));
        }
        mNativeObject = nativeObject;
    }

    public synchronized boolean isValid() {
        return mNativeObject != 0;
    }

    public synchronized void release() {
        if (mNativeObject != 0) {
            nativeRelease(mNativeObject);
            mNativeObject = 0;
        }
    }

    // A forgotten surface gives its window back with the garbage collector, as a device's does.
    @Override
    protected void finalize() throws Throwable {
        try {
            release();
        } finally {
            super.finalize();
        }
    }

    private static native long nativeCreate(int width, int height);

    private static native void nativeRelease(long nativeObject);
}
