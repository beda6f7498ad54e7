package com.xol.kesto2.scene;

/** One engine object owned by Java: its handle until {@link #close()}. */
public abstract class EngineObject implements AutoCloseable {
    final Engine engine;
    private int handle;

    EngineObject(Engine engine, int handle) {
        this.engine = engine;
        this.handle = handle;
    }

    /**
     * The handle to pass to {@link com.xol.kesto2.Kesto2} directly.
     *
     * @return the handle, never 0
     * @throws IllegalStateException once this object or its engine is closed
     */
    public final int handle() {
        if (handle == 0) {
            throw new IllegalStateException(getClass().getSimpleName() + " is closed");
        }
        if (engine != null && engine.isClosed()) {
            throw new IllegalStateException(getClass().getSimpleName() + "'s engine is closed");
        }
        return handle;
    }

    /**
     * Whether {@link #close()} was called, or the engine that made this object was closed.
     *
     * @return true when the object can no longer be used
     */
    public final boolean isClosed() {
        return handle == 0 || (engine != null && engine.isClosed());
    }

    /** Destroys the engine object; again, or after the engine was closed, it does nothing. */
    @Override
    public final void close() {
        int closing = handle;
        handle = 0;
        if (closing != 0 && (engine == null || !engine.isClosed())) {
            destroy(closing);
        }
    }

    abstract void destroy(int handle);

    /**
     * After a lost GL context: puts back what this object had in GL, where it can; adds the
     * textures it cannot to {@code unrestored}. Called for objects the engine was asked to
     * remember, in the order they were last set up.
     */
    void restoreAfterLoss(java.util.List<Texture> unrestored) {}
}
