package com.xol.kesto2.android;

import android.content.Context;
import android.graphics.SurfaceTexture;
import android.util.AttributeSet;
import android.view.Surface;
import android.view.TextureView;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.RenderLoop;
import com.xol.kesto2.scene.Scene;

/**
 * A {@link TextureView} that a {@link RenderLoop} draws a scene into: for a scene that moves,
 * fades or is transformed with the rest of the view hierarchy. The surface texture's callbacks
 * bind, resize and unbind the loop's surface; the activity forwards {@code onPause},
 * {@code onResume} and {@code onDestroy}, as for {@link KestoSurfaceView}.
 */
public class KestoTextureView extends TextureView implements TextureView.SurfaceTextureListener {
    private final Pacer pacer = new Pacer();
    private Surface surface;

    /** @param context the activity */
    public KestoTextureView(Context context) {
        super(context);
        setSurfaceTextureListener(this);
    }

    /**
     * For layouts.
     *
     * @param context the activity
     * @param attributes the layout's attributes
     */
    public KestoTextureView(Context context, AttributeSet attributes) {
        super(context, attributes);
        setSurfaceTextureListener(this);
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
    public void onSurfaceTextureAvailable(SurfaceTexture texture, int width, int height) {
        surface = new Surface(texture);
        pacer.surfaceReady(surface, width, height);
    }

    @Override
    public void onSurfaceTextureSizeChanged(SurfaceTexture texture, int width, int height) {
        pacer.surfaceReady(surface, width, height);
    }

    @Override
    public boolean onSurfaceTextureDestroyed(SurfaceTexture texture) {
        pacer.surfaceGone();
        if (surface != null) {
            surface.release();
            surface = null;
        }
        return true;  // released here, after the engine let go of it
    }

    @Override
    public void onSurfaceTextureUpdated(SurfaceTexture texture) {}
}
