package com.xol.kesto2;

import android.view.Surface;

/**
 * The engine's native interface. Every engine object is an int handle; 0 means none or failure.
 * Objects live from their Create call to their Destroy call. Destroying dependants before the
 * objects they use is the natural order, but any order is safe: users of a destroyed object are
 * unlinked, and {@link #DeinitEnvironment} destroys whatever of its environment is still alive.
 * Calls may come from any thread; they are serialised (the README's "Safety" section says how).
 *
 * <p>Methods that render, present, build blur chains or touch sprite geometry need the relevant
 * context current on the calling thread ({@link #Context_RunOnCurrentThread}).
 */
public final class Kesto2 {
    static {
        System.loadLibrary("xolkesto2engine");
    }

    private Kesto2() {}

    // Environment and contexts.
    public static native int InitEnvironmentWithConfig(int red, int green, int blue, int alpha);
    public static native int InitEnvironment();
    public static native void DeinitEnvironment(int environment);
    public static native void Environment_LogStatus(int environment);
    public static native int CreateContext(int environment, int red, int green, int blue, int alpha);
    public static native void DestroyContext(int context);
    public static native boolean Context_RunOnCurrentThread(int context);
    public static native boolean Context_RemoveFromCurrentThread(int context);

    // Windows and viewports.
    public static native int CreateWindow(int environment);
    public static native int CreateWindowByContext(int environment, int context);
    public static native void DestroyWindow(int window);
    public static native boolean Window_BindSurface(int window, Surface surface, int width, int height);
    public static native void Window_UnbindSurface(int window);
    public static native void Window_SetClearColor(int window, float r, float g, float b, float a);
    public static native int Window_GetDefaultViewport(int window);
    public static native boolean Window_Render(int window);
    public static native void Window_RenderWithoutPresent(int window);
    public static native boolean Window_Present(int window);
    public static native void Window_SetShowFrameInfoThreshold(int window, int threshold);
    /**
     * Batching (on by default) draws runs of meshes that share texture, program and blending with
     * one draw call each; off, every mesh is drawn on its own. The pixels are the same.
     */
    public static native void Window_SetBatching(int window, boolean enabled);
    /**
     * Partial redraw (off by default): each frame draws again only what changed since the picture
     * in the back buffer, and a frame in which nothing changed draws and swaps nothing. The pixels
     * are the same as whole frames'.
     */
    public static native void Window_SetPartialRedraw(int window, boolean enabled);
    /**
     * The error lines the engine logged on this thread during the most recent call, or null when
     * that call logged none: the first, which names the cause, and when another followed it, the
     * last, from the outermost step ("cause; outer"). Every other call clears them as it starts.
     */
    public static native String GetLastError();
    /** Indices into the array {@link #Window_GetFrameStatistics} fills. */
    public static final int STAT_MESHES = 0, STAT_DRAW_CALLS = 1, STAT_BATCHES = 2,
            STAT_TEXTURE_BINDS = 3, STAT_VERTICES = 4, STAT_TEXTURE_BYTES = 5,
            STAT_BREAK_TEXTURE = 6, STAT_BREAK_PROGRAM = 7, STAT_BREAK_BLEND = 8,
            STAT_BREAK_SCISSOR = 9, STAT_BREAK_TARGET = 10, STAT_BREAK_BLUR = 11,
            STAT_BREAK_CUSTOM = 12, STAT_BREAK_FULL = 13, STAT_WHOLE = 14,
            STAT_DAMAGED_PIXELS = 15, STAT_MESHES_SKIPPED = 16, STAT_FRAME_SKIPPED = 17,
            STAT_COUNT = 18;
    /** Values of {@link #STAT_WHOLE}: why a frame was drawn whole, or {@code WHOLE_NO}. */
    public static final int WHOLE_NO = 0, WHOLE_OFF = 1, WHOLE_FIRST = 2, WHOLE_BACK_BUFFER = 3,
            WHOLE_RESIZED = 4, WHOLE_CLEAR_COLOUR = 5, WHOLE_DAMAGE = 6, WHOLE_MEMORY = 7;
    /**
     * Fills {@code out} with what the window's last render drew: meshes, draw calls, batches,
     * texture binds, vertices, the bytes of all live GL textures, then how many batched runs each
     * cause ended (texture, program, blend, scissor, target, blur, custom material, full buffer),
     * then for partial redraw: why the frame was drawn whole ({@code WHOLE_*}), the window pixels
     * drawn again, the meshes left as they were, and 1 when nothing changed and nothing was drawn.
     * Returns the number of values written: 0 for a bad handle or a null array.
     */
    public static native int Window_GetFrameStatistics(int window, int[] out);
    /** The handle of the node whose content is under window pixel (x, y), or 0. */
    public static native int Window_HitTest(int window, int x, int y);
    /** Read the answer with {@link #getOutputVectorX} and {@link #getOutputVectorY}. */
    public static native boolean Window_QuerySceneNodeOriginPositionOnViewport(int window, int viewport, int node);
    public static native void Viewport_LinkCamera(int viewport, int camera);

    // Scenes, nodes and cameras.
    public static native int CreateScene(int environment);
    public static native void DestroyScene(int scene);
    public static native int Scene_GetDefaultCamera(int scene);
    public static native int Scene_GetRootNode(int scene);
    public static native int CreateSceneNode(int environment);
    public static native void DestroySceneNode(int node);
    public static native void DestroySprite(int sprite);
    public static native void DestroyScissor(int scissor);
    public static native boolean SceneNode_AddChild(int parent, int child);
    public static native void SceneNode_RemoveChild(int parent, int child);
    public static native void SceneNode_SetVisible(int node, boolean visible);
    public static native boolean SceneNode_GetVisible(int node);
    public static native void SceneNode_SetChildrenRenderOrderMode(int node, int mode);
    public static native int SceneNode_GetChildrenRenderOrderMode(int node);
    public static native void SceneNode_SetRenderOrder(int node, int order);
    public static native int SceneNode_GetRenderOrder(int node);
    public static native void SceneNode_SetScale(int node, float x, float y, float z);
    public static native void SceneNode_SetRotate(int node, float x, float y, float z);
    public static native void SceneNode_SetPosition(int node, float x, float y, float z);
    public static native void SceneNode_SetGroupAlpha(int node, float alpha);
    public static native void SceneNode_SetUserData(int node, int value);
    public static native int SceneNode_GetUserData(int node);
    public static native void SceneNode_SetUserFlag(int node, int value);
    public static native int SceneNode_GetUserFlag(int node);
    public static native boolean SceneNode_AddPartialSceneRenderFlag(int node, int flag, boolean recursive);
    public static native boolean SceneNode_RemovePartialSceneRenderFlag(int node, int flag, boolean recursive);
    public static native void Camera_2DIsometricSetup(int camera, float fov, float zNear, float zFar);

    // Sprites, blur sprites and scissors.
    public static native int CreateSpriteWithConfig(int environment, int layersCount, boolean layerZeroOnTop);
    public static native int CreateSprite(int environment, int layersCount);
    public static native int CreateBlurSprite(int environment);
    public static native void DestroyBlurSprite(int blurSprite);
    public static native boolean BlurSprite_SetTexture(int blurSprite, int context, int texture, float maxBlur);
    public static native boolean BlurSprite_SetBlurParameter(int blurSprite, int context, float blur);
    public static native boolean Sprite_SetupGeometry(int sprite, int layer, float width, float height,
            float anchorX, float anchorY, float anchorZ);
    public static native boolean Sprite_SetTexture(int sprite, int layer, int index, int texture);
    public static native boolean Sprite_SetTextureCoordinatesBy2P(int sprite, int layer,
            float u1, float v1, float u2, float v2);
    public static native boolean Sprite_SetTextureCoordinatesBy4P(int sprite, int layer,
            float u1, float v1, float u2, float v2, float u3, float v3, float u4, float v4);
    public static native void Sprite_SetLayerVisible(int sprite, int layer, boolean visible);
    public static native void Sprite_SetLayerRenderable(int sprite, int layer, boolean renderable);
    public static native void Sprite_SetLayerTouchable(int sprite, int layer, boolean touchable);
    /** Only the low 8 bits of each component count. */
    public static native void Sprite_SetColor(int sprite, int layer, int r, int g, int b);
    public static native void Sprite_SetAlpha(int sprite, int layer, int alpha);
    public static native void Sprite_SetRGBOperation(int sprite, int layer, int operation);
    public static native void Sprite_EnableColorBlending(int sprite, int layer, boolean enabled);
    public static native void Sprite_SetTouchable(int sprite, boolean touchable);
    public static native int CreateScissor(int environment);
    public static native void Scissor_SetArea(int scissor, int x, int y, int width, int height);

    // Bitmap objects, textures, snapshots.
    public static native int CreateBitmap(int environment);
    public static native void DestroyBitmap(int bitmap);
    /** Copies a Java bitmap in; a texture handle + 1 uploads it to that texture instead. */
    public static native boolean Bitmap_Set(int bitmap, android.graphics.Bitmap javaBitmap);
    public static native boolean Bitmap_SetAndConvert(int bitmap, android.graphics.Bitmap javaBitmap,
            int pixelFormat, int width, int height, int edges);
    public static native int CreateTexture(int environment);
    public static native void DestroyTexture(int texture);
    /** The GL name of a new external texture, for an image stream to feed. */
    public static native int Texture_SetupOESTexture(int texture);
    public static native boolean Texture_SetOESTextureTransform(int texture, float m0, float m1,
            float m2, float m3, float m4, float m5, float m6, float m7, float m8, float m9,
            float m10, float m11, float m12, float m13, float m14, float m15);
    /** Any thread: queues the bitmap for the render thread's next upload. */
    public static native boolean Texture_SetupByBitmap(int texture, int bitmap, boolean swap);
    public static native boolean Texture_SetupByBitmap_InRenderThread(int texture, int bitmap, boolean swap);
    public static native boolean Texture_SetupByNativeBitmap(int texture, int nativeBitmap, boolean swap);
    public static native boolean Texture_SetupByNativeBitmapAndRealize(int texture, int nativeBitmap);
    public static native boolean Texture_SetupByAndroidBitmapAndRealize(int texture,
            android.graphics.Bitmap javaBitmap);
    public static native boolean Texture_Realize(int texture);
    /** Slots: 0 cleared by every setup, 1 texture size (width << 16 | height), 2 content size. */
    public static native void Texture_RecordInfo(int texture, int index, int value);
    public static native int Texture_QueryInfo(int texture, int index);
    public static native boolean Texture_RealizeBlankTexture(int texture, int pixelFormat, int width, int height);
    public static native boolean Texture_RealizeSubTexture(int texture, int desX, int desY,
            android.graphics.Bitmap javaBitmap, int srcX, int srcY, int srcWidth, int srcHeight);
    public static native boolean Texture_RealizeBorder(int texture, int x, int y, int width, int height,
            int thickness, int color);
    /** The window's current surface (x, y from the bottom left; all 0: whole) as a new bitmap. */
    public static native android.graphics.Bitmap Window_NativeGetSnapshot(int window, int x, int y,
            int width, int height);
    public static native boolean Window_NativeRenderPartialSceneToTexture(int window, int texture,
            int part, int x, int y, int width, int height, boolean includeHidden);
    public static native boolean Window_NativeRenderOESTextureToTexture(int window, int source,
            int target, float left, float top, float right, float bottom);

    // Pixel formats, as the native side codes them.
    public static final int PIXEL_FORMAT_RGB565 = 0x25650;
    public static final int PIXEL_FORMAT_RGBA5551 = 0x25551;
    public static final int PIXEL_FORMAT_RGB888 = 0x38880;
    public static final int PIXEL_FORMAT_RGBA8888 = 0x148888;

    // Beyond the documented natives: what the object layer offers.
    /** Adds a child after its siblings: drawn over them, hit before them. */
    public static native boolean SceneNode_AddChildOnTop(int parent, int child);
    /** Moves a node over all its siblings ({@code onTop}) or under them; false without a parent. */
    public static native boolean SceneNode_Restack(int node, boolean onTop);
    /** Fills 9 floats: position x, y, z, rotation about x, y, z (degrees), scale x, y, z. */
    public static native boolean SceneNode_GetTransform(int node, float[] out);
    /**
     * Where the hit-test ray through window pixel (x, y) (from the top left, y down) meets the plane
     * z = 0 of {@code node}, in its coordinates; node 0 gives the scene's coordinates. Fills 2 floats.
     */
    public static native boolean Window_PointOnPlane(int window, int node, int x, int y, float[] out);
    /** The surface's own size as (width &lt;&lt; 16) | height, or 0 when it has none. */
    public static native int Surface_GetSize(Surface surface);
    /**
     * Begins an update: until the matching {@link #Environment_EndUpdate} on the same thread, no
     * other thread's call runs, so a frame drawn elsewhere shows all of the update or none of it.
     * Updates nest. A frame waiting behind an update left open for 2 s logs why and gives up.
     */
    public static native boolean Environment_BeginUpdate(int environment);
    /** Ends the innermost update of this thread; false, with a line, when none is open. */
    public static native boolean Environment_EndUpdate(int environment);
    /** Linear (the default) or nearest filtering, from the next draw of the texture on. */
    public static native boolean Texture_SetFilter(int texture, boolean linear);
    /**
     * Destroys the context's EGL context, and with it every GL object, under the engine, so that
     * the next EGL call reports the loss exactly as a GPU reset does: the way to test an app's
     * handling of a lost context. That call (the next frame, usually) gives up its work and makes
     * a new context; textures, programs and buffers are made again as they are next needed.
     */
    public static native boolean Context_SimulateLoss(int context);
    /** How many losses the context has met and replaced itself after; 0 for a bad handle. */
    public static native int Context_GetLossCount(int context);
    /**
     * Whether the texture's picture went with a lost context and nothing has been uploaded or
     * queued since: it draws untextured until the app supplies it again.
     */
    public static native boolean Texture_IsLost(int texture);

    // The shared output vector.
    public static native float getOutputVectorX();
    public static native float getOutputVectorY();
    public static native float getOutputVectorZ();
}
