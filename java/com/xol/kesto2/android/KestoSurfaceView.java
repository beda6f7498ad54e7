package com.xol.kesto2.android;

import android.content.Context;
import android.util.AttributeSet;
import android.view.SurfaceHolder;
import android.view.SurfaceView;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.RenderLoop;
import com.xol.kesto2.scene.Scene;

/**
 * A {@link SurfaceView} that a {@link RenderLoop} draws a scene into. Its surface callbacks bind,
 * resize and unbind the loop's surface ({@code surfaceDestroyed} returns only once the engine no
 * longer draws into it); the activity forwards {@code onPause}, {@code onResume} and
 * {@code onDestroy}. Frames are drawn when asked ({@link RenderLoop#requestRender()}) or, with
 * {@link #setContinuous}, at every vsync.
 */
public class KestoSurfaceView extends SurfaceView implements SurfaceHolder.Callback {
    private final Pacer pacer = new Pacer();

    /** @param context the activity */
    public KestoSurfaceView(Context context) {
        super(context);
        getHolder().addCallback(this);
    }

    /**
     * For layouts.
     *
     * @param context the activity
     * @param attributes the layout's attributes
     */
    public KestoSurfaceView(Context context, AttributeSet attributes) {
        super(context, attributes);
        getHolder().addCallback(this);
    }

    /**
     * Starts the render loop, on the thread that made the engine (it takes the engine's context).
     *
     * @param engine the engine
     * @param scene the scene to show
     * @return the loop, for posting work and requesting frames
     */
    public RenderLoop start(Engine engine, Scene scene) {
        return pacer.start(engine, scene);
    }

    /** @return the render loop started with {@link #start} */
    public RenderLoop renderLoop() {
        return pacer.loop();
    }

    /** @param continuous true: a frame at every vsync while resumed; false: frames when asked */
    public void setContinuous(boolean continuous) {
        pacer.setContinuous(continuous);
    }

    /** From the activity's {@code onPause}: no frames, everything kept. */
    public void onPause() {
        pacer.pause();
    }

    /** From the activity's {@code onResume}. */
    public void onResume() {
        pacer.resume();
    }

    /** From the activity's {@code onDestroy}: ends the render loop (then close the engine). */
    public void close() {
        pacer.close();
    }

    @Override
    public void surfaceCreated(SurfaceHolder holder) {
        // The size follows in surfaceChanged, which always comes next.
    }

    @Override
    public void surfaceChanged(SurfaceHolder holder, int format, int width, int height) {
        pacer.surfaceReady(holder.getSurface(), width, height);
    }

    @Override
    public void surfaceDestroyed(SurfaceHolder holder) {
        pacer.surfaceGone();
    }
}
