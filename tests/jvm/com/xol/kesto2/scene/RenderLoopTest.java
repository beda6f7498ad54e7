package com.xol.kesto2.scene;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertTrue;
import static org.junit.Assert.fail;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.function.BooleanSupplier;
import org.junit.Test;

/** The render loop through an activity's life: surfaces coming and going, pauses, errors. */
public class RenderLoopTest {
    private static void within(String what, BooleanSupplier condition) throws InterruptedException {
        for (long end = System.nanoTime() + 5_000_000_000L; !condition.getAsBoolean(); Thread.sleep(1)) {
            if (System.nanoTime() > end) {
                fail(what);
            }
        }
    }

    // Waits until the render thread has run everything posted before.
    private static void settle(RenderLoop loop) throws InterruptedException {
        CountDownLatch ran = new CountDownLatch(1);
        loop.post(ran::countDown);
        ran.await();
    }

    @Test
    public void surfacesComeAndGoFramesPauseAndEveryCountEndsAtZero() throws Exception {
        Surface small = new Surface(200, 100), large = new Surface(300, 240);
        Engine engine = new Engine();
        Scene scene = new Scene(engine);
        Texture red = new Texture(engine).upload(Bitmap.createBitmap(new int[] {0xFFFF0000}, 1, 1,
                Bitmap.Config.ARGB_8888));
        Sprite sprite = new Sprite(engine, 1).setTexture(0, red).setSize(0, 20, 20);
        scene.root().add(sprite);
        List<Throwable> errors = Collections.synchronizedList(new ArrayList<>());
        try (RenderLoop loop = new RenderLoop(engine, scene)) {
            loop.setErrorListener(errors::add);
            loop.setClearColor(0xFF0000FF);
            loop.attach(small, 200, 100);
            Bitmap shot = loop.capture();
            assertEquals(0xFFFF0000, shot.getPixel(100, 50));
            assertEquals(0xFF0000FF, shot.getPixel(5, 5));
            long frames = loop.frames();
            engine.update(() -> sprite.setPosition(40, 0, 0));  // from this thread, then a frame
            loop.requestRender();
            within("a requested frame", () -> loop.frames() > frames);

            loop.detach();
            try {
                loop.capture();
                fail("captured without a surface");
            } catch (KestoException expected) {
                assertEquals("capture NG - no surface is attached", expected.getMessage());
            }
            // Another size: the camera centres on it, the texture is still there.
            loop.attach(large, 300, 240);
            shot = loop.capture();
            assertEquals(300, shot.getWidth());
            assertEquals(0xFFFF0000, shot.getPixel(150 + 40, 120));
            assertEquals(0xFF0000FF, shot.getPixel(150, 120));
            loop.resize(240, 200);  // the view shrank: the camera centres on the new size
            shot = loop.capture();
            assertEquals(240, shot.getWidth());
            assertEquals(0xFFFF0000, shot.getPixel(120 + 40, 100));

            loop.setContinuous(2_000_000);
            long running = loop.frames();
            within("continuous frames", () -> loop.frames() > running + 5);
            loop.pause();
            settle(loop);
            long paused = loop.frames();
            Thread.sleep(100);
            loop.requestRender();
            settle(loop);
            assertEquals("no frames while paused", paused, loop.frames());
            loop.resume();
            within("frames after resuming", () -> loop.frames() > paused);

            loop.post(() -> {
                throw new IllegalStateException("posted work failed");
            });
            settle(loop);
            assertEquals(1, errors.size());
            assertEquals("posted work failed", errors.get(0).getMessage());
        }
        engine.makeCurrent();  // the loop handed the context back as it closed
        List<String> status;
        try (NativeLog log = new NativeLog()) {
            for (EngineObject object : new EngineObject[] {sprite, red, scene}) {
                object.close();
            }
            engine.close();
            status = log.lines();
        }
        small.release();
        large.release();
        assertTrue(status.toString(), status.contains("KestoEnv I new 0") && status.contains("KestoEnv I eglSurface 0 0")
                && status.contains("KestoEnv I Texture 0 GL 0 0"));
        assertFalse(status.toString(), status.stream().anyMatch(line -> line.contains("still alive")));
    }
}
