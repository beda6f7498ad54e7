package com.xol.kesto2.android;

import android.view.Choreographer;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.RenderLoop;
import com.xol.kesto2.scene.Scene;

/**
 * What both views share: their render loop, and the activity and surface state that decide
 * whether frames are drawn. Continuous frames follow the display's vsync through
 * {@link Choreographer}. Everything here runs on the UI thread.
 */
final class Pacer implements Choreographer.FrameCallback {
    private RenderLoop loop;
    // The view's surface while it has one: a loop started later attaches to it.
    private android.view.Surface surface;
    private int width;
    private int height;
    private boolean continuous;
    private boolean resumed = true;
    private boolean attached;
    private boolean scheduled;

    RenderLoop start(Engine engine, Scene scene) {
        if (loop != null) {
            throw new IllegalStateException("already started");
        }
        loop = new RenderLoop(engine, scene);
        if (surface != null) {
            surfaceReady(surface, width, height);
        }
        return loop;
    }

    RenderLoop loop() {
        if (loop == null) {
            throw new IllegalStateException("call start(engine, scene) first");
        }
        return loop;
    }

    void surfaceReady(android.view.Surface surface, int width, int height) {
        this.surface = surface;
        this.width = width;
        this.height = height;
        if (loop == null) {
            return;
        }
        if (attached) {
            loop.resize(width, height);
        } else {
            loop.attach(surface, width, height);
            attached = true;
        }
        schedule();
    }

    /** Returns once the engine no longer draws into the surface. */
    void surfaceGone() {
        surface = null;
        attached = false;
        unschedule();
        if (loop != null) {
            loop.detach();
        }
    }

    void pause() {
        resumed = false;
        unschedule();
        if (loop != null) {
            loop.pause();
        }
    }

    void resume() {
        resumed = true;
        if (loop != null) {
            loop.resume();
        }
        schedule();
    }

    void setContinuous(boolean on) {
        continuous = on;
        if (on) {
            schedule();
        } else {
            unschedule();
        }
    }

    void close() {
        unschedule();
        if (loop != null) {
            loop.close();
            loop = null;
            attached = false;
        }
    }

    @Override
    public void doFrame(long frameTimeNanos) {
        scheduled = false;
        if (continuous && resumed && attached && loop != null) {
            loop.requestRender();
            schedule();
        }
    }

    private void schedule() {
        if (continuous && resumed && attached && !scheduled) {
            scheduled = true;
            Choreographer.getInstance().postFrameCallback(this);
        }
    }

    private void unschedule() {
        if (scheduled) {
            scheduled = false;
            Choreographer.getInstance().removeFrameCallback(this);
        }
    }
}
