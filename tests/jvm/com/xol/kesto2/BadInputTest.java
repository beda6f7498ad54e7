package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import java.util.List;
import org.junit.AfterClass;
import org.junit.BeforeClass;
import org.junit.Test;

/**
 * Good handles with bad everything else: negative and huge sizes, sizes whose byte counts overflow
 * 32 bits, null objects and recycled bitmaps. Each call gives a neutral result, the bad ones
 * with their message, and nothing is left allocated.
 */
public class BadInputTest {
    private static final int[] BAD_SIZES = {-1, Integer.MIN_VALUE, Integer.MAX_VALUE, 70000, 1 << 16};
    private static int env;
    private static int context;
    private static int window;
    private static int texture;
    private static int bitmap;
    private static Surface surface;

    @BeforeClass
    public static void setUp() {
        env = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        context = Kesto2.CreateContext(env, 8, 8, 8, 0);
        assertTrue(Kesto2.Context_RunOnCurrentThread(context));
        window = Kesto2.CreateWindowByContext(env, context);
        surface = new Surface(64, 64);
        assertTrue(Kesto2.Window_BindSurface(window, surface, 64, 64));
        texture = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, 16));
        bitmap = Kesto2.CreateBitmap(env);
    }

    @AfterClass
    public static void tearDown() {
        Kesto2.DestroyBitmap(bitmap);
        Kesto2.DestroyTexture(texture);
        Kesto2.DestroyWindow(window);
        surface.release();
        Kesto2.DestroyContext(context);
        Kesto2.DeinitEnvironment(env);
    }

    private static List<String> status() {
        try (NativeLog log = new NativeLog()) {
            Kesto2.Environment_LogStatus(env);
            NativeBitmap.Native_printResourceLog();
            return log.lines();
        }
    }

    /** Runs `call` expecting a refusal: it must log an error (native bitmaps log theirs as debug). */
    private static void refused(String what, Runnable call) {
        try (NativeLog log = new NativeLog()) {
            call.run();
            boolean error = false;
            for (String line : log.lines()) {
                error |= line.contains(" E ") || line.startsWith("SNATIVEBITMAP D ") && line.contains(" NG");
            }
            assertTrue(what + ": no error line in " + log.lines(), error);
        }
    }

    @Test
    public void sizesFromCallersAreRefused() {
        List<String> before = status();
        for (int size : BAD_SIZES) {
            String s = " with " + size;
            refused("CreateSprite" + s, () -> assertEquals(0, Kesto2.CreateSprite(env, size)));
            refused("blank texture" + s, () -> assertFalse(
                    Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, size, 16)));
            refused("blank texture height" + s, () -> assertFalse(
                    Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, size)));
            refused("snapshot" + s, () -> assertNull(Kesto2.Window_NativeGetSnapshot(window, 0, 0, size, 10)));
            if (size < 0) {  // a large region only scales the picture; it allocates nothing
                refused("partial scene" + s, () -> assertFalse(
                        Kesto2.Window_NativeRenderPartialSceneToTexture(window, texture, 1, 0, 0, size, size, false)));
            }
            refused("border" + s, () -> assertFalse(Kesto2.Texture_RealizeBorder(texture, 0, 0, size, 4, 1, 0)));
            refused("info index" + s, () -> assertEquals(0, Kesto2.Texture_QueryInfo(texture, size)));
            Bitmap small = Bitmap.createBitmap(2, 2, Bitmap.Config.ARGB_8888);
            refused("sub-texture" + s, () -> assertFalse(
                    Kesto2.Texture_RealizeSubTexture(texture, 0, 0, small, 0, 0, size, 1)));
            int nativeBitmap = NativeBitmap.Native_createBitmap();
            refused("native bitmap" + s, () -> assertFalse(NativeBitmap.Native_setBitmap(nativeBitmap,
                    Kesto2.PIXEL_FORMAT_RGBA8888, size, size, new byte[16])));
            NativeBitmap.Native_destroyBitmap(nativeBitmap);
        }
        // Byte counts that overflow 32 bits although each side is plausible.
        int nativeBitmap = NativeBitmap.Native_createBitmap();
        refused("native bitmap 65535 x 65535", () -> assertFalse(NativeBitmap.Native_setBitmap(nativeBitmap,
                Kesto2.PIXEL_FORMAT_RGBA8888, 65535, 65535, new byte[16])));
        NativeBitmap.Native_destroyBitmap(nativeBitmap);
        assertEquals(before, status());
    }

}
