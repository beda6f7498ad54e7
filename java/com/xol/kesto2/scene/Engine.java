package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;

/**
 * The engine's environment (the display) and one rendering context, made current on the thread
 * that creates it. Closing it destroys whatever of it is still alive and makes every object made
 * with it unusable.
 */
public final class Engine implements AutoCloseable {
    private final int environment;
    private final int context;
    private volatile boolean closed;
    private int plainTexture;
    /** Nodes by handle, so that a hit test can answer with the object. */
    final Map<Integer, Node> nodes = new ConcurrentHashMap<>();

    /** An engine drawing in 8-bit red, green and blue without alpha. */
    public Engine() {
        this(8, 8, 8, 0);
    }

    /**
     * An engine with the given colour sizes, e.g. 5, 6, 5, 0 for a 16-bit screen.
     *
     * @param red bits of red
     * @param green bits of green
     * @param blue bits of blue
     * @param alpha bits of alpha
     * @throws KestoException when there is no display or no such configuration
     */
    public Engine(int red, int green, int blue, int alpha) {
        environment = KestoException.check(Kesto2.InitEnvironmentWithConfig(red, green, blue, alpha),
                "InitEnvironmentWithConfig");
        int made = Kesto2.CreateContext(environment, red, green, blue, alpha);
        if (made == 0 || !Kesto2.Context_RunOnCurrentThread(made)) {
            String line = Kesto2.GetLastError();
            Kesto2.DestroyContext(made);
            Kesto2.DeinitEnvironment(environment);
            throw new KestoException(line != null ? line : "CreateContext failed");
        }
        context = made;
    }

    /**
     * Makes the context current on the calling thread, which from then on renders. A context is
     * current on one thread at a time: the thread that had it calls {@link #release()} first.
     *
     * @throws KestoException when the context cannot be made current (e.g. it is still current on
     *     another thread)
     */
    public void makeCurrent() {
        KestoException.check(Kesto2.Context_RunOnCurrentThread(context()), "Context_RunOnCurrentThread");
    }

    /**
     * Runs {@code changes} as one update: a frame drawn on another thread (a {@link RenderLoop})
     * shows all of them or none of them, and calls from other threads wait until it ends. Updates
     * nest. An exception thrown by {@code changes} ends the update and goes on to the caller. Keep
     * updates short: the render thread waits for them.
     *
     * @param changes what to change, on the calling thread
     * @throws KestoException when the update cannot begin
     */
    public void update(Runnable changes) {
        KestoException.check(Kesto2.Environment_BeginUpdate(environment()), "Environment_BeginUpdate");
        try {
            changes.run();
        } finally {
            Kesto2.Environment_EndUpdate(environment);
        }
    }

    /**
     * Releases the context from the calling thread, so that another thread can make it current
     * with {@link #makeCurrent()}. The engine's objects stay as they are.
     *
     * @throws KestoException when it cannot be released
     */
    public void release() {
        KestoException.check(Kesto2.Context_RemoveFromCurrentThread(context()), "Context_RemoveFromCurrentThread");
    }

    /**
     * The one-texel white texture that plain coloured sprite layers show, tinted with their colour,
     * so that they blend with alpha exactly as textured layers do. Made on first use, from any
     * thread; uploaded by the first frame that draws it.
     */
    synchronized int plainTexture() {
        if (plainTexture == 0) {
            int texture = KestoException.check(Kesto2.CreateTexture(environment()), "CreateTexture");
            int pixel = Kesto2.CreateBitmap(environment);
            Bitmap white = Bitmap.createBitmap(1, 1, Bitmap.Config.ARGB_8888);
            white.eraseColor(0xFFFFFFFF);
            boolean queued = pixel != 0 && Kesto2.Bitmap_Set(pixel, white)
                    && Kesto2.Texture_SetupByBitmap(texture, pixel, true);
            String line = Kesto2.GetLastError();
            Kesto2.DestroyBitmap(pixel);
            white.recycle();
            if (!queued) {
                Kesto2.DestroyTexture(texture);
                throw new KestoException(line != null ? line : "the plain sprite texture failed");
            }
            plainTexture = texture;
        }
        return plainTexture;
    }

    /**
     * Whether {@link #close()} was called.
     *
     * @return true once closed
     */
    public boolean isClosed() {
        return closed;
    }

    int environment() {
        checkOpen();
        return environment;
    }

    int context() {
        checkOpen();
        return context;
    }

    private void checkOpen() {
        if (closed) {
            throw new IllegalStateException("Engine is closed");
        }
    }

    /** Destroys the context and the environment with all that is left of it; repeatable. */
    @Override
    public void close() {
        if (!closed) {
            closed = true;
            nodes.clear();
            synchronized (this) {
                Kesto2.DestroyTexture(plainTexture);
                plainTexture = 0;
            }
            Kesto2.DestroyContext(context);
            Kesto2.DeinitEnvironment(environment);
        }
    }
}
