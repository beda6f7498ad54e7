package com.xol.kesto2.scene;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

/** A lost GL context through the object layer: what comes back on its own, what the app is told. */
public class ContextLossTest {
    private static final int SIZE = 160;
    private final Surface surface = new Surface(SIZE, 40);
    private final List<List<Texture>> heard = Collections.synchronizedList(new ArrayList<>());
    private Engine engine;
    private Scene scene;
    private final List<AutoCloseable> owned = new ArrayList<>();

    @Before
    public void open() {
        engine = new Engine();
        engine.setContextLossListener(unrestored -> heard.add(new ArrayList<>(unrestored)));
        scene = own(new Scene(engine));
    }

    @After
    public void closeAndCount() throws Exception {
        Collections.reverse(owned);
        for (AutoCloseable object : owned) {
            object.close();
        }
        List<String> status;
        try (NativeLog log = new NativeLog()) {
            engine.close();
            status = log.lines();
        }
        surface.release();
        for (String zero : new String[] {"KestoEnv I new 0", "KestoEnv I Texture 0 GL 0 0",
                "KestoEnv I eglContext 0 0"}) {
            assertTrue(zero + " in " + status, status.contains(zero));
        }
    }

    private <T extends AutoCloseable> T own(T object) {
        owned.add(object);
        return object;
    }

    private static Bitmap solid(int argb) {
        return Bitmap.createBitmap(new int[] {argb}, 1, 1, Bitmap.Config.ARGB_8888);
    }

    /** A 16-pixel square of the texture (or of the plain colour) at slot `slot` of the row. */
    private Sprite show(int slot, Texture texture) {
        Sprite sprite = own(new Sprite(engine, 1)).setSize(0, 16, 16).setTexture(0, texture);
        sprite.setPosition(-SIZE / 2f + 10 + 20 * slot, 0, 0);
        scene.root().add(sprite);
        return sprite;
    }

    private static int at(Bitmap shot, int slot) {
        return shot.getPixel(10 + 20 * slot, 20);
    }

    @Test
    public void picturesWithASourceComeBackAndTheOthersAreReportedUntilSuppliedAgain() {
        Window window = own(new Window(engine, surface, SIZE, 40)).show(scene);
        Texture fromBitmap = own(new Texture(engine)).upload(solid(0xFFFF0000));
        Image image = own(new Image(engine)).set(solid(0xFF00FF00));
        Texture fromImage = own(new Texture(engine)).queue(image, false);
        NativeImage nativeImage = own(new NativeImage()).set(PixelFormat.RGBA8888, 1, 1,
                new byte[] {0, 0, (byte) 255, (byte) 255});
        Texture fromNativeImage = own(new Texture(engine)).upload(nativeImage);
        Image handedOver = own(new Image(engine)).set(solid(0xFFFFFF00));
        Texture queuedWithHandOver = own(new Texture(engine)).queue(handedOver, true);
        Bitmap recycled = solid(0xFF00FFFF);
        Texture fromRecycled = own(new Texture(engine)).upload(recycled);
        Texture neverFed = own(new Texture(engine));
        Texture[] row = {fromBitmap, fromImage, fromNativeImage, queuedWithHandOver, fromRecycled, neverFed};
        for (int slot = 0; slot < row.length; ++slot) {
            show(slot, row[slot]).addRenderFlag(slot == 0 ? 1 : 2, false);
        }
        show(row.length, null).setColor(0, 0x804020);  // a plain layer: the engine's own texel
        // A copy of the first square, rendered into a texture of the window's size.
        Texture copy = own(new Texture(engine)).allocate(PixelFormat.RGBA8888, SIZE, 40);
        show(row.length + 1, copy);
        copy.renderFrom(window, 1, 2, 12, 16, 16);

        Bitmap before = window.capture();
        assertEquals("the copy", 0xFFFF0000, at(before, 7));
        recycled.recycle();
        engine.simulateContextLoss();
        Bitmap after = window.capture();

        assertEquals("one loss heard", 1, heard.size());
        assertEquals(Arrays.asList(queuedWithHandOver, fromRecycled), heard.get(0));
        for (int slot : new int[] {0, 1, 2, 6, 7}) {
            assertEquals("slot " + slot, Integer.toHexString(at(before, slot)), Integer.toHexString(at(after, slot)));
        }
        // Unrestored pictures draw as a texture that never had one.
        for (int slot : new int[] {3, 4}) {
            assertNotEquals("slot " + slot, at(before, slot), at(after, slot));
            assertEquals("slot " + slot, at(after, 5), at(after, slot));
        }

        // Supplied again, they are back; nothing more is heard.
        queuedWithHandOver.queue(own(new Image(engine)).set(solid(0xFFFFFF00)), true);
        fromRecycled.upload(solid(0xFF00FFFF));
        Bitmap supplied = window.capture();
        for (int slot = 0; slot < 8; ++slot) {
            assertEquals("slot " + slot, at(before, slot), at(supplied, slot));
        }
        assertEquals(1, heard.size());
    }

    @Test
    public void aLossBetweenDrawingAndPresentingDrawsTheFrameAgain() {
        Window window = own(new Window(engine, surface, SIZE, 40)).show(scene);
        show(0, own(new Texture(engine)).upload(solid(0xFFFF0000)));
        Bitmap before = window.capture();
        window.renderWithoutPresent();
        engine.simulateContextLoss();
        window.present();  // meets the loss, restores, draws and presents
        assertEquals(1, heard.size());
        assertTrue(heard.get(0).isEmpty());
        assertEquals(at(before, 0), at(window.capture(), 0));
    }

    @Test
    public void aRenderLoopRecoversOnItsOwnThread() throws Exception {
        show(0, own(new Texture(engine)).upload(solid(0xFFFF0000)));
        BlurSprite blur = own(new BlurSprite(engine));
        blur.setSize(0, 16, 16);
        int[] checker = new int[16 * 16];
        for (int i = 0; i < checker.length; ++i) {
            checker[i] = (i % 16 / 2 + i / 32) % 2 == 0 ? 0xFFFFFFFF : 0xFF000000;
        }
        Texture detail = own(new Texture(engine)).upload(Bitmap.createBitmap(checker, 16, 16, Bitmap.Config.ARGB_8888));
        engine.release();  // the loop's thread takes the context
        List<Throwable> errors = Collections.synchronizedList(new ArrayList<>());
        Bitmap before, after;
        try (RenderLoop loop = new RenderLoop(engine, scene)) {
            loop.setErrorListener(errors::add);
            loop.attach(surface, SIZE, 40);
            loop.post(() -> {
                blur.setTexture(detail, 6f).setBlur(5f);  // a level of the chain, not the source
                blur.setPosition(-SIZE / 2f + 30, 0, 0);
                scene.root().add(blur);
            });
            before = loop.capture();
            engine.simulateContextLoss();  // from this thread, while the loop holds the context
            after = loop.capture();
        } finally {
            engine.makeCurrent();
        }
        assertEquals(Collections.emptyList(), errors);
        assertEquals(1, heard.size());
        assertFalse(engine.isClosed());
        for (int x = 0; x < SIZE; ++x) {
            assertEquals("x " + x, before.getPixel(x, 20), after.getPixel(x, 20));
        }
    }
}
