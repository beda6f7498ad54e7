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
}
