package com.xol.kesto2.testing;

import android.graphics.Bitmap;
import android.graphics.BitmapFactory;
import java.io.File;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.OutputStream;

/**
 * Compares a rendered picture with a golden PNG, for scene tests on a desktop CI or a device.
 * Uses only the platform bitmap API, so the same test runs in both places.
 */
public final class SnapshotAssert {
    private SnapshotAssert() {}

    /**
     * Passes when every channel (alpha, red, green, blue) of every pixel is within
     * {@code tolerance} of the golden image's. Otherwise writes {@code NAME.actual.png} and
     * {@code NAME.diff.png} (differing pixels red over a dimmed grey copy) next to the golden, or
     * into the directory the system property {@code kesto.snapshot.out} names, and fails; a pass
     * deletes such files left by an earlier failure. With the system property
     * {@code kesto.snapshot.update} set to {@code true} the golden is (re)written from
     * {@code actual} and the assertion passes; without it a missing golden fails.
     *
     * @param actual the picture, e.g. a window snapshot
     * @param golden the expected PNG
     * @param tolerance the largest difference allowed in one channel, 0 to 255
     * @throws AssertionError naming the number of differing pixels, the largest difference and
     *     the files written
     */
    public static void assertMatches(Bitmap actual, File golden, int tolerance) {
        String dir = System.getProperty("kesto.snapshot.out");
        String name = golden.getName().replaceFirst("\\.png$", "");
        File base = dir != null ? new File(dir) : golden.getAbsoluteFile().getParentFile();
        File actualFile = new File(base, name + ".actual.png");
        File diffFile = new File(base, name + ".diff.png");
        if (Boolean.getBoolean("kesto.snapshot.update")) {
            write(actual, golden);
            actualFile.delete();
            diffFile.delete();
            return;
        }
        if (!golden.isFile()) {
            throw new AssertionError(golden + " does not exist; run with -Dkesto.snapshot.update=true to create it");
        }
        Bitmap expected = BitmapFactory.decodeFile(golden.getPath());
        if (expected == null) {
            throw new AssertionError(golden + " is not an image");
        }
        int width = actual.getWidth(), height = actual.getHeight();
        boolean sameSize = expected.getWidth() == width && expected.getHeight() == height;
        Bitmap diff = Bitmap.createBitmap(width, height, Bitmap.Config.ARGB_8888);
        int differing = 0, largest = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                int a = actual.getPixel(x, y);
                int worst = sameSize ? 0 : 255;
                for (int shift = 0; sameSize && shift < 32; shift += 8) {
                    worst = Math.max(worst, Math.abs((a >>> shift & 0xFF) - (expected.getPixel(x, y) >>> shift & 0xFF)));
                }
                largest = Math.max(largest, worst);
                if (worst > tolerance) {
                    ++differing;
                    diff.setPixel(x, y, 0xFFFF0000);
                } else {
                    int grey = 64 + ((a >>> 16 & 0xFF) + (a >>> 8 & 0xFF) + (a & 0xFF)) / 6;
                    diff.setPixel(x, y, 0xFF000000 | grey * 0x010101);
                }
            }
        }
        if (differing == 0) {
            actualFile.delete();
            diffFile.delete();
            return;
        }
        write(actual, actualFile);
        write(diff, diffFile);
        throw new AssertionError(String.format("%s: %d of %d pixels differ%s, largest channel difference %d "
                        + "(tolerance %d); wrote %s and %s. If the new picture is right, run with "
                        + "-Dkesto.snapshot.update=true to make it the golden", golden, differing, width * height,
                sameSize ? "" : " (sizes differ)", largest, tolerance, actualFile, diffFile));
    }

    private static void write(Bitmap bitmap, File file) {
        File parent = file.getAbsoluteFile().getParentFile();
        if (parent != null) {
            parent.mkdirs();
        }
        try (OutputStream out = new FileOutputStream(file)) {
            if (!bitmap.compress(Bitmap.CompressFormat.PNG, 100, out)) {
                throw new AssertionError("cannot write " + file);
            }
        } catch (IOException e) {
            throw new AssertionError("cannot write " + file + ": " + e.getMessage());
        }
    }
}
