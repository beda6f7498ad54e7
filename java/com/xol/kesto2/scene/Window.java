package com.xol.kesto2.scene;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.Kesto2;

/**
 * A window surface the engine draws a scene into.
 *
 * <p>Three conventions meet here: window pixels for {@link #hitTest}, {@link #toScene} and
 * {@link Node#toLocal} count from the top left corner, y down; scene coordinates (and
 * {@link #positionOf}) from the window's centre, y up; snapshot bitmaps are ordinary bitmaps, top
 * row first (the raw {@link Kesto2#Window_NativeGetSnapshot} rectangle counts from the bottom left).
 */
public final class Window extends EngineObject {
    // Whether the back buffer holds a frame drawn since the last present, for snapshot().
    private boolean drawn;
    /** The engine's loss count as this window's frames last saw it. */
    private int lossesSeen;

    /**
     * A window of the engine's context bound to {@code surface} at the surface's own size; the
     * surface is made current.
     *
     * @param engine the engine
     * @param surface the surface to draw into
     * @throws KestoException when the surface has no size or cannot be bound
     */
    public Window(Engine engine, Surface surface) {
        this(engine, surface, sizeOf(surface) >>> 16, sizeOf(surface) & 0xFFFF);
    }

    /**
     * A window of the engine's context bound to {@code surface}, which is made current. Frames
     * use the size given; when it differs from the surface's own the engine logs a warning, and
     * snapshots refuse pixels beyond the surface.
     *
     * @param engine the engine
     * @param surface the surface to draw into
     * @param width its width in pixels
     * @param height its height in pixels
     * @throws KestoException when the surface cannot be bound
     */
    public Window(Engine engine, Surface surface, int width, int height) {
        super(engine, KestoException.check(
                Kesto2.CreateWindowByContext(engine.environment(), engine.context()), "CreateWindowByContext"));
        if (!Kesto2.Window_BindSurface(handle(), surface, width, height)) {
            String line = Kesto2.GetLastError();
            close();
            throw new KestoException(line != null ? line : "Window_BindSurface failed");
        }
        lossesSeen = Kesto2.Context_GetLossCount(engine.context());
    }

    private static int sizeOf(Surface surface) {
        return KestoException.check(Kesto2.Surface_GetSize(surface), "Surface_GetSize");
    }

    @Override
    void destroy(int handle) {
        Kesto2.Window_UnbindSurface(handle);
        Kesto2.DestroyWindow(handle);
    }

    /**
     * Shows {@code scene} through its camera in the whole window.
     *
     * @param scene the scene
     * @return this window
     */
    public Window show(Scene scene) {
        Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(handle()), scene.camera());
        KestoException.checkLogged();
        return this;
    }

    /**
     * The colour behind the scene.
     *
     * @param argb the colour as 0xAARRGGBB
     * @return this window
     */
    public Window setClearColor(int argb) {
        Kesto2.Window_SetClearColor(handle(), (argb >>> 16 & 0xFF) / 255f, (argb >>> 8 & 0xFF) / 255f,
                (argb & 0xFF) / 255f, (argb >>> 24) / 255f);
        return this;
    }

    /**
     * Batching (on by default) draws runs of meshes sharing texture and blending with one call;
     * off, every mesh is drawn on its own. The pixels are the same either way.
     *
     * @param enabled whether to batch
     * @return this window
     */
    public Window setBatching(boolean enabled) {
        Kesto2.Window_SetBatching(handle(), enabled);
        return this;
    }

    /**
     * Partial redraw (off by default here, on in a {@link RenderLoop}): each frame draws again only
     * what changed since the picture in the back buffer, and a frame in which nothing changed
     * draws and swaps nothing. The pixels are the same as whole frames'.
     *
     * @param enabled whether to draw only what changed
     * @return this window
     */
    public Window setPartialRedraw(boolean enabled) {
        Kesto2.Window_SetPartialRedraw(handle(), enabled);
        return this;
    }

    /**
     * After a frame call that failed: true when a loss of the context made it fail (the engine has
     * restored what it could: the frame is worth drawing again), otherwise throws its line. A
     * window's frames each see a loss once, whichever call met it.
     */
    private boolean afterLoss(String call) {
        String line = Kesto2.GetLastError();
        int losses = engine.restoreAfterLoss();
        if (losses != lossesSeen) {
            lossesSeen = losses;
            return true;
        }
        throw new KestoException(line != null ? line : call + " failed");
    }

    /**
     * Draws a frame and shows it.
     *
     * @throws KestoException when drawing or presenting failed
     */
    public void render() {
        drawn = false;
        boolean shown = Kesto2.Window_Render(handle());
        // A frame that met a lost context showed nothing: drawn again once the engine restored.
        if (!shown && afterLoss("Window_Render")) {
            shown = Kesto2.Window_Render(handle());
        }
        KestoException.check(shown, "Window_Render");
    }

    /**
     * Draws a frame without showing it, for {@link #snapshot()}.
     *
     * @throws KestoException when drawing failed
     */
    public void renderWithoutPresent() {
        Kesto2.Window_RenderWithoutPresent(handle());
        if (Kesto2.GetLastError() != null && afterLoss("Window_RenderWithoutPresent")) {
            Kesto2.Window_RenderWithoutPresent(handle());
        }
        KestoException.checkLogged();
        drawn = true;
    }

    /**
     * Shows the frame drawn last.
     *
     * @throws KestoException when presenting failed
     */
    public void present() {
        drawn = false;
        boolean shown = Kesto2.Window_Present(handle());
        if (!shown && afterLoss("Window_Present")) {
            Kesto2.Window_RenderWithoutPresent(handle());
            shown = Kesto2.Window_Present(handle());
        }
        KestoException.check(shown, "Window_Present");
    }

    /**
     * The window's pixels as drawn by the last {@link #renderWithoutPresent()}. After
     * {@link #render()} or {@link #present()} the frame is on the screen and the buffer behind it
     * cleared: use {@link #capture()}.
     *
     * @return a new bitmap of the window's size
     * @throws KestoException when nothing was drawn since the last present, or the window cannot
     *     be read
     */
    public Bitmap snapshot() {
        if (!drawn) {
            throw new KestoException("snapshot NG - nothing drawn since the last present: call "
                    + "renderWithoutPresent() first, or capture()");
        }
        Bitmap shot = Kesto2.Window_NativeGetSnapshot(handle(), 0, 0, 0, 0);
        KestoException.check(shot != null, "Window_NativeGetSnapshot");
        return shot;
    }

    /**
     * Draws a frame, reads it and shows it.
     *
     * @return the frame as a new bitmap of the window's size
     * @throws KestoException when drawing, reading or presenting failed
     */
    public Bitmap capture() {
        renderWithoutPresent();
        Bitmap shot = snapshot();
        present();
        return shot;
    }

    /**
     * Where a window pixel lies in the scene's plane z = 0: the position to give a node under the
     * scene's root so that its origin shows at that pixel.
     *
     * @param x pixels from the left edge
     * @param y pixels from the top edge
     * @return x and y in scene coordinates (from the window's centre, y up)
     * @throws KestoException when the window shows no scene or has no size
     */
    public float[] toScene(int x, int y) {
        float[] out = new float[2];
        KestoException.check(Kesto2.Window_PointOnPlane(handle(), 0, x, y, out), "Window_PointOnPlane");
        return out;
    }

    /**
     * The node whose own content (a sprite's visible, touchable layers) is under a window pixel,
     * the topmost first: children before their parent, later siblings before earlier ones.
     *
     * @param x pixels from the left edge
     * @param y pixels from the top edge
     * @return the topmost node hit, or null
     */
    public Node hitTest(int x, int y) {
        int hit = Kesto2.Window_HitTest(handle(), x, y);
        return hit != 0 ? engine.nodes.get(hit) : null;
    }

    /**
     * Where a node's origin lands in the window, as the last render placed the camera.
     *
     * @param node the node
     * @param out receives x and y: pixels from the window centre, y up
     * @return false when the window has no size or shows no scene (then {@code out} is unchanged)
     */
    public boolean positionOf(Node node, float[] out) {
        if (!Kesto2.Window_QuerySceneNodeOriginPositionOnViewport(handle(), 0, node.handle())) {
            return false;
        }
        out[0] = Kesto2.getOutputVectorX();
        out[1] = Kesto2.getOutputVectorY();
        return true;
    }

    /**
     * What the last render drew; fills {@code out} without allocating.
     *
     * @param out the statistics to fill
     * @return {@code out}
     */
    public FrameStatistics frameStatistics(FrameStatistics out) {
        Kesto2.Window_GetFrameStatistics(handle(), out.values);
        return out;
    }
}
