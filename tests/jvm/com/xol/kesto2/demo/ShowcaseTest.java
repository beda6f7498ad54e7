package com.xol.kesto2.demo;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.scene.FrameStatistics;
import java.io.File;
import javax.imageio.ImageIO;
import org.junit.BeforeClass;
import org.junit.Test;

/** Runs the showcase headless and checks its snapshot where the picture is predictable. */
public class ShowcaseTest {
    private static Showcase.Result result;
    private static File png;

    @BeforeClass
    public static void runShowcase() throws Exception {
        png = File.createTempFile("showcase", ".png");
        png.deleteOnExit();
        result = new Showcase().run(png);
    }

    private static void assertNear(String what, int expected, int actual, int tolerance) {
        for (int shift = 0; shift < 32; shift += 8) {
            int e = expected >>> shift & 0xFF, a = actual >>> shift & 0xFF;
            if (Math.abs(e - a) > tolerance) {
                throw new AssertionError(String.format("%s: expected %08x, got %08x", what, expected, actual));
            }
        }
    }

    private static int at(int x, int y) {
        return result.snapshot.getPixel(x, y);
    }

    @Test
    public void bothDrawPathsGiveTheSamePictureBatchingWithFewerDraws() {
        Bitmap perMesh = result.perMeshSnapshot, loop = result.loopSnapshot;
        int differing = 0, differingInLoop = 0;
        for (int y = 0; y < Showcase.HEIGHT; ++y) {
            for (int x = 0; x < Showcase.WIDTH; ++x) {
                differing += at(x, y) != perMesh.getPixel(x, y) ? 1 : 0;
                differingInLoop += at(x, y) != loop.getPixel(x, y) ? 1 : 0;
            }
        }
        assertEquals("pixels differing between the paths", 0, differing);
        assertEquals("pixels differing when a render loop draws it", 0, differingInLoop);
        FrameStatistics batched = result.batchedStatistics, single = result.perMeshStatistics;
        assertEquals(batched.meshes(), single.meshes());
        assertEquals(single.meshes(), single.drawCalls());
        assertEquals(0, single.batches());
        assertTrue(batched + " against " + single, batched.drawCalls() < single.drawCalls());
        // The scissor and the blur levels other than the highest end runs.
        assertTrue(batched.toString(), batched.breaks(Kesto2.STAT_BREAK_SCISSOR) > 0);
        assertTrue(batched.toString(), batched.breaks(Kesto2.STAT_BREAK_BLUR) > 0);
        assertTrue(batched.textureBytes() > Showcase.WIDTH * Showcase.HEIGHT * 4);
    }

    @Test
    public void aLostContextGivesBackTheSameFrameOnBothPaths() {
        int batched = 0, perMesh = 0;
        for (int y = 0; y < Showcase.HEIGHT; ++y) {
            for (int x = 0; x < Showcase.WIDTH; ++x) {
                batched += at(x, y) != result.afterLossSnapshot.getPixel(x, y) ? 1 : 0;
                perMesh += result.perMeshSnapshot.getPixel(x, y) != result.afterLossPerMeshSnapshot.getPixel(x, y)
                        ? 1 : 0;
            }
        }
        assertEquals("pixels differing after a loss, batched", 0, batched);
        assertEquals("pixels differing after a loss, mesh by mesh", 0, perMesh);
        assertEquals("losses the listener heard of", 2, result.losses);
        assertEquals("every showcase texture has a source", 0, result.unrestored);
    }

    @Test
    public void backgroundAndImagesAreDrawnOneTexelAPixel() {
        Bitmap shot = result.snapshot;
        assertEquals(Showcase.WIDTH, shot.getWidth());
        assertEquals(Showcase.HEIGHT, shot.getHeight());
        assertNear("background", Showcase.backgroundColour(400, 470), at(400, 470), 1);
        assertNear("background", Showcase.backgroundColour(5, 5), at(5, 5), 1);
        // The checkerboard's top left square, and the one next to it.
        assertNear("checkerboard", Showcase.checkerColour(10, 10), at(40, 60), 1);
        assertNear("checkerboard", Showcase.checkerColour(30, 10), at(60, 60), 1);
        assertEquals("checkerboard", result.hitName);
    }

    @Test
    public void groupFadesScissorClipsAndBlurSoftens() {
        // Half of the first square's red over the background.
        int background = Showcase.backgroundColour(640, 60);
        int expected = 0xFF000000;
        int[] square = {0xFF, 0x50, 0x50};
        for (int c = 0; c < 3; ++c) {
            int b = background >>> (16 - 8 * c) & 0xFF;
            expected |= Math.round(0.5f * square[c] + 0.5f * b) << (16 - 8 * c);
        }
        assertNear("faded square", expected, at(640, 60), 2);

        // The scissor spans 40..359 by 240..299; outside it the background shows.
        int inside = at(200, 270);
        assertTrue(String.format("%08x", inside), inside == 0xFF3BCEAC || inside == 0xFF0EAD69);
        assertNear("above the clip", Showcase.backgroundColour(200, 238), at(200, 238), 1);
        assertNear("left of the clip", Showcase.backgroundColour(38, 270), at(38, 270), 1);

        // The dot is sharp at level 0 (violet just outside it) and spread at the highest level.
        assertNear("sharp dot", 0xFFFFD23F, at(480, 270), 1);
        assertNear("beside the sharp dot", 0xFF540D6E, at(494, 270), 1);
        int spread = at(740 + 14, 270);
        assertTrue(String.format("%08x", spread), (spread >>> 16 & 0xFF) > 0x80 && spread != 0xFFFFD23F);
        // The first grid line: bright at level 0, washed into the violet at the highest level.
        int sharpLine = at(480 - 55 + 1, 230) >>> 8 & 0xFF;
        int blurredLine = at(740 - 55 + 1, 230) >>> 8 & 0xFF;
        assertTrue(sharpLine + " vs " + blurredLine, sharpLine > 0xB0 && sharpLine > blurredLine + 0x30);
    }

    @Test
    public void thumbnailShowsTheImageRowAndThePictureIsWritten() throws Exception {
        // The thumbnail (40..280 by 370..450) shows the region 20..440 by 40..180 of the window;
        // the checkerboard's first square lands around (51, 381).
        assertNear("thumbnail", Showcase.checkerColour(0, 0), at(51, 381), 4);
        assertTrue(png.length() > 0);
        java.awt.image.BufferedImage read = ImageIO.read(png);
        assertEquals(Showcase.WIDTH, read.getWidth());
        assertEquals(at(40, 60) & 0xFFFFFF, read.getRGB(40, 60) & 0xFFFFFF);
        assertTrue(result.frameMillis > 0);
    }
}
