package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** A node that clips the drawing of its subtree to a rectangle of the window; they do not nest. */
public final class Scissor extends Node {
    /**
     * A scissor clipping to (0, 0, 100, 100) until set.
     *
     * @param engine the engine
     */
    public Scissor(Engine engine) {
        super(engine, KestoException.check(Kesto2.CreateScissor(engine.environment()), "CreateScissor"), true);
    }

    /**
     * The clip rectangle in window pixels, y down from the top edge.
     *
     * @param x left edge
     * @param y top edge
     * @param width width, not negative
     * @param height height, not negative
     * @return this scissor
     */
    public Scissor setArea(int x, int y, int width, int height) {
        Kesto2.Scissor_SetArea(handle(), x, y, width, height);
        KestoException.checkLogged();
        return this;
    }
}
