package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import com.xol.kesto2.test.NativeLog;
import com.xol.kesto2.test.Session;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import org.junit.AfterClass;
import org.junit.BeforeClass;
import org.junit.Test;

/**
 * The binding's own refusals, and good handles with bad everything else: negative and huge sizes,
 * sizes whose byte counts overflow 32 bits, null objects and recycled bitmaps. Each call gives a
 * neutral result, the bad ones with their message, and nothing is left allocated.
 */
public class BindingMessagesTest {
    private static final int[] BAD_SIZES = {-1, Integer.MIN_VALUE, Integer.MAX_VALUE, 70000, 1 << 16};
    private static Session session;
    private static int env;

    @BeforeClass
    public static void setUp() {
        session = new Session(false, 64, 64);
        env = session.env;
    }

    @AfterClass
    public static void tearDown() {
        List<String> lines = session.end();
        assertEquals(lines.toString(), Collections.emptyList(), Session.missingZeros(lines));
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
    public void creationRefusals() {
        try (NativeLog log = new NativeLog()) {
            assertEquals(0, Kesto2.CreateSprite(env, 0));
            assertEquals(0, Kesto2.CreateSpriteWithConfig(env, -3, true));
            assertEquals(0, Kesto2.CreateBlurSprite(0));
            assertEquals(0, Kesto2.CreateWindow(0));
            assertEquals(0, Kesto2.CreateScene(0));
            assertEquals(
                    Arrays.asList("CreateSprite NG - error layersCount 0",
                            "CreateSprite NG - error layersCount -3",
                            "BlurSprite_CreateBlurSprite NG - environment 0"),
                    log.messages("KestoJNI").subList(0, 3));
            assertEquals(3, log.messages("KestoJNI").size());
        }
    }

    @Test
    public void layerAndNodeRefusals() {
        int sprite = Kesto2.CreateSprite(env, 2);
        try (NativeLog log = new NativeLog()) {
            Kesto2.Sprite_SetColor(sprite, 5, 1, 2, 3);
            Kesto2.Sprite_SetAlpha(sprite, 2, 1);
            Kesto2.Sprite_SetRGBOperation(sprite, -1, 1);
            Kesto2.Sprite_EnableColorBlending(sprite, 7, true);
            Kesto2.Sprite_SetLayerVisible(sprite, 9, true);
            Kesto2.Sprite_SetLayerRenderable(sprite, 9, true);
            Kesto2.Sprite_SetLayerTouchable(sprite, 9, true);
            assertFalse(Kesto2.Sprite_SetTexture(sprite, 4, 0, 0));
            assertFalse(Kesto2.Sprite_SetTexture(sprite, 0, 1, 0));
            assertFalse(Kesto2.SceneNode_AddPartialSceneRenderFlag(0, 1, true));
            assertFalse(Kesto2.SceneNode_RemovePartialSceneRenderFlag(0, 1, false));
            assertEquals(Arrays.asList("Sprite_SetColor NG - no layer material 5",
                    "Sprite_SetAlpha NG - no layer material 2",
                    "SetRGBOperation NG - no layer material -1",
                    "EnableColorBlending NG - no layer material 7",
                    "Sprite_SetVisible NG - no layer mesh 9",
                    "Sprite_SetLayerRenderable NG - no layer mesh 9",
                    "Sprite_SetLayerTouchable NG - no layer mesh 9",
                    "Sprite_SetTexture NG - no layer material 4",
                    "Sprite_SetTexture NG - setTexture 1",
                    "SceneNode_SetPartialSceneRenderFlag NG - node is null",
                    "SceneNode_RemovePartialSceneRenderFlag NG - node is null"),
                    log.messages("KestoJNI"));
            assertTrue(log.has("KestoSprite", 'E', "getLayerMaterial index NG 5"));
        }
        Kesto2.DestroySprite(sprite);
    }

    @Test
    public void blurSpriteRefusals() {
        int blur = Kesto2.CreateBlurSprite(env);
        assertNotEquals(0, blur);
        try (NativeLog log = new NativeLog()) {
            assertFalse(Kesto2.BlurSprite_SetTexture(blur, 0, 0, 0f));
            assertFalse(Kesto2.BlurSprite_SetBlurParameter(blur, 0, 1f));
            assertEquals(Arrays.asList(
                    "BlurSprite_SetTexture NG context0, sprite" + blur + ", texture0, maxBlur:0.000000",
                    "BlurSprite_SetBlurParameter NG context0, sprite" + blur),
                    log.messages("KestoJNI"));
        }
        Kesto2.DestroyBlurSprite(blur);
    }

    @Test
    public void imageRefusalsNameTheirCause() {
        int window = Kesto2.CreateWindowByContext(env, session.context);  // with no surface
        int texture = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, 16));
        Bitmap unsupported = Bitmap.createBitmap(4, 4, Bitmap.Config.ARGB_4444);
        try (NativeLog log = new NativeLog()) {
            assertNull(Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0));
            assertFalse(Kesto2.Texture_RealizeSubTexture(texture, 0, 0, unsupported, 1, 0, 2, 2));
            assertEquals(Arrays.asList("Window_GetSnapshot: dataptr = null",
                    "Texture_RealizeSubTexture realizeSubTexture NG"), log.messages("KestoJNI"));
        }
        Kesto2.DestroyTexture(texture);
        Kesto2.DestroyWindow(window);
    }

    @Test
    public void embeddedObjectsGoWithTheirOwner() {
        int scene = Kesto2.CreateScene(env);
        int root = Kesto2.Scene_GetRootNode(scene);
        int camera = Kesto2.Scene_GetDefaultCamera(scene);
        try (NativeLog log = new NativeLog()) {
            Kesto2.DestroySceneNode(root);
            Kesto2.DestroySceneNode(camera);
            assertEquals(2, log.messages("KestoJNI").size());
            assertTrue(log.messages("KestoJNI").get(0).startsWith("DestroySceneNode NG - handle " + root));
        }
        int child = Kesto2.CreateSceneNode(env);
        assertTrue("the root still works", Kesto2.SceneNode_AddChild(root, child));
        Kesto2.DestroyScene(scene);
        try (NativeLog log = new NativeLog()) {
            assertFalse(Kesto2.SceneNode_AddChild(root, child));
            assertEquals(Arrays.asList("SceneNode_AddChild NG - unknown handle " + root),
                    log.messages("KestoJNI"));
        }
        Kesto2.DestroySceneNode(child);
    }

    @Test
    public void sizesFromCallersAreRefused() {
        List<String> before = session.status();
        int texture = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, 16));
        for (int size : BAD_SIZES) {
            String s = " with " + size;
            refused("CreateSprite" + s, () -> assertEquals(0, Kesto2.CreateSprite(env, size)));
            refused("blank texture" + s, () -> assertFalse(
                    Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, size, 16)));
            refused("blank texture height" + s, () -> assertFalse(
                    Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, size)));
            refused("snapshot" + s, () -> assertNull(Kesto2.Window_NativeGetSnapshot(session.window, 0, 0, size, 10)));
            if (size < 0) {  // a large region only scales the picture; it allocates nothing
                refused("partial scene" + s, () -> assertFalse(
                        Kesto2.Window_NativeRenderPartialSceneToTexture(session.window, texture, 1, 0, 0, size, size, false)));
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
        Kesto2.DestroyTexture(texture);
        assertEquals(before, session.status());
    }
}
