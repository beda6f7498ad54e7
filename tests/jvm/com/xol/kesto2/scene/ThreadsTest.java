package com.xol.kesto2.scene;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertSame;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.test.NativeLog;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicBoolean;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

/** A UI thread changing the scene while a render thread draws back to back, as in every app. */
public class ThreadsTest {
    private static final int WIDTH = 400, HEIGHT = 40, SPRITES = 100;
    private final Surface surface = new Surface(WIDTH, HEIGHT);
    private Engine engine;
    private Window window;
    private Scene scene;
    private final Sprite[] sprites = new Sprite[SPRITES];

    @Before
    public void open() {
        engine = new Engine();
        window = new Window(engine, surface).setClearColor(0xFF000000);
        scene = new Scene(engine);
        window.show(scene);
        for (int i = 0; i < SPRITES; ++i) {
            sprites[i] = new Sprite(engine, 1).setColor(0, 0xFFFFFF).setSize(0, 2, 6);
            scene.root().add(sprites[i]);
        }
        moveRow(0);
        engine.release();  // the render thread takes the context
    }

    @After
    public void close() {
        engine.close();
        surface.release();
    }

    // Every sprite to row 0 (y = 10) or row 1 (y = 30), one column of 4 pixels each.
    private void moveRow(int row) {
        for (int i = 0; i < SPRITES; ++i) {
            float[] at = window.toScene(2 + 4 * i, row == 0 ? 10 : 30);
            sprites[i].setPosition(at[0], at[1], 0f);
        }
    }

    // How many sprites a frame shows in each row.
    private static int[] rows(Bitmap frame) {
        int[] counts = new int[2];
        for (int i = 0; i < SPRITES; ++i) {
            counts[0] += frame.getPixel(2 + 4 * i, 10) != 0xFF000000 ? 1 : 0;
            counts[1] += frame.getPixel(2 + 4 * i, 30) != 0xFF000000 ? 1 : 0;
        }
        return counts;
    }

    private Thread renderer(int frames, List<Bitmap> out, AtomicBoolean done) {
        return new Thread(() -> {
            engine.makeCurrent();
            try {
                for (int i = 0; i < frames; ++i) {
                    Bitmap frame = window.capture();
                    if (out != null) {
                        out.add(frame);
                    }
                }
            } finally {
                done.set(true);
                engine.release();
            }
        });
    }

    static void join(Thread thread) {
        try {
            thread.join();
        } catch (InterruptedException e) {
            throw new AssertionError(e);
        }
    }

    @Test
    public void updatesNeverShowHalfDoneInAFrame() {
        List<Bitmap> frames = new ArrayList<>();
        AtomicBoolean done = new AtomicBoolean();
        Thread render = renderer(3000, frames, done);
        render.start();
        int updates = 0;
        while (!done.get()) {
            int row = ++updates % 2;
            engine.update(() -> moveRow(row));
        }
        join(render);
        int torn = 0;
        List<String> seen = new ArrayList<>();
        for (Bitmap frame : frames) {
            int[] counts = rows(frame);
            if (counts[0] + counts[1] != SPRITES || (counts[0] != 0 && counts[1] != 0)) {
                ++torn;
                seen.add(Arrays.toString(counts));
            }
        }
        assertEquals(3000, frames.size());
        assertEquals(torn + " torn frames of 3000 (" + updates + " updates): " + seen.subList(0, Math.min(5, torn)),
                0, torn);
        assertTrue("the updates raced the frames: " + updates, updates > 100);
    }

    /** Hit tests from the UI thread while frames are drawn back to back: the waits are reported. */
    @Test
    public void hitTestsWaitForAtMostTheFrameInProgress() {
        AtomicBoolean done = new AtomicBoolean();
        Thread render = renderer(1500, null, done);
        long start = System.nanoTime();
        render.start();
        List<Long> waits = new ArrayList<>();
        while (!done.get()) {
            long before = System.nanoTime();
            Node hit = window.hitTest(2 + 4 * 50, 10);
            waits.add(System.nanoTime() - before);
            assertSame(sprites[50], hit);
        }
        join(render);
        double frameMillis = (System.nanoTime() - start) / 1e6 / 1500;
        long[] sorted = waits.stream().mapToLong(Long::longValue).sorted().toArray();
        System.out.printf("hit-test waits while rendering back to back (%d hit tests, %.3f ms a frame): "
                        + "p50 %.3f ms, p99 %.3f ms, max %.3f ms%n", sorted.length, frameMillis,
                sorted[sorted.length / 2] / 1e6, sorted[sorted.length * 99 / 100] / 1e6,
                sorted[sorted.length - 1] / 1e6);
        assertTrue("the UI thread got in between the frames", sorted.length > 100);
    }

    /** An update its thread never ends cannot hang the render thread: the frame says why and gives up. */
    @Test
    public void aFrameGivesUpOnAnUpdateLeftOpenAndSaysWhy() throws InterruptedException {
        engine.makeCurrent();  // before the update: every other call waits behind it
        CountDownLatch begun = new CountDownLatch(1), finish = new CountDownLatch(1);
        Thread forgetful = new Thread(() -> {
            Kesto2.Environment_BeginUpdate(engine.environment());
            begun.countDown();
            try {
                finish.await();
            } catch (InterruptedException e) {
                Thread.currentThread().interrupt();
            }
            Kesto2.Environment_EndUpdate(engine.environment());
        });
        forgetful.start();
        begun.await();
        try (NativeLog log = new NativeLog()) {
            assertFalse(Kesto2.Window_Render(window.handle()));
            assertTrue(log.lines().toString(), log.messages("KestoJNI").get(0).matches(
                    "engine lock - an update begun \\d+ ms ago on another thread has not ended \\(Environment_EndUpdate missing\\?\\)"));
        }
        finish.countDown();
        join(forgetful);
        assertTrue(Kesto2.Window_Render(window.handle()));
        assertFalse("no update is open here", Kesto2.Environment_EndUpdate(engine.environment()));
    }
}
