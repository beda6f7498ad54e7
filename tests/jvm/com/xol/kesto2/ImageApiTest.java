package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNotNull;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import com.xol.kesto2.test.NativeLog;
import com.xol.kesto2.test.Session;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;
import org.junit.runner.RunWith;
import org.junit.runners.Parameterized;

/**
 * Textures from every kind of bitmap, drawn in sprites and read back through window snapshots.
 * Runs in an 8-8-8 context, or with -Dkesto.rgb565=true in a 5-6-5 one (on a 16-bit screen), and
 * on both draw paths, which must draw the same pixels.
 */
@RunWith(Parameterized.class)
public class ImageApiTest {
    @Parameterized.Parameters(name = "batching={0}")
    public static Object[] paths() {
        return new Object[] {true, false};
    }

    @Parameterized.Parameter
    public boolean batching;

    private static final boolean RGB565 = Boolean.getBoolean("kesto.rgb565");
    private static final int WIDTH = 480;
    private static final int HEIGHT = 800;

    private Session session;
    private int env;
    private int window;
    private int scene;

    @Before
    public void setUp() {
        session = new Session(RGB565, WIDTH, HEIGHT);
        env = session.env;
        window = session.window;
        Kesto2.Window_SetClearColor(window, 0f, 0f, 1f, 1f);
        Kesto2.Window_SetBatching(window, batching);
        scene = Kesto2.CreateScene(env);
        Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(window), Kesto2.Scene_GetDefaultCamera(scene));
    }

    @After
    public void tearDown() {
        Kesto2.DestroyScene(scene);
        List<String> lines = session.end();
        assertEquals(lines.toString(), Collections.emptyList(), Session.missingZeros(lines));
        assertFalse(lines.toString(), lines.stream().anyMatch(line -> line.contains("still alive")));
    }

    // Quadrants red, green / white, yellow, as a Java bitmap of the context's kind.
    private static Bitmap quadrants() {
        Bitmap bitmap = Bitmap.createBitmap(2, 2, RGB565 ? Bitmap.Config.RGB_565 : Bitmap.Config.ARGB_8888);
        bitmap.setPixel(0, 0, 0xFFFF0000);
        bitmap.setPixel(1, 0, 0xFF00FF00);
        bitmap.setPixel(0, 1, 0xFFFFFFFF);
        bitmap.setPixel(1, 1, 0xFFFFFF00);
        return bitmap;
    }

    private static byte[] pixelBytes(Bitmap bitmap) {
        java.nio.ByteBuffer bytes = java.nio.ByteBuffer.allocate(bitmap.getByteCount());
        bitmap.copyPixelsToBuffer(bytes);
        return bytes.array();
    }

    private int sprite(int texture, float x, float y) {
        int sprite = Kesto2.CreateSprite(env, 1);
        assertTrue(Kesto2.Sprite_SetTexture(sprite, 0, 0, texture));
        Kesto2.SceneNode_SetPosition(sprite, x, y, 0f);
        assertTrue(Kesto2.SceneNode_AddChild(Kesto2.Scene_GetRootNode(scene), sprite));
        return sprite;
    }

    private Bitmap snapshot() {
        Kesto2.Window_RenderWithoutPresent(window);
        Bitmap shot = Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0);
        assertNotNull(shot);
        assertEquals(WIDTH, shot.getWidth());
        assertEquals(RGB565 ? Bitmap.Config.RGB_565 : Bitmap.Config.ARGB_8888, shot.getConfig());
        return shot;
    }

    // A 100x100 sprite centred at window pixel (cx, cy), sampled near its four corners where
    // filtering clamps to one texel.
    private static void assertQuadrants(Bitmap shot, int cx, int cy) {
        String where = "sprite at " + cx + "," + cy;
        assertEquals(where, 0xFFFF0000, shot.getPixel(cx - 40, cy - 40));
        assertEquals(where, 0xFF00FF00, shot.getPixel(cx + 40, cy - 40));
        assertEquals(where, 0xFFFFFFFF, shot.getPixel(cx - 40, cy + 40));
        assertEquals(where, 0xFFFFFF00, shot.getPixel(cx + 40, cy + 40));
    }

    @Test
    public void everyWayInShowsTheBitmapTopRowFirst() {
        Bitmap javaBitmap = quadrants();
        int[] textures = new int[6];
        for (int i = 0; i < textures.length; ++i) {
            textures[i] = Kesto2.CreateTexture(env);
        }
        // An engine bitmap, queued and realised on the next draw.
        int bitmap = Kesto2.CreateBitmap(env);
        assertTrue(Kesto2.Bitmap_Set(bitmap, javaBitmap));
        assertTrue(Kesto2.Texture_SetupByBitmap(textures[0], bitmap, false));
        // The same, handed over on the render thread and swapped in.
        assertTrue(Kesto2.Texture_SetupByBitmap_InRenderThread(textures[1], bitmap, true));
        // Straight from the Java bitmap, and through the texture-handle-plus-one tag.
        assertTrue(Kesto2.Texture_SetupByAndroidBitmapAndRealize(textures[2], javaBitmap));
        assertTrue(Kesto2.Bitmap_Set(textures[3] + 1, javaBitmap));
        // Native bitmaps filled from Java.
        int nativeBitmap = NativeBitmap.Native_createBitmap();
        int format = RGB565 ? Kesto2.PIXEL_FORMAT_RGB565 : Kesto2.PIXEL_FORMAT_RGBA8888;
        assertTrue(NativeBitmap.Native_setBitmap(nativeBitmap, format, 2, 2, pixelBytes(javaBitmap)));
        assertTrue(Kesto2.Texture_SetupByNativeBitmapAndRealize(textures[4], nativeBitmap));
        assertTrue(Kesto2.Texture_SetupByNativeBitmap(textures[5], nativeBitmap, false));
        assertTrue(Kesto2.Texture_Realize(textures[5]));

        int[] sprites = new int[textures.length];
        for (int i = 0; i < textures.length; ++i) {
            sprites[i] = sprite(textures[i], -150 + 150 * (i % 3), 200 - 300 * (i / 3));
        }
        Bitmap shot = snapshot();
        for (int i = 0; i < textures.length; ++i) {
            assertQuadrants(shot, 240 - 150 + 150 * (i % 3), 400 - 200 + 300 * (i / 3));
        }
        assertEquals(0xFF0000FF, shot.getPixel(5, 5));  // background

        // A part of the snapshot: x and y count from the bottom left, rows come top first. The
        // first sprite covers window pixels 40..139 by 150..249, top down.
        Bitmap part = Kesto2.Window_NativeGetSnapshot(window, 40, HEIGHT - 250, 100, 100);
        assertEquals(100, part.getHeight());
        assertEquals(0xFFFF0000, part.getPixel(10, 10));
        assertEquals(0xFFFFFF00, part.getPixel(90, 90));

        for (int sprite : sprites) {
            Kesto2.DestroySprite(sprite);
        }
        for (int texture : textures) {
            Kesto2.DestroyTexture(texture);
        }
        Kesto2.DestroyBitmap(bitmap);
        NativeBitmap.Native_destroyBitmap(nativeBitmap);
    }

    @Test
    public void bordersPaintFramesInTheTextureFormat() {
        if (RGB565) {
            return;  // the byte-exact frame checks need 8-bit channels
        }
        // A 16x16 texture of 0x11 bytes, shown one texel a pixel.
        Bitmap grey = Bitmap.createBitmap(16, 16, Bitmap.Config.ARGB_8888);
        grey.eraseColor(0xFF111111);
        int texture = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_SetupByAndroidBitmapAndRealize(texture, grey));
        assertTrue(Kesto2.Texture_RealizeBorder(texture, 2, 3, 10, 10, 1, 0xFF102030));
        int sprite = sprite(texture, 0f, 0f);
        assertTrue(Kesto2.Sprite_SetupGeometry(sprite, 0, 16f, 16f, 0f, 0f, 0f));
        Bitmap shot = snapshot();
        int frame = 0;
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) {
                boolean inside = x >= 2 && x < 12 && y >= 3 && y < 13;
                boolean edge = inside && (x == 2 || x == 11 || y == 3 || y == 12);
                int expected = edge ? 0xFF102030 : 0xFF111111;
                frame += edge ? 1 : 0;
                assertEquals(x + "," + y, expected, shot.getPixel(240 - 8 + x, 400 - 8 + y));
            }
        }
        assertEquals(36, frame);

        // RGBA5551: any visible channel gives opaque black, otherwise transparent.
        int nativeBitmap = NativeBitmap.Native_createBitmap();
        byte[] white = new byte[16 * 16 * 2];
        Arrays.fill(white, (byte) 0xFF);
        assertTrue(NativeBitmap.Native_setBitmap(nativeBitmap, Kesto2.PIXEL_FORMAT_RGBA5551, 16, 16, white));
        int texture5551 = Kesto2.CreateTexture(env);
        assertTrue(Kesto2.Texture_SetupByNativeBitmapAndRealize(texture5551, nativeBitmap));
        assertTrue(Kesto2.Texture_RealizeBorder(texture5551, 0, 0, 16, 16, 1, 0x00000007));
        assertTrue(Kesto2.Texture_RealizeBorder(texture5551, 4, 4, 8, 8, 2, 0x01000000));
        assertTrue(Kesto2.Sprite_SetTexture(sprite, 0, 0, texture5551));
        shot = snapshot();
        assertEquals("transparent frame", 0xFF0000FF, shot.getPixel(232, 392));
        assertEquals("untouched", 0xFFFFFFFF, shot.getPixel(232 + 2, 392 + 2));
        assertEquals("black frame", 0xFF000000, shot.getPixel(232 + 5, 392 + 5));
        assertEquals("inside the frame", 0xFFFFFFFF, shot.getPixel(232 + 7, 392 + 7));

        Kesto2.DestroySprite(sprite);
        Kesto2.DestroyTexture(texture);
        Kesto2.DestroyTexture(texture5551);
        NativeBitmap.Native_destroyBitmap(nativeBitmap);
    }

    @Test
    public void partialSceneRendersIntoATextureShownBySprite() {
        int source = sprite(0, 0f, 0f);
        Kesto2.Sprite_SetColor(source, 0, 255, 0, 0);
        assertTrue(Kesto2.SceneNode_AddPartialSceneRenderFlag(source, 2, false));
        int target = Kesto2.CreateTexture(env);
        int format = RGB565 ? Kesto2.PIXEL_FORMAT_RGB565 : Kesto2.PIXEL_FORMAT_RGBA8888;
        assertTrue(Kesto2.Texture_RealizeBlankTexture(target, format, WIDTH, HEIGHT));
        // The window's middle 100x100 (the red sprite) fills the whole texture.
        assertTrue(Kesto2.Window_NativeRenderPartialSceneToTexture(window, target, 2, 190, 350, 100, 100, false));
        Kesto2.SceneNode_SetVisible(source, false);
        int shown = sprite(target, 0f, 0f);
        Bitmap shot = snapshot();
        assertEquals(0xFFFF0000, shot.getPixel(200, 360));
        assertEquals(0xFFFF0000, shot.getPixel(280, 440));
        assertEquals(0xFF0000FF, shot.getPixel(180, 340));
        Kesto2.DestroySprite(shown);
        Kesto2.DestroySprite(source);
        Kesto2.DestroyTexture(target);
    }

    @Test
    public void aProducerStreamingIntoASharedTextureShowsAQueuedPictureOnEverySprite()
            throws InterruptedException {
        final int[] colours = {0xFFFF0000, 0xFF00FF00, 0xFFFFFFFF, 0xFFFFFF00};
        final int texture = Kesto2.CreateTexture(env);
        final int[] pictures = new int[colours.length];
        for (int i = 0; i < colours.length; ++i) {
            Bitmap solid = Bitmap.createBitmap(4, 4, RGB565 ? Bitmap.Config.RGB_565 : Bitmap.Config.ARGB_8888);
            solid.eraseColor(colours[i]);
            pictures[i] = Kesto2.CreateBitmap(env);
            assertTrue(Kesto2.Bitmap_Set(pictures[i], solid));
        }
        assertTrue(Kesto2.Texture_SetupByBitmap(texture, pictures[0], false));
        int[] sprites = {sprite(texture, -60f, 0f), sprite(texture, 60f, 0f)};
        AtomicBoolean done = new AtomicBoolean();
        AtomicInteger queued = new AtomicInteger();
        Thread producer = new Thread(() -> {
            for (int i = 1; !done.get(); ) {
                if (Kesto2.Texture_SetupByBitmap(texture, pictures[i % pictures.length], false)) {
                    ++i;
                    queued.incrementAndGet();
                } else {
                    Thread.yield();  // both slots wait for the render thread
                }
            }
        });
        producer.start();
        List<String> wrong = new ArrayList<>();
        Set<Integer> shown = new HashSet<>();
        for (int frame = 0; frame < 400; ++frame) {
            Kesto2.Window_RenderWithoutPresent(window);
            Bitmap row = Kesto2.Window_NativeGetSnapshot(window, 0, HEIGHT / 2, WIDTH, 1);
            for (int x : new int[] {WIDTH / 2 - 60, WIDTH / 2 + 60}) {
                int colour = row.getPixel(x, 0);
                shown.add(colour);
                if (Arrays.stream(colours).noneMatch(c -> c == colour)) {
                    wrong.add("frame " + frame + " x " + x + ": " + Integer.toHexString(colour));
                }
            }
        }
        done.set(true);
        producer.join();
        assertEquals(wrong.size() + " of 800 sprite pictures wrong, first " + wrong.subList(0, Math.min(wrong.size(), 4)),
                0, wrong.size());
        assertTrue("the stream changed the picture: " + shown, shown.size() > 1 && queued.get() > 1);
        for (int sprite : sprites) {
            Kesto2.DestroySprite(sprite);
        }
        Kesto2.DestroyTexture(texture);
        for (int picture : pictures) {
            Kesto2.DestroyBitmap(picture);
        }
    }

    @Test
    public void externalTexturesCopyIntoOrdinaryOnes() {
        int external = Kesto2.CreateTexture(env);
        int target = Kesto2.CreateTexture(env);
        assertNotEquals(0, Kesto2.Texture_SetupOESTexture(external));
        assertTrue(Kesto2.Texture_SetOESTextureTransform(external,
                1f, 0f, 0f, 0f, 0f, 1f, 0f, 0f, 0f, 0f, 1f, 0f, 0f, 0f, 0f, 1f));
        assertTrue(Kesto2.Texture_RealizeBlankTexture(target, Kesto2.PIXEL_FORMAT_RGBA8888, 8, 8));
        try (NativeLog log = new NativeLog()) {
            assertTrue(Kesto2.Window_NativeRenderOESTextureToTexture(window, external, target, 0f, 0f, 1f, 1f));
            assertTrue(log.messages("KestoJNI").get(0).startsWith("Window_RenderOESTextureToTexture time:"));
        }
        // The copy's mesh is the renderer's own, counted as every mesh is, until its context goes.
        assertTrue(session.status().toString(), session.status().contains("KestoEnv I Mesh 1"));
        Kesto2.DestroyTexture(external);
        Kesto2.DestroyTexture(target);
    }

    @Test
    public void refusalsAndTheirMessages() {
        int texture = Kesto2.CreateTexture(env);
        int bitmap = Kesto2.CreateBitmap(env);
        Bitmap javaBitmap = quadrants();
        try (NativeLog log = new NativeLog()) {
            assertEquals(0, Kesto2.Texture_QueryInfo(texture, -1));
            Kesto2.Texture_RecordInfo(texture, 3, 7);
            assertFalse(Kesto2.Bitmap_SetAndConvert(bitmap, javaBitmap, 0, 0, 0, 0));
            assertFalse(Kesto2.Texture_RealizeBlankTexture(texture, Kesto2.PIXEL_FORMAT_RGBA8888, 0, 4));
            assertFalse(Kesto2.Texture_RealizeSubTexture(texture, 0, 0, javaBitmap, 1, 1, 2, 2));
            assertFalse(Kesto2.Texture_RealizeBorder(texture, 0, 0, 4, 4, 5, 0));
            assertNull(Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 5));
            assertNull(Kesto2.Window_NativeGetSnapshot(window, 400, 0, 100, 10));
            assertFalse(Kesto2.Window_NativeRenderPartialSceneToTexture(window, texture, 1, 0, 0, 0, 5, false));
            assertFalse(Kesto2.Window_NativeRenderOESTextureToTexture(window, 0, texture, 0f, 0f, 1f, 1f));
            List<String> messages = log.messages("KestoJNI");
            assertEquals(Arrays.asList("Texture_QueryInfo NG - error index -1/3",
                    "Texture_RecordInfo NG - error index 3/3",
                    "Bitmap_SetAndConvert ConvertBitmap NG",
                    "Texture RealizeBlankTexture NG, texture:" + texture + " width:0 height:4",
                    "Texture_RealizeSubTexture - specified size(1, 1, 2, 2) is larger than bitmap(2, 2)",
                    "Texture_RealizeBorder - parameter NG. texture:" + texture
                            + " des:(0 0) border size:(4 4) thickness:5",
                    "Window_GetSnapshot NG: (x, y, width, height) = (0, 0, 0, 5)",
                    "Window_GetSnapshot: Rect larger than surface. Rect(x, y, width, height) = "
                            + "(400, 0, 100, 10). surface(480, 800)",
                    "Window_RenderPartialSceneToTexture: rect NG width 0, height 5",
                    "Window_RenderOESTextureToTexture: textureSrc is null"),
                    messages.subList(0, 10));
            assertTrue(log.has("KestoBmp", 'E', "Bitmap_ConvertBitmap NG - No implementation."));
        }
        assertEquals(0, Kesto2.Texture_QueryInfo(texture, 0));
        assertEquals(0, Kesto2.Texture_QueryInfo(texture, 1));
        Kesto2.Texture_RecordInfo(texture, 1, (256 << 16) | 128);
        assertEquals((256 << 16) | 128, Kesto2.Texture_QueryInfo(texture, 1));
        Kesto2.DestroyBitmap(bitmap);
        Kesto2.DestroyTexture(texture);
    }
}
