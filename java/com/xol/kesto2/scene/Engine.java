package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;
import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;

/**
 * The engine's environment (the display) and one rendering context, made current on the thread
 * that creates it. Closing it destroys whatever of it is still alive and makes every object made
 * with it unusable.
 *
 * <p>A GL context can be lost (a GPU reset, the app sent to the background, memory pressure). The
 * frame that meets the loss is drawn again at once, after the engine has put back what it can:
 * textures uploaded from a bitmap or image that is still open, textures allocated or rendered into,
 * blur sprites. What it cannot put back is handed to the {@link ContextLossListener}.
 */
public final class Engine implements AutoCloseable {
    /** Told, on the thread that drew, after the engine recovered from a lost GL context. */
    public interface ContextLossListener {
        /**
         * The context was lost and made again; everything the engine could restore is back.
         *
         * @param unrestored textures whose pictures had no source left (queued with hand-over,
         *     or their bitmap recycled or image closed): they draw untextured until uploaded or
         *     queued again
         */
        void onContextLost(List<Texture> unrestored);
    }

    private final int environment;
    private final int context;
    private volatile boolean closed;
    private int plainTexture;
    /** Nodes by handle, so that a hit test can answer with the object. */
    final Map<Integer, Node> nodes = new ConcurrentHashMap<>();
    /** In the order they were last set up, which is the order they are restored in. */
    private final Set<EngineObject> restorables = new LinkedHashSet<>();
    private int lossesSeen;
    private volatile ContextLossListener lossListener;

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
            String line = queueWhiteTexel(texture);
            if (line != null) {
                Kesto2.DestroyTexture(texture);
                throw new KestoException(line);
            }
            plainTexture = texture;
        }
        return plainTexture;
    }

    /** @return null when queued, else why not */
    private String queueWhiteTexel(int texture) {
        int pixel = Kesto2.CreateBitmap(environment);
        Bitmap white = Bitmap.createBitmap(1, 1, Bitmap.Config.ARGB_8888);
        white.eraseColor(0xFFFFFFFF);
        boolean queued = pixel != 0 && Kesto2.Bitmap_Set(pixel, white)
                && Kesto2.Texture_SetupByBitmap(texture, pixel, true);
        String line = Kesto2.GetLastError();
        Kesto2.DestroyBitmap(pixel);
        white.recycle();
        return queued ? null : line != null ? line : "the plain sprite texture failed";
    }

    /**
     * Who to tell when the GL context was lost and the engine recovered.
     *
     * @param listener the listener, or null for none
     */
    public void setContextLossListener(ContextLossListener listener) {
        lossListener = listener;
    }

    /**
     * Destroys the GL context, and every GL object in it, under the engine, as a GPU reset does: the
     * next frame meets the loss and recovers. For testing an app's handling of a lost context.
     *
     * @throws KestoException when there is no context to lose
     */
    public void simulateContextLoss() {
        KestoException.check(Kesto2.Context_SimulateLoss(context()), "Context_SimulateLoss");
    }

    /** Remembers how to restore {@code restorable}, as set up last. */
    synchronized void remember(EngineObject restorable) {
        restorables.remove(restorable);
        restorables.add(restorable);
    }

    synchronized void forget(EngineObject restorable) {
        restorables.remove(restorable);
    }

    /**
     * The context's loss count. The first to see a new loss restores everything restorable (the
     * context is current on this thread again) and tells the listener.
     */
    int restoreAfterLoss() {
        List<Texture> unrestored = new ArrayList<>();
        int losses;
        synchronized (this) {
            losses = Kesto2.Context_GetLossCount(context());
            if (losses == lossesSeen) {
                return losses;
            }
            lossesSeen = losses;
            if (plainTexture != 0 && Kesto2.Texture_IsLost(plainTexture)) {
                queueWhiteTexel(plainTexture);
            }
            for (EngineObject restorable : new ArrayList<>(restorables)) {
                restorable.restoreAfterLoss(unrestored);
            }
        }
        ContextLossListener listener = lossListener;
        if (listener != null) {
            listener.onContextLost(Collections.unmodifiableList(unrestored));
        }
        return losses;
    }

    /**
     * After a call that failed: returns when the context was lost since the last look (restored
     * now: the call is worth repeating), otherwise throws the failed call's line.
     */
    void recoverOrThrow(String call) {
        String line = Kesto2.GetLastError();
        int before = lossesSeen;
        if (restoreAfterLoss() == before) {
            throw new KestoException(line != null ? line : call + " failed");
        }
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
