package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertTrue;

import com.xol.kesto2.test.NativeLog;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

/** The binding's own refusals: each with its message and a neutral result. */
public class BindingMessagesTest {
    private int env;

    @Before
    public void setUp() {
        env = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        assertNotEquals(0, env);
    }

    @After
    public void tearDown() {
        Kesto2.DeinitEnvironment(env);
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
                    java.util.Arrays.asList("CreateSprite NG - error layersCount 0",
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
            assertEquals(java.util.Arrays.asList("Sprite_SetColor NG - no layer material 5",
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
            assertEquals(java.util.Arrays.asList(
                    "BlurSprite_SetTexture NG context0, sprite" + blur + ", texture0, maxBlur:0.000000",
                    "BlurSprite_SetBlurParameter NG context0, sprite" + blur),
                    log.messages("KestoJNI"));
        }
        Kesto2.DestroyBlurSprite(blur);
    }

    @Test
    public void imageRefusalsNameTheirCause() {
        int context = Kesto2.CreateContext(env, 8, 8, 8, 0);
        assertTrue(Kesto2.Context_RunOnCurrentThread(context));
        int window = Kesto2.CreateWindowByContext(env, context);
        int texture = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 16, 16));
        android.graphics.Bitmap unsupported =
                android.graphics.Bitmap.createBitmap(4, 4, android.graphics.Bitmap.Config.ARGB_4444);
        try (NativeLog log = new NativeLog()) {
            assertEquals(null, Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0));  // no surface
            assertFalse(Kesto2.Texture_RealizeSubTexture(texture, 0, 0, unsupported, 1, 0, 2, 2));
            assertEquals(java.util.Arrays.asList("Window_GetSnapshot: dataptr = null",
                    "Texture_RealizeSubTexture realizeSubTexture NG"), log.messages("KestoJNI"));
        }
        Kesto2.DestroyTexture(texture);
        Kesto2.DestroyWindow(window);
        Kesto2.DestroyContext(context);
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
            assertEquals(java.util.Arrays.asList("SceneNode_AddChild NG - unknown handle " + root),
                    log.messages("KestoJNI"));
        }
        Kesto2.DestroySceneNode(child);
    }
}
