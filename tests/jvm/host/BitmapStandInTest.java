package host;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.graphics.Bitmap.Config;
import java.nio.ByteBuffer;
import org.junit.Test;

// The desktop Bitmap must hold pixels exactly as a device does: native code reads the memory.
public class BitmapStandInTest {
    private static byte[] pixelBytes(Bitmap bitmap) {
        ByteBuffer buffer = ByteBuffer.allocate(bitmap.getByteCount());
        bitmap.copyPixelsToBuffer(buffer);
        return buffer.array();
    }

    private static byte[] bytes(int... values) {
        byte[] result = new byte[values.length];
        for (int i = 0; i < values.length; ++i) {
            result[i] = (byte) values[i];
        }
        return result;
    }

    @Test
    public void argb8888UnpremultipliesWithRounding() {
        Bitmap bitmap = Bitmap.createBitmap(1, 1, Config.ARGB_8888);
        // Green 127 at alpha 16 is stored as 8 and reads back as 8 * 255 / 16 = 127.5 -> 128.
        bitmap.setPixel(0, 0, 0x10FF7F01);
        assertArrayEquals(bytes(16, 8, 0, 16), pixelBytes(bitmap));
        assertEquals(0x10FF8000, bitmap.getPixel(0, 0));

        bitmap.copyPixelsFromBuffer(ByteBuffer.wrap(bytes(10, 20, 30, 40)));
        // 10 * 255 / 40 = 63.75 -> 64, 20 * 255 / 40 = 127.5 -> 128, 30 * 255 / 40 = 191.25 -> 191.
        assertEquals(0x284080BF, bitmap.getPixel(0, 0));
    }

    @Test
    public void recycledBitmapsRefusePixelAccess() {
        Bitmap bitmap = Bitmap.createBitmap(2, 2, Config.ARGB_8888);
        assertFalse(bitmap.isRecycled());
        bitmap.recycle();
        assertTrue(bitmap.isRecycled());
        bitmap.recycle();
        assertTrue(bitmap.isRecycled());
        assertThrows(IllegalStateException.class, () -> bitmap.getPixel(0, 0));
        assertThrows(IllegalStateException.class, () -> bitmap.setPixel(0, 0, 0));
        assertThrows(IllegalStateException.class, () -> bitmap.eraseColor(0));
        ByteBuffer buffer = ByteBuffer.allocate(16);
        assertThrows(IllegalStateException.class, () -> bitmap.copyPixelsToBuffer(buffer));
        assertThrows(IllegalStateException.class, () -> bitmap.copyPixelsFromBuffer(buffer));
        assertEquals(0, buffer.position());
    }

    @Test
    public void bulkPixelsUseOffsetAndStrideAndRefuseWhatLiesOutside() {
        int[] colours = {0xFFFF0000, 0x80FFFFFF, 0xFF00FF00, 0x00000000, 0xFF0000FF, 0x10FF7F01};
        Bitmap bitmap = Bitmap.createBitmap(colours, 3, 2, Config.ARGB_8888);
        int[] expected = new int[6];
        for (int i = 0; i < 6; ++i) {
            bitmap.setPixel(i % 3, i / 3, colours[i]);  // the per-pixel path stores the same
            expected[i] = bitmap.getPixel(i % 3, i / 3);
        }
        assertEquals(0x10FF8000, expected[5]);  // premultiplied in memory, as setPixel stores it
        // The 2x2 lower right corner into an array at offset 1 with rows 5 apart.
        int[] out = new int[12];
        bitmap.getPixels(out, 1, 5, 1, 0, 2, 2);
        assertArrayEquals(new int[] {0, expected[1], expected[2], 0, 0, 0, expected[4], expected[5], 0, 0, 0, 0}, out);
        Bitmap copy = Bitmap.createBitmap(3, 2, Config.RGB_565);
        copy.setPixels(new int[] {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFFFF, 0xFF000000, 0xFF808080}, 0, 3, 0, 0, 3, 2);
        assertEquals(0xFF0000FF, copy.getPixel(2, 0));
        assertEquals(0xFF848284, copy.getPixel(2, 1));  // grey 0x80 through 5-6-5
        assertThrows(IllegalArgumentException.class, () -> bitmap.getPixels(out, 0, 3, 2, 0, 2, 1));
        assertThrows(IllegalArgumentException.class, () -> bitmap.getPixels(out, 0, 1, 0, 0, 2, 1));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> bitmap.getPixels(out, 11, 3, 0, 0, 3, 1));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> Bitmap.createBitmap(new int[5], 3, 2, Config.ARGB_8888));
    }
}
