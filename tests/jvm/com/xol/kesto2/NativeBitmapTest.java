package com.xol.kesto2;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import com.xol.kesto2.test.LowMemory;
import com.xol.kesto2.test.NativeLog;
import org.junit.Test;

/** Native bitmaps driven from Java through the functions JNI_OnLoad registers. */
public class NativeBitmapTest {
    static {
        // Loading the engine registers NativeBitmap's natives.
        Kesto2.getOutputVectorX();
    }

    private static byte[] pixels(int count, int seed) {
        byte[] bytes = new byte[count];
        for (int i = 0; i < count; ++i) {
            bytes[i] = (byte) (seed + i);
        }
        return bytes;
    }

    @Test
    public void fillCopySwapAndReadBack() {
        int before = NativeBitmap.Native_getBitmapCount();
        int a = NativeBitmap.Native_createBitmap();
        int b = NativeBitmap.Native_createBitmap();
        assertNotEquals(0, a);
        assertEquals(before + 2, NativeBitmap.Native_getBitmapCount());
        assertNull(NativeBitmap.Native_getBitmapBuffer(a));

        // RGB888, width 3: rows of 10 bytes (9 rounded up to even).
        byte[] rgb = pixels(20, 1);
        assertFalse(NativeBitmap.Native_setBitmap(a, Kesto2.PIXEL_FORMAT_RGB888, 3, 2, pixels(18, 1)));
        assertTrue(NativeBitmap.Native_setBitmap(a, Kesto2.PIXEL_FORMAT_RGB888, 3, 2, rgb));
        assertEquals(3, NativeBitmap.Native_getBitmapWidth(a));
        assertEquals(2, NativeBitmap.Native_getBitmapHeight(a));
        assertEquals(20, NativeBitmap.Native_getBitmapBufferBytes(a));
        assertArrayEquals(rgb, NativeBitmap.Native_getBitmapBuffer(a));

        assertTrue(NativeBitmap.Native_copyFromBitmap(b, a));
        assertArrayEquals(rgb, NativeBitmap.Native_getBitmapBuffer(b));
        byte[] other = pixels(8, 100);
        assertTrue(NativeBitmap.Native_setBitmap(b, Kesto2.PIXEL_FORMAT_RGB565, 2, 2, other));
        NativeBitmap.Native_swapBitmap(a, b);
        assertArrayEquals(other, NativeBitmap.Native_getBitmapBuffer(a));
        assertArrayEquals(rgb, NativeBitmap.Native_getBitmapBuffer(b));

        NativeBitmap.Native_clearBitmap(b);
        assertEquals(0, NativeBitmap.Native_getBitmapWidth(b));
        assertNull(NativeBitmap.Native_getBitmapBuffer(b));

        NativeBitmap.Native_destroyBitmap(a);
        NativeBitmap.Native_destroyBitmap(b);
        assertEquals(before, NativeBitmap.Native_getBitmapCount());
        try (NativeLog log = new NativeLog()) {
            assertEquals(0, NativeBitmap.Native_getBitmapWidth(a));
            assertTrue(log.lines().get(0).endsWith("unknown handle " + a));
        }
    }

    @Test
    public void copyToANativeAddressNeedsTheExactLength() {
        int bitmap = NativeBitmap.Native_createBitmap();
        byte[] rgba = pixels(16, 7);
        assertTrue(NativeBitmap.Native_setBitmap(bitmap, Kesto2.PIXEL_FORMAT_RGBA8888, 2, 2, rgba));
        int address = LowMemory.allocate(64);
        assertNotEquals("no memory below 4 GiB", 0, address);
        try (NativeLog log = new NativeLog()) {
            assertFalse(NativeBitmap.Native_copyBitmapBuffer(bitmap, address, 15));
            assertFalse(NativeBitmap.Native_copyBitmapBuffer(0, address, 16));
            assertFalse(NativeBitmap.Native_copyBitmapBuffer(bitmap, 0, 16));
            assertArrayEquals(new byte[16], LowMemory.read(address, 16));
            String wrong = "[NativeBitmap][Native_getBitmapBuffer] Request lenth is wrong. "
                    + "BufferLen:16, RequestLen:15";
            assertTrue(log.lines().toString(), log.lines().get(0).endsWith(wrong));
            assertTrue(log.lines().get(1).endsWith("[NativeBitmap][Native_getBitmapBuffer] bitmap handle is 0"));
            assertTrue(log.lines().get(2).endsWith("[NativeBitmap][Native_getBitmapBuffer] destination is 0"));
        }
        assertTrue(NativeBitmap.Native_copyBitmapBuffer(bitmap, address, 16));
        assertArrayEquals(rgba, LowMemory.read(address, 16));
        LowMemory.free(address, 64);

        NativeBitmap.Native_clearBitmap(bitmap);
        try (NativeLog log = new NativeLog()) {
            assertFalse(NativeBitmap.Native_copyBitmapBuffer(bitmap, address, 0));
            assertTrue(log.lines().get(0).endsWith("[NativeBitmap][Native_getBitmapBuffer] sourceBuffer is 0"));
        }
        NativeBitmap.Native_destroyBitmap(bitmap);
    }
}
