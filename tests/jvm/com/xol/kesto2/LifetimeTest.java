package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import com.xol.kesto2.test.Session;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.List;
import org.junit.Test;
import org.junit.runner.RunWith;
import org.junit.runners.Parameterized;
import org.junit.runners.Parameterized.Parameters;

/**
 * Misuse the engine cannot prevent: loops in the tree, objects destroyed while others still use
 * them, an environment deinitialised with everything alive, failed off-screen renders, sizes
 * beyond what GL takes. Each case runs on a fresh window showing one red sprite, ends with the
 * environment taking the leftovers, and must leave its line, a defined picture and zero counts.
 */
@RunWith(Parameterized.class)
public class LifetimeTest {
    private static final int RED = 0xFFFF0000, GREEN = 0xFF00FF00, BLUE = 0xFF0000FF;

    /** A 64x64 window with a blue background and a red-textured sprite (green untextured). */
    static final class Stage {
        final Session session = new Session(false, 64, 64);
        final int env = session.env;
        final int context = session.context;
        final int window = session.window;
        final Surface surface = session.surface;
        final int scene = Kesto2.CreateScene(env);
        final int root = Kesto2.Scene_GetRootNode(scene);
        final int sprite = Kesto2.CreateSprite(env, 1);
        final int texture = Kesto2.CreateTexture(env);

        Stage() {
            Kesto2.Window_SetClearColor(window, 0f, 0f, 1f, 1f);
            Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(window),
                    Kesto2.Scene_GetDefaultCamera(scene));
            Bitmap red = Bitmap.createBitmap(16, 16, Bitmap.Config.ARGB_8888);
            red.eraseColor(RED);
            assertTrue(Kesto2.Texture_SetupByAndroidBitmapAndRealize(texture, red));
            Kesto2.Sprite_SetColor(sprite, 0, 0, 255, 0);
            assertTrue(Kesto2.Sprite_SetupGeometry(sprite, 0, 20f, 20f, 0f, 0f, 0f));
            assertTrue(Kesto2.Sprite_SetTexture(sprite, 0, 0, texture));
            assertTrue(Kesto2.SceneNode_AddChild(root, sprite));
            assertEquals(RED, centre());
        }

        int centre() {
            Kesto2.Window_RenderWithoutPresent(window);
            Bitmap shot = Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0);
            return shot == null ? 0 : shot.getPixel(32, 32);
        }
    }

    interface Case {
        void run(Stage stage);
    }

    @Parameters(name = "{0}")
    public static Collection<Object[]> cases() {
        return Arrays.asList(new Object[][] {
            {"a node under itself or its descendant", "addChild NG - the child is this node or one of its ancestors",
                (Case) s -> {
                    int node = Kesto2.CreateSceneNode(s.env);
                    assertFalse(Kesto2.SceneNode_AddChild(s.sprite, s.sprite));
                    assertTrue(Kesto2.SceneNode_AddChild(s.sprite, node));
                    assertFalse(Kesto2.SceneNode_AddChild(node, s.root));
                    assertEquals(RED, s.centre());
                }},
            {"texture destroyed under a sprite", null, (Case) s -> {
                Kesto2.DestroyTexture(s.texture);
                assertEquals("drawn untextured", GREEN, s.centre());
            }},
            {"scene destroyed under a viewport", null, (Case) s -> {
                Kesto2.DestroyScene(s.scene);
                assertEquals(BLUE, s.centre());
                assertEquals(0, Kesto2.Window_HitTest(s.window, 32, 32));
            }},
            {"context destroyed under a window", "bindSurface NG - the window's context was destroyed",
                (Case) s -> {
                    Kesto2.DestroyContext(s.context);
                    assertFalse(Kesto2.Window_Render(s.window));
                    assertFalse(Kesto2.Window_BindSurface(s.window, s.surface, 64, 64));
                    assertFalse(Kesto2.Window_NativeRenderOESTextureToTexture(s.window, s.texture, s.texture, 0f, 0f, 1f, 1f));
                    assertEquals(0, s.centre());
                }},
            {"blur chain dropped under its material", "setTexture NG - maxBlur inf above the limit 48.000000",
                (Case) s -> {
                    int blur = Kesto2.CreateBlurSprite(s.env);
                    assertTrue(Kesto2.SceneNode_AddChild(s.root, blur));
                    Kesto2.SceneNode_SetPosition(blur, 1000f, 0f, 0f);  // drawn, but off the window
                    assertTrue(Kesto2.BlurSprite_SetTexture(blur, s.context, s.texture, 6f));
                    assertTrue(Kesto2.BlurSprite_SetBlurParameter(blur, s.context, 6f));
                    int tiny = Kesto2.CreateTexture(s.env);  // too small for a chain of three halvings
                    assertTrue(Kesto2.Texture_RealizeBlankTexture(tiny, Kesto2.PIXEL_FORMAT_RGBA8888, 1, 1));
                    assertFalse(Kesto2.BlurSprite_SetTexture(blur, s.context, tiny, 6f));
                    assertEquals(RED, s.centre());
                    assertFalse(Kesto2.BlurSprite_SetTexture(blur, s.context, s.texture, Float.POSITIVE_INFINITY));
                    assertTrue(Kesto2.BlurSprite_SetTexture(blur, s.context, s.texture, 3f));
                    Kesto2.DestroyTexture(s.texture);
                    assertFalse(Kesto2.BlurSprite_SetBlurParameter(blur, s.context, 0f));
                    assertEquals(GREEN, s.centre());
                }},
            {"failed render to texture", "toggleRenderToTexture NG createRenderTexture failed", (Case) s -> {
                int empty = Kesto2.CreateTexture(s.env);
                Kesto2.Texture_RecordInfo(empty, 1, 16 << 16 | 16);
                assertFalse(Kesto2.Window_NativeRenderPartialSceneToTexture(s.window, empty, 1, 0, 0, 64, 64, false));
                assertEquals("drawn into the window again", RED, s.centre());
            }},
            {"scissor beyond any screen", "Scissor_SetArea NG - area (-2147483648, 2147483647, 100, 100) has a "
                    + "negative size or a value beyond +-16777216", (Case) s -> {
                int scissor = Kesto2.CreateScissor(s.env);
                Kesto2.Scissor_SetArea(scissor, Integer.MIN_VALUE, Integer.MAX_VALUE, 100, 100);
                Kesto2.Scissor_SetArea(scissor, 0, 0, 64, 64);
                Kesto2.SceneNode_RemoveChild(s.root, s.sprite);
                assertTrue(Kesto2.SceneNode_AddChild(s.root, scissor));
                assertTrue(Kesto2.SceneNode_AddChild(scissor, s.sprite));
                assertEquals(RED, s.centre());
            }},
            {"texture beyond the context's limit", "GL_MAX_TEXTURE_SIZE", (Case) s -> {
                int wide = NativeBitmap.Native_createBitmap();
                assertTrue(NativeBitmap.Native_setBitmap(wide, Kesto2.PIXEL_FORMAT_RGB565, 65534, 1, new byte[65534 * 2]));
                assertFalse(Kesto2.Texture_SetupByNativeBitmapAndRealize(s.texture, wide));
                NativeBitmap.Native_destroyBitmap(wide);
            }},
        });
    }

    private final String expected;
    private final Case action;

    public LifetimeTest(String name, String expected, Case action) {
        this.expected = expected;
        this.action = action;
    }

    @Test
    public void definedOutcomeAndNothingLeft() {
        Stage stage = new Stage();
        List<String> lines;
        try (NativeLog log = new NativeLog()) {
            action.run(stage);
            lines = log.lines();
        }
        if (expected != null) {
            assertTrue(expected + " not in " + lines, lines.stream().anyMatch(line -> line.contains(expected)));
        }
        List<String> status = stage.session.end();
        assertTrue(status.toString(), status.stream().anyMatch(line -> line.startsWith(
                "KestoJNI E DeinitEnvironment - ") && line.endsWith("are still alive: destroyed with it")));
        assertEquals(status.toString(), Collections.emptyList(), Session.missingZeros(status));
        try (NativeLog log = new NativeLog()) {
            assertEquals(0, Kesto2.Window_HitTest(stage.window, 32, 32));
            assertTrue(log.lines().toString(), log.has("KestoJNI", 'E', "Window_HitTest NG - unknown handle " + stage.window));
        }
    }
}
