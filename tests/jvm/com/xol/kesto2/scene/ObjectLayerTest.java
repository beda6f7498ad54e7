package com.xol.kesto2.scene;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertSame;
import static org.junit.Assert.assertTrue;
import static org.junit.Assert.fail;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.test.NativeLog;
import java.util.List;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

/** The object layer: lifecycles, the engine's words in exceptions, and what a shell answers. */
public class ObjectLayerTest {
    private final Surface surface = new Surface(200, 200);
    private Engine engine;

    @Before
    public void open() {
        engine = new Engine();
    }

    @After
    public void closeAndCount() {
        List<String> status;
        try (NativeLog log = new NativeLog()) {
            engine.close();
            status = log.lines();
        }
        surface.release();
        assertTrue(status.toString(), status.contains("KestoEnv I new 0"));
        assertTrue(status.contains("KestoEnv I Texture 0 GL 0 0"));
        assertFalse("nothing was left for the engine to destroy: " + status,
                status.stream().anyMatch(line -> line.contains("still alive")));
    }

    private static void assertThrows(Class<? extends RuntimeException> type, String message, Runnable call) {
        try {
            call.run();
            fail("no " + type.getSimpleName() + ", expected: " + message);
        } catch (RuntimeException thrown) {
            assertSame(thrown.toString(), type, thrown.getClass());
            assertEquals(message, thrown.getMessage());
        }
    }

    @Test
    public void closingTwiceInAnyOrderAndUseAfterClose() {
        Window window = new Window(engine, surface, 200, 200);
        Scene scene = new Scene(engine);
        Texture texture = new Texture(engine).allocate(PixelFormat.RGBA8888, 4, 4);
        Sprite sprite = new Sprite(engine, 1).setTexture(0, texture);
        scene.root().add(sprite);
        window.show(scene);
        // Users before what they use, and the other way round: both are safe.
        texture.close();
        scene.close();
        window.render();  // the window's camera went with the scene: the frame stays cleared
        window.close();
        window.close();
        assertTrue(window.isClosed());
        assertThrows(IllegalStateException.class, "Window is closed", window::render);
        assertThrows(IllegalStateException.class, "Texture is closed", () -> sprite.setTexture(0, texture));
        sprite.close();
    }

    @Test
    public void closingTheEngineEndsEveryObjectOfIt() {
        Sprite sprite = new Sprite(engine, 2);
        NativeImage image = new NativeImage();  // belongs to no engine
        engine.close();
        assertTrue(sprite.isClosed());
        assertThrows(IllegalStateException.class, "Sprite's engine is closed", () -> sprite.setAlpha(0, 1));
        assertThrows(IllegalStateException.class, "Engine is closed", () -> new Scene(engine));
        sprite.close();  // nothing left to destroy: no error
        assertEquals(3, image.set(PixelFormat.RGB565, 3, 1, new byte[6]).width());
        image.close();
        engine = new Engine();  // for the count at tear-down
    }

    @Test
    public void failuresCarryTheEnginesLine() {
        Sprite sprite = new Sprite(engine, 1);
        Node group = new Node(engine).add(sprite);
        BlurSprite blur = new BlurSprite(engine);
        Texture texture = new Texture(engine).allocate(PixelFormat.RGBA8888, 8, 8);
        Scissor scissor = new Scissor(engine);
        Bitmap wide = Bitmap.createBitmap(17000, 2, Bitmap.Config.ARGB_8888);
        Object[][] cases = {
            // The first line names the cause, the last what failed.
            {(Runnable) () -> sprite.setTexture(3, texture),
                "getLayerMaterial index NG 3; Sprite_SetTexture NG - no layer material 3"},
            {(Runnable) () -> {
                try (Texture large = new Texture(engine)) {
                    large.upload(wide);
                }
            }, "texture 17000x2 NG - larger than the context's "
                + "GL_MAX_TEXTURE_SIZE 16384; Texture_SetupByAndroidBitmapAndRealize setupByRawBufferAndRealize NG"},
            {(Runnable) () -> sprite.add(group), "addChild NG - the child is this node or one of its ancestors"},
            {(Runnable) () -> blur.setTexture(texture, 60f), "setTexture NG - maxBlur 60.000000 above the limit 48.000000"},
            {(Runnable) () -> scissor.setArea(0, 0, -1, 5), "Scissor_SetArea NG - area (0, 0, -1, 5) has a negative size or a value beyond +-16777216"},
            {(Runnable) () -> new Sprite(engine, 0), "CreateSprite NG - error layersCount 0"},
        };
        for (Object[] c : cases) {
            assertThrows(KestoException.class, (String) c[1], (Runnable) c[0]);
        }
        // Uploads belong to the thread the context is current on.
        Bitmap small = Bitmap.createBitmap(2, 2, Bitmap.Config.ARGB_8888);
        RuntimeException[] elsewhere = new RuntimeException[1];
        Thread other = new Thread(() -> {
            try {
                texture.upload(small);
            } catch (RuntimeException thrown) {
                elsewhere[0] = thrown;
            }
        });
        other.start();
        ThreadsTest.join(other);
        assertTrue(String.valueOf(elsewhere[0]), elsewhere[0] instanceof KestoException
                && elsewhere[0].getMessage().startsWith("setupByRawBufferAndRealize NG - no GL context is current on this thread; "));
        Object[][] refused = {
            {(Runnable) () -> sprite.setAlpha(0, 256), "alpha 256 outside 0 to 255"},
            {(Runnable) () -> sprite.setAlpha(0, -1), "alpha -1 outside 0 to 255"},
            {(Runnable) () -> sprite.setGroupAlpha(Float.NaN), "group alpha NaN outside 0 to 1"},
            {(Runnable) () -> sprite.setPosition(0, Float.POSITIVE_INFINITY, 0), "not a finite number: Infinity"},
            {(Runnable) () -> sprite.setTextureRect(0, 0, 0, 64, 64), "texture coordinate 64.0 outside 0 to 1; for pixels use setTextureRegion"},
            {(Runnable) () -> sprite.setTextureRegion(0, texture, 4, 4, 5, 4), "region (4, 4, 5, 4) outside the 8x8 texture"},
        };
        for (Object[] c : refused) {
            assertThrows(IllegalArgumentException.class, (String) c[1], (Runnable) c[0]);
        }
        sprite.setColor(0, 0x336699);
        assertNull("a successful call clears the last error", Kesto2.GetLastError());
        for (EngineObject object : new EngineObject[] {sprite, group, blur, texture, scissor}) {
            object.close();
        }
    }

    /** Plain coloured layers blend with alpha and group alpha exactly as textured ones do. */
    @Test
    public void plainSpritesBlendLikeTheirTexturedTwins() {
        Bitmap red = Bitmap.createBitmap(new int[] {0xFFFF0000}, 1, 1, Bitmap.Config.ARGB_8888);
        try (Window window = new Window(engine, surface);
                Scene scene = new Scene(engine);
                Texture texture = new Texture(engine).upload(red);
                Sprite plain = new Sprite(engine, 1);
                Sprite twin = new Sprite(engine, 1)) {
            window.show(scene).setClearColor(0xFF808080);
            scene.root().add(plain.setColor(0, 0xFF0000).setSize(0, 40, 40).setPosition(-50, 0, 0));
            scene.root().add(twin.setTexture(0, texture).setSize(0, 40, 40).setPosition(50, 0, 0));
            // alpha, group alpha, and the red channel expected over grey 128
            int[][] cases = {{128, 100, 192}, {255, 50, 192}, {128, 50, 160}, {0, 100, 128}};
            for (int[] c : cases) {
                for (Sprite sprite : new Sprite[] {plain, twin}) {
                    sprite.setAlpha(0, c[0]).setGroupAlpha(c[1] / 100f);
                }
                Bitmap shot = window.capture();
                int expected = 0xFF000000 | c[2] << 16 | (255 - c[2]) * 0x0101;
                String what = "alpha " + c[0] + " group " + c[1];
                assertNear(what, expected, shot.getPixel(50, 100));
                assertEquals(what, shot.getPixel(150, 100), shot.getPixel(50, 100));
            }
        }
    }

    private static void assertNear(String what, int expected, int actual) {
        for (int shift = 0; shift < 32; shift += 8) {
            assertTrue(what + ": " + Integer.toHexString(actual) + " against " + Integer.toHexString(expected),
                    Math.abs((expected >>> shift & 0xFF) - (actual >>> shift & 0xFF)) <= 1);
        }
    }

    /** Snapshots read what renderWithoutPresent drew, or say why there is nothing. */
    @Test
    public void snapshotsNeedAFrameAndTheSurfacesOwnSize() {
        try (Window window = new Window(engine, surface)) {
            String nothing = "snapshot NG - nothing drawn since the last present: call renderWithoutPresent() first, or capture()";
            assertThrows(KestoException.class, nothing, window::snapshot);
            window.render();
            assertThrows(KestoException.class, nothing, window::snapshot);
            window.setClearColor(0xFF336699);
            assertEquals(0xFF336699, window.capture().getPixel(199, 199));
            assertThrows(KestoException.class, nothing, window::snapshot);
        }
        // A size other than the surface's is kept and named once; nothing beyond the surface is read.
        try (NativeLog log = new NativeLog(); Window larger = new Window(engine, surface, 300, 200)) {
            assertTrue(log.lines().toString(), log.has("KestoWnd", 'W', "bindSurface - size 300x200 differs from the "
                    + "surface's own 200x200: frames use 300x200, snapshots read only within the surface"));
            larger.renderWithoutPresent();
            assertThrows(KestoException.class, "Window_GetSnapshot NG - Rect(x, y, width, height) = (0, 0, 300, "
                    + "200) reaches beyond the surface's own size (200, 200)", larger::snapshot);
            assertEquals(200, Kesto2.Window_NativeGetSnapshot(larger.handle(), 0, 0, 200, 200).getWidth());
        }
        assertThrows(KestoException.class, "Window_BindSurface NG - size 0x200: a window needs at least one pixel "
                + "each way", () -> new Window(engine, surface, 0, 200));
    }
}
