package com.xol.kesto2.testing;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertTrue;
import static org.junit.Assert.fail;

import android.graphics.Bitmap;
import android.graphics.BitmapFactory;
import android.view.Surface;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.Scene;
import com.xol.kesto2.scene.Sprite;
import com.xol.kesto2.scene.Texture;
import com.xol.kesto2.scene.Window;
import java.io.ByteArrayOutputStream;
import java.io.File;
import java.nio.file.Files;
import org.junit.BeforeClass;
import org.junit.Test;

/** A real scene against its golden picture, as an app team would test one. */
public class SnapshotAssertTest {
    private static final File GOLDEN = new File(System.getProperty("kesto.golden", "tests/jvm/golden"), "scene.png");
    private static Bitmap shot;

    @BeforeClass
    public static void renderScene() {
        Surface surface = new Surface(160, 120);
        Bitmap quadrants = Bitmap.createBitmap(2, 2, Bitmap.Config.ARGB_8888);
        int[] colours = {0xFFFF0000, 0xFF00FF00, 0xFFFFFFFF, 0x80FFFF00};
        for (int i = 0; i < 4; ++i) {
            quadrants.setPixel(i % 2, i / 2, colours[i]);
        }
        try (Engine engine = new Engine();
                Window window = new Window(engine, surface, 160, 120);
                Scene scene = new Scene(engine);
                Texture texture = new Texture(engine).upload(quadrants);
                Sprite image = new Sprite(engine, 1);
                Sprite turned = new Sprite(engine, 1);
                Sprite faded = new Sprite(engine, 1)) {
            window.show(scene).setClearColor(0xFF203040);
            scene.root().add(image.setTexture(0, texture).setSize(0, 60, 60).setPosition(-40, 0, 0));
            scene.root().add(turned.setColor(0, 0x3080FF).setSize(0, 40, 40).setPosition(40, 20, 0));
            turned.setRotation(0, 0, 30);
            scene.root().add(faded.setColor(0, 0xFFC000).setSize(0, 50, 30).setPosition(30, -25, 0));
            faded.setGroupAlpha(0.5f);
            window.renderWithoutPresent();
            shot = window.snapshot();
        } finally {
            surface.release();
        }
    }

    @Test
    public void theSceneMatchesItsGolden() throws Exception {
        SnapshotAssert.assertMatches(shot, GOLDEN, 1);
        assertFalse(shot.compress(Bitmap.CompressFormat.JPEG, 90, new ByteArrayOutputStream()));
    }

    /** The actual picture is written as PNG and read back: it must be the shot, pixel for pixel. */
    @Test
    public void aDifferentGoldenFailsAndLeavesTheActualAndTheDiff() throws Exception {
        File dir = Files.createTempDirectory("snapshot").toFile();
        Bitmap changed = BitmapFactory.decodeFile(GOLDEN.getPath());
        int[][] moved = {{3, 4}, {80, 60}, {159, 119}};
        for (int[] p : moved) {
            changed.setPixel(p[0], p[1], changed.getPixel(p[0], p[1]) ^ 0x00808080);
        }
        File golden = new File(dir, "changed.png");
        try (java.io.OutputStream out = new java.io.FileOutputStream(golden)) {
            assertTrue(changed.compress(Bitmap.CompressFormat.PNG, 100, out));
        }
        try {
            SnapshotAssert.assertMatches(shot, golden, 1);
            fail("three changed pixels went unnoticed");
        } catch (AssertionError expected) {
            assertTrue(expected.getMessage(), expected.getMessage().contains(": 3 of 19200 pixels differ"));
            assertTrue(expected.getMessage(), expected.getMessage().endsWith(
                    "If the new picture is right, run with -Dkesto.snapshot.update=true to make it the golden"));
        }
        Bitmap actual = BitmapFactory.decodeFile(new File(dir, "changed.actual.png").getPath());
        Bitmap diff = BitmapFactory.decodeFile(new File(dir, "changed.diff.png").getPath());
        int red = 0;
        for (int y = 0; y < 120; ++y) {
            for (int x = 0; x < 160; ++x) {
                assertEquals(shot.getPixel(x, y), actual.getPixel(x, y));
                red += diff.getPixel(x, y) == 0xFFFF0000 ? 1 : 0;
            }
        }
        assertEquals(3, red);
        for (int[] p : moved) {
            assertEquals(0xFFFF0000, diff.getPixel(p[0], p[1]));
        }

        // Update mode rewrites the present golden; the next pass clears what the failure left.
        System.setProperty("kesto.snapshot.update", "true");
        try {
            SnapshotAssert.assertMatches(shot, golden, 0);
        } finally {
            System.clearProperty("kesto.snapshot.update");
        }
        SnapshotAssert.assertMatches(shot, golden, 0);
        assertFalse(new File(dir, "changed.actual.png").exists());
        assertFalse(new File(dir, "changed.diff.png").exists());
    }
}
