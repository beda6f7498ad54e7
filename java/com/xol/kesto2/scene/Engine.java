package com.xol.kesto2.scene;

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
     * Makes the context current on the calling thread, which from then on renders.
     *
     * @throws KestoException when the context cannot be made current
     */
    public void makeCurrent() {
        KestoException.check(Kesto2.Context_RunOnCurrentThread(context()), "Context_RunOnCurrentThread");
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
            Kesto2.DestroyContext(context);
            Kesto2.DeinitEnvironment(environment);
        }
    }
}
