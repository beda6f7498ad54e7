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
        Object[][] cases = {
            {(Runnable) () -> sprite.setTexture(3, texture), "Sprite_SetTexture NG - no layer material 3"},
            {(Runnable) () -> sprite.add(group), "addChild NG - the child is this node or one of its ancestors"},
            {(Runnable) () -> blur.setTexture(texture, 60f), "setTexture NG - maxBlur 60.000000 above the limit 48.000000"},
            {(Runnable) () -> scissor.setArea(0, 0, -1, 5), "Scissor_SetArea NG - area (0, 0, -1, 5) has a negative size or a value beyond +-16777216"},
            {(Runnable) () -> new Sprite(engine, 0), "CreateSprite NG - error layersCount 0"},
        };
        for (Object[] c : cases) {
            assertThrows(KestoException.class, (String) c[1], (Runnable) c[0]);
        }
        sprite.setColor(0, 0x336699);
        assertNull("a successful call clears the last error", Kesto2.GetLastError());
        for (EngineObject object : new EngineObject[] {sprite, group, blur, texture, scissor}) {
            object.close();
        }
    }

    @Test
    public void hitTestsAnswerWithTheNodeAndStatisticsCountTheFrame() {
        try (Window window = new Window(engine, surface, 200, 200);
                Scene scene = new Scene(engine);
                Sprite left = new Sprite(engine, 1);
                Sprite right = new Sprite(engine, 1)) {
            window.show(scene).setClearColor(0xFF0000FF);
            scene.root().add(left.setSize(0, 50, 50).setColor(0, 0xFF0000).setPosition(-50, 0, 0));
            scene.root().add(right.setSize(0, 50, 50).setColor(0, 0x00FF00).setPosition(50, 0, 0));
            window.renderWithoutPresent();
            Bitmap shot = window.snapshot();
            assertEquals(0xFFFF0000, shot.getPixel(50, 100));
            assertEquals(0xFF00FF00, shot.getPixel(150, 100));
            assertEquals(0xFF0000FF, shot.getPixel(100, 100));
            assertSame(left, window.hitTest(50, 100));
            assertSame(right, window.hitTest(150, 100));
            assertNull(window.hitTest(100, 20));
            left.setTouchable(false);
            assertNull(window.hitTest(50, 100));
            float[] at = {0, 0};
            assertTrue(window.positionOf(right.setPosition(50, 30, 0), at));
            assertEquals(50f, at[0], 1e-3f);
            assertEquals(30f, at[1], 1e-3f);
            try (Scene other = new Scene(engine)) {
                window.show(other);
            }  // closing the scene unlinks its camera: nothing to answer with
            assertFalse(window.positionOf(right, at));
            FrameStatistics stats = window.frameStatistics(new FrameStatistics());
            assertEquals(2, stats.meshes());
            assertEquals(1, stats.drawCalls());  // one untextured run
        }
    }
}
