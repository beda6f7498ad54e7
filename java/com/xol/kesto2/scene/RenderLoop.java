package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import android.view.Surface;
import java.util.ArrayDeque;
import java.util.concurrent.CountDownLatch;

/**
 * A render thread for one scene: it owns the engine's context, binds the surface it is given,
 * draws frames when asked (or continuously at a pace) and runs work posted from other threads
 * before the next frame. The platform glue (a view's callbacks, vsync) calls it from the UI
 * thread; {@link com.xol.kesto2.scene.Engine#update} makes a change from there appear in one frame.
 *
 * <p>States: without a surface nothing is drawn; {@link #attach} binds one (a window of the given
 * size showing the scene, the camera centred for it); {@link #pause()} stops frames and keeps
 * everything; {@link #detach()} unbinds the surface and returns only once the engine no longer
 * uses it; {@link #close()} ends the thread and hands the context back to whichever thread makes
 * it current next. Errors in posted work or in frames go to the error listener; the thread carries
 * on.
 */
public final class RenderLoop implements AutoCloseable {
    /** Receives what failed on the render thread. */
    public interface ErrorListener {
        /**
         * Called on the render thread.
         *
         * @param error what was thrown by posted work or a frame
         */
        void onError(Throwable error);
    }

    private final Engine engine;
    private final Scene scene;
    private final Thread thread;
    private final Object lock = new Object();
    // Guarded by lock: what other threads asked for.
    private final ArrayDeque<Runnable> posted = new ArrayDeque<>();
    private Surface surface;
    private int width;
    private int height;
    private int clearColor = 0xFF000000;
    private boolean partialRedraw = true;
    private long requestedBinding;
    private long appliedBinding;
    private RuntimeException bindingFailure;
    private boolean paused;
    private boolean closing;
    private boolean renderRequested;
    private long frameNanos;
    private ErrorListener errors = new ErrorListener() {
        @Override
        public void onError(Throwable error) {
            error.printStackTrace();
        }
    };
    private final CountDownLatch started = new CountDownLatch(1);
    private RuntimeException startFailure;
    // The render thread's own.
    private Window window;
    private long nextFrame;
    private volatile long frames;

    /**
     * Starts the render thread and moves the engine's context to it: call this on the thread
     * that has the context (the one that made the engine).
     *
     * @param engine the engine
     * @param scene the scene to show
     * @throws KestoException when the context cannot be released here
     */
    public RenderLoop(Engine engine, Scene scene) {
        this.engine = engine;
        this.scene = scene;
        engine.release();
        thread = new Thread(new Runnable() {
            @Override
            public void run() {
                loop();
            }
        }, "kesto render");
        thread.start();
        await(started);
        if (startFailure != null) {
            join();
            engine.makeCurrent();
            throw startFailure;
        }
    }

    /**
     * Where errors on the render thread go (by default, their stack trace to standard error).
     *
     * @param listener the listener
     */
    public void setErrorListener(ErrorListener listener) {
        synchronized (lock) {
            errors = listener;
        }
    }

    /**
     * Binds a surface (unbinding the one before, if any) and draws a frame into it.
     *
     * @param surface the surface
     * @param width its width in pixels
     * @param height its height in pixels
     */
    public void attach(Surface surface, int width, int height) {
        bind(surface, width, height);
    }

    /**
     * The surface's new size: the camera is centred for it and a frame drawn.
     *
     * @param width pixels
     * @param height pixels
     */
    public void resize(int width, int height) {
        Surface current;
        synchronized (lock) {
            current = surface;
        }
        if (current != null) {
            bind(current, width, height);
        }
    }

    /** Unbinds the surface; returns once the engine no longer uses it. */
    public void detach() {
        bind(null, 0, 0);
    }

    /** No frames until {@link #resume()}; the surface and every engine object stay. */
    public void pause() {
        synchronized (lock) {
            paused = true;
        }
    }

    /** Frames again, starting with one now. */
    public void resume() {
        synchronized (lock) {
            paused = false;
            renderRequested = true;
            lock.notifyAll();
        }
    }

    /** Draws a frame soon: call after changing the scene. */
    public void requestRender() {
        synchronized (lock) {
            renderRequested = true;
            lock.notifyAll();
        }
    }

    /**
     * Frames one after another, each {@code frameNanos} after the one before; 0 draws only when
     * asked ({@link #requestRender()}).
     *
     * @param frameNanos the pace, e.g. 16666667 for 60 frames a second
     */
    public void setContinuous(long frameNanos) {
        synchronized (lock) {
            this.frameNanos = Math.max(0, frameNanos);
            nextFrame = System.nanoTime();
            lock.notifyAll();
        }
    }

    /**
     * The colour behind the scene, from the next frame.
     *
     * @param argb 0xAARRGGBB
     */
    public void setClearColor(final int argb) {
        post(new Runnable() {
            @Override
            public void run() {
                synchronized (lock) {
                    clearColor = argb;
                }
                if (window != null) {
                    window.setClearColor(argb);
                }
            }
        });
    }

    /**
     * Partial redraw, on by default: frames draw only what changed, and a frame due when nothing
     * changed draws and swaps nothing, so a paced loop over an idle scene costs next to nothing.
     * See {@link Window#setPartialRedraw}.
     *
     * @param enabled whether frames draw only what changed
     */
    public void setPartialRedraw(final boolean enabled) {
        post(new Runnable() {
            @Override
            public void run() {
                synchronized (lock) {
                    partialRedraw = enabled;
                }
                if (window != null) {
                    window.setPartialRedraw(enabled);
                }
            }
        });
    }

    /**
     * Runs {@code work} on the render thread before the next frame.
     *
     * @param work what to run; what it throws goes to the error listener
     */
    public void post(Runnable work) {
        synchronized (lock) {
            if (closing) {
                throw new IllegalStateException("RenderLoop is closed");
            }
            posted.addLast(work);
            lock.notifyAll();
        }
    }

    /**
     * Draws a frame, reads it and shows it, on the render thread.
     *
     * @return the frame as a bitmap
     * @throws KestoException when there is no surface, or drawing failed
     */
    public Bitmap capture() {
        final Bitmap[] shot = new Bitmap[1];
        final RuntimeException[] failure = new RuntimeException[1];
        final CountDownLatch done = new CountDownLatch(1);
        post(new Runnable() {
            @Override
            public void run() {
                try {
                    if (window == null) {
                        throw new KestoException("capture NG - no surface is attached");
                    }
                    shot[0] = window.capture();
                    ++frames;
                } catch (RuntimeException e) {
                    failure[0] = e;
                } finally {
                    done.countDown();
                }
            }
        });
        await(done);
        if (failure[0] != null) {
            throw failure[0];
        }
        return shot[0];
    }

    /** @return frames drawn so far */
    public long frames() {
        return frames;
    }

    /** Unbinds the surface, ends the render thread and releases the context from it. Repeatable. */
    @Override
    public void close() {
        if (Thread.currentThread() == thread) {
            throw new IllegalStateException("close the RenderLoop from another thread");
        }
        synchronized (lock) {
            closing = true;
            lock.notifyAll();
        }
        join();
    }

    // The surface the render thread should have; waits until it has it.
    private void bind(Surface target, int targetWidth, int targetHeight) {
        if (Thread.currentThread() == thread) {
            apply(target, targetWidth, targetHeight);
            return;
        }
        long request;
        synchronized (lock) {
            if (closing) {
                throw new IllegalStateException("RenderLoop is closed");
            }
            surface = target;
            width = targetWidth;
            height = targetHeight;
            request = ++requestedBinding;
            renderRequested = target != null;
            lock.notifyAll();
            while (appliedBinding < request && thread.isAlive()) {
                waitOn();
            }
            RuntimeException failed = bindingFailure;
            bindingFailure = null;
            if (failed != null) {
                throw failed;
            }
        }
    }

    private void loop() {
        try {
            engine.makeCurrent();
        } catch (RuntimeException e) {
            startFailure = e;
            synchronized (lock) {
                closing = true;
            }
            started.countDown();
            return;
        }
        started.countDown();
        try {
            // Each turn: the work posted so far, a new surface if one was asked for, then a frame
            // if one is due. Work posted meanwhile waits for the next turn, after that frame.
            while (true) {
                Runnable[] work;
                Surface target = null;
                int targetWidth = 0, targetHeight = 0;
                long binding = 0;
                synchronized (lock) {
                    while (!closing && posted.isEmpty() && requestedBinding == appliedBinding && !frameDue()) {
                        waitOn(frameNanos > 0 && !paused && window != null ? waitMillis() : 0);
                    }
                    if (closing && posted.isEmpty()) {
                        break;
                    }
                    work = posted.toArray(new Runnable[0]);
                    posted.clear();
                    if (requestedBinding != appliedBinding) {
                        binding = requestedBinding;
                        target = surface;
                        targetWidth = width;
                        targetHeight = height;
                    }
                }
                for (Runnable item : work) {
                    try {
                        item.run();
                    } catch (Throwable error) {
                        report(error);
                    }
                }
                if (binding != 0) {
                    RuntimeException failed = null;
                    try {
                        apply(target, targetWidth, targetHeight);
                    } catch (RuntimeException e) {
                        failed = e;  // the caller of attach or resize gets it
                    }
                    synchronized (lock) {
                        appliedBinding = binding;
                        bindingFailure = failed;
                        lock.notifyAll();
                    }
                }
                boolean draw;
                synchronized (lock) {
                    draw = frameDue();
                    if (draw) {
                        renderRequested = false;
                        nextFrame = Math.max(nextFrame + frameNanos, System.nanoTime());
                    }
                }
                if (draw) {
                    try {
                        window.render();
                        ++frames;
                    } catch (Throwable error) {
                        report(error);
                    }
                }
            }
        } finally {
            try {
                apply(null, 0, 0);
                if (!engine.isClosed()) {
                    engine.release();
                }
            } catch (Throwable error) {
                report(error);
            }
            synchronized (lock) {
                closing = true;
                appliedBinding = requestedBinding;
                lock.notifyAll();
            }
        }
    }

    // On the render thread: the window bound to `target`, or none.
    private void apply(Surface target, int targetWidth, int targetHeight) {
        if (window != null) {
            window.close();
            window = null;
        }
        if (target != null && !engine.isClosed()) {
            int colour;
            boolean partial;
            synchronized (lock) {
                colour = clearColor;
                partial = partialRedraw;
            }
            window = new Window(engine, target, targetWidth, targetHeight).setClearColor(colour)
                    .setPartialRedraw(partial);
            window.show(scene);
        }
    }

    // Under lock: whether a frame is wanted now.
    private boolean frameDue() {
        if (paused || window == null || closing) {
            return false;
        }
        return renderRequested || (frameNanos > 0 && System.nanoTime() >= nextFrame);
    }

    private long waitMillis() {
        return Math.max(1, (nextFrame - System.nanoTime()) / 1_000_000);
    }

    private void report(Throwable error) {
        ErrorListener listener;
        synchronized (lock) {
            listener = errors;
        }
        listener.onError(error);
    }

    private void waitOn() {
        waitOn(0);
    }

    private void waitOn(long millis) {
        try {
            lock.wait(millis);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
            throw new IllegalStateException("interrupted while waiting for the render thread", e);
        }
    }

    private static void await(CountDownLatch latch) {
        try {
            latch.await();
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
            throw new IllegalStateException("interrupted while waiting for the render thread", e);
        }
    }

    private void join() {
        try {
            thread.join();
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }
}
