package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.test.LowMemory;
import com.xol.kesto2.test.NativeLog;
import com.xol.kesto2.test.Session;
import java.util.Collections;
import org.junit.Test;

/**
 * Memory running out: a scene built, drawn on both paths, read back and hit-tested through Kesto2,
 * once per allocation it makes, that allocation failing. Every call answers, and nothing is left
 * once the environment is deinitialised; the asan copy of this test checks every path it takes.
 */
public class AllocationFaultTest {
    private static void drawEverything(Bitmap pixels) {
        int env = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        int context = Kesto2.CreateContext(env, 8, 8, 8, 0);
        Kesto2.Context_RunOnCurrentThread(context);
        Kesto2.CreateWindow(env);  // on the environment's own context
        int window = Kesto2.CreateWindowByContext(env, context);
        Surface surface = new Surface(64, 64);
        Kesto2.Window_BindSurface(window, surface, 64, 64);
        int scene = Kesto2.CreateScene(env);
        int root = Kesto2.Scene_GetRootNode(scene);
        Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(window), Kesto2.Scene_GetDefaultCamera(scene));
        int[] textures = {Kesto2.CreateTexture(env), Kesto2.CreateTexture(env), Kesto2.CreateTexture(env)};
        Kesto2.Texture_SetupByAndroidBitmapAndRealize(textures[0], pixels);
        int bitmap = Kesto2.CreateBitmap(env);
        Kesto2.Bitmap_Set(bitmap, pixels);
        Kesto2.Texture_SetupByBitmap(textures[1], bitmap, true);
        int nativeBitmap = NativeBitmap.Native_createBitmap();
        NativeBitmap.Native_setBitmap(nativeBitmap, Kesto2.PIXEL_FORMAT_RGB565, 4, 4, new byte[32]);
        Kesto2.Texture_SetupByNativeBitmapAndRealize(textures[2], nativeBitmap);
        int sprite = Kesto2.CreateSprite(env, 2);
        Kesto2.Sprite_SetTexture(sprite, 0, 0, textures[0]);
        Kesto2.Sprite_SetTexture(sprite, 1, 0, textures[1]);
        int scissor = Kesto2.CreateScissor(env);
        Kesto2.Scissor_SetArea(scissor, 0, 0, 40, 40);
        int blur = Kesto2.CreateBlurSprite(env);
        Kesto2.BlurSprite_SetTexture(blur, context, textures[0], 6f);
        Kesto2.BlurSprite_SetBlurParameter(blur, context, 3f);
        Kesto2.SceneNode_AddChild(root, sprite);
        Kesto2.SceneNode_AddChild(root, scissor);
        Kesto2.SceneNode_AddChild(scissor, blur);
        Kesto2.SceneNode_AddPartialSceneRenderFlag(sprite, 2, true);
        Kesto2.Window_Render(window);
        Kesto2.Window_SetBatching(window, false);
        Kesto2.Window_Render(window);
        Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0);
        Kesto2.Window_NativeRenderPartialSceneToTexture(window, textures[2], 2, 0, 0, 64, 64, false);
        Kesto2.Window_HitTest(window, 32, 32);
        Kesto2.DestroySprite(sprite);
        Kesto2.DestroyBitmap(bitmap);  // a bitmap may outlive its environment
        NativeBitmap.Native_destroyBitmap(nativeBitmap);
        Kesto2.DeinitEnvironment(env);  // and everything else with it
        surface.release();
    }

    @Test
    public void eachAllocationFailingInTurnLeavesNothing() {
        Bitmap pixels = Bitmap.createBitmap(8, 8, Bitmap.Config.ARGB_8888);
        pixels.eraseColor(0xFF336699);
        drawEverything(pixels);  // loads the engine, and Mesa's allocations happen once
        assertEquals("the engine's allocation counter", 0, LowMemory.failAllocation(0));
        int failed = 0;
        for (boolean reached = true; reached; ++failed) {
            try (NativeLog quiet = new NativeLog()) {
                LowMemory.failAllocation(failed + 1);
                drawEverything(pixels);
                reached = LowMemory.failAllocation(0) == 0;
            }
            assertEquals("allocation " + (failed + 1), Collections.emptyList(), Session.countsLeftAfterFailures());
        }
        assertTrue(failed + " allocations", failed > 100);
    }
}
