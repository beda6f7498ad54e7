package android.graphics;

import java.awt.image.BufferedImage;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.Buffer;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.IntBuffer;
import java.nio.ShortBuffer;

/**
 * Desktop stand-in for the platform bitmap: the same signatures and the same pixel memory, so
 * native code sees what it would see on a device.
 *
 * <p>Memory layout per config: ARGB_8888 holds bytes R, G, B, A with colour premultiplied by
 * alpha; RGB_565 a little-endian 16-bit value, red in the top five bits; ARGB_4444 a
 * little-endian 16-bit value R, G, B, A from the top nibble down, premultiplied; ALPHA_8 one alpha
 * byte. Rows are packed: row bytes are width times bytes per pixel.
 *
 * <p>libkesto2host (host/HostBitmap.cpp) reads these private fields through JNI; keep the two in
 * step: {@code mWidth}, {@code mHeight} (int), {@code mConfig} (Config; its ordinal selects the
 * pixel format, so the constants keep their order), {@code mBuffer} (the direct buffer holding
 * the pixels; null once recycled and no longer locked), {@code mRecycled} (boolean) and {@code
 * mLockCount} (int, changed only while holding this object's monitor).
 */
public final class Bitmap {
    /** The encodings of {@link #compress}; the stand-in writes PNG only. */
    public enum CompressFormat {
        JPEG,
        PNG,
        WEBP
    }

    public enum Config {
        ALPHA_8(1),
        RGB_565(2),
        ARGB_4444(2),
        ARGB_8888(4);

        final int bytesPerPixel;

        Config(int bytesPerPixel) {
            this.bytesPerPixel = bytesPerPixel;
        }
    }

    private final int mWidth;
    private final int mHeight;
    private final Config mConfig;
    private final int mRowBytes;
    // Direct, so native code gets a stable address; kept while locked even after recycle().
    private volatile ByteBuffer mBuffer;
    private volatile boolean mRecycled;
    private int mLockCount;

    private Bitmap(int width, int height, Config config, int byteCount) {
        mWidth = width;
        mHeight = height;
        mConfig = config;
        mRowBytes = width * config.bytesPerPixel;
        // allocateDirect zero-fills: a new bitmap is transparent black, as on a device.
        mBuffer = ByteBuffer.allocateDirect(byteCount).order(ByteOrder.LITTLE_ENDIAN);
    }

    public static Bitmap createBitmap(int width, int height, Config config) {
        if (width <= 0 || height <= 0) {
            throw new IllegalArgumentException("width and height must be > 0");
        }
        if (config == null) {
            throw new IllegalArgumentException("config must not be null");
        }
        long byteCount = (long) width * height * config.bytesPerPixel;
        if (byteCount > Integer.MAX_VALUE) {
            throw new IllegalArgumentException(
                    "a " + width + "x" + height + " " + config + " bitmap is too large");
        }
        return new Bitmap(width, height, config, (int) byteCount);
    }

    /**
     * A bitmap of {@code colors}, unpremultiplied ARGB, row after row ({@code width} a row), in
     * {@code config}.
     */
    public static Bitmap createBitmap(int[] colors, int width, int height, Config config) {
        Bitmap bitmap = createBitmap(width, height, config);
        bitmap.setPixels(colors, 0, width, 0, 0, width, height);
        return bitmap;
    }

    public int getWidth() {
        return mWidth;
    }

    public int getHeight() {
        return mHeight;
    }

    public int getRowBytes() {
        return mRowBytes;
    }

    public int getByteCount() {
        return mRowBytes * mHeight;
    }

    public Config getConfig() {
        return mConfig;
    }

    public boolean isRecycled() {
        return mRecycled;
    }

    public synchronized void recycle() {
        if (mRecycled) {
            return;
        }
        mRecycled = true;
        // Native code holding the address keeps the memory until its last unlock drops it.
        if (mLockCount == 0) {
            mBuffer = null;
        }
    }

    /**
     * Writes the bitmap as PNG (the quality is ignored, as for PNG on a device); false for the
     * other formats and for a recycled bitmap.
     */
    public boolean compress(CompressFormat format, int quality, OutputStream stream) {
        if (format != CompressFormat.PNG || mRecycled) {
            return false;
        }
        boolean opaque = mConfig == Config.RGB_565;
        BufferedImage image = new BufferedImage(mWidth, mHeight,
                opaque ? BufferedImage.TYPE_INT_RGB : BufferedImage.TYPE_INT_ARGB);
        for (int y = 0; y < mHeight; ++y) {
            for (int x = 0; x < mWidth; ++x) {
                image.setRGB(x, y, getPixel(x, y));
            }
        }
        try {
            return javax.imageio.ImageIO.write(image, "png", stream);
        } catch (IOException e) {
            return false;
        }
    }

    public int getPixel(int x, int y) {
        ByteBuffer pixels = pixels("getPixel()");
        checkPixel(x, y);
        return decode(pixels, y * mRowBytes + x * mConfig.bytesPerPixel);
    }

    /**
     * Copies the rectangle (x, y, width, height) into {@code pixels} as unpremultiplied ARGB,
     * row r at {@code offset + r * stride}.
     */
    public void getPixels(int[] pixels, int offset, int stride, int x, int y, int width, int height) {
        ByteBuffer memory = pixels("getPixels()");
        checkRectangle(pixels, offset, stride, x, y, width, height);
        for (int row = 0; row < height; ++row) {
            int from = (y + row) * mRowBytes + x * mConfig.bytesPerPixel;
            int to = offset + row * stride;
            for (int column = 0; column < width; ++column, from += mConfig.bytesPerPixel) {
                pixels[to + column] = decode(memory, from);
            }
        }
    }

    /** Writes unpremultiplied ARGB {@code pixels}, laid out as for {@link #getPixels}, into the rectangle. */
    public void setPixels(int[] pixels, int offset, int stride, int x, int y, int width, int height) {
        ByteBuffer memory = pixels("setPixels()");
        checkRectangle(pixels, offset, stride, x, y, width, height);
        for (int row = 0; row < height; ++row) {
            int to = (y + row) * mRowBytes + x * mConfig.bytesPerPixel;
            int from = offset + row * stride;
            for (int column = 0; column < width; ++column, to += mConfig.bytesPerPixel) {
                store(memory, to, encode(pixels[from + column]));
            }
        }
    }

    // As the platform checks a bulk access: the rectangle within the bitmap, the stride at least a
    // row, and every index within the array.
    private void checkRectangle(int[] pixels, int offset, int stride, int x, int y, int width, int height) {
        if (x < 0 || y < 0 || width < 0 || height < 0 || x + width > mWidth || y + height > mHeight) {
            throw new IllegalArgumentException("the rectangle must lie within the bitmap");
        }
        if (Math.abs(stride) < width) {
            throw new IllegalArgumentException("abs(stride) must be >= width");
        }
        if (width == 0 || height == 0) {
            return;
        }
        long last = offset + (long) (height - 1) * stride;
        if (offset < 0 || offset + width > pixels.length || last < 0 || last + width > pixels.length) {
            throw new ArrayIndexOutOfBoundsException("the rectangle's rows fall outside the array");
        }
    }

    // The pixel at `offset` of the memory as unpremultiplied ARGB.
    private int decode(ByteBuffer pixels, int offset) {
        switch (mConfig) {
            case ARGB_8888: {
                int a = pixels.get(offset + 3) & 0xFF;
                return unpremultiplied(
                        a,
                        pixels.get(offset) & 0xFF,
                        pixels.get(offset + 1) & 0xFF,
                        pixels.get(offset + 2) & 0xFF);
            }
            case RGB_565: {
                int value = pixels.getShort(offset) & 0xFFFF;
                int r = value >>> 11;
                int g = (value >>> 5) & 0x3F;
                int b = value & 0x1F;
                return 0xFF000000
                        | ((r << 3) | (r >>> 2)) << 16
                        | ((g << 2) | (g >>> 4)) << 8
                        | ((b << 3) | (b >>> 2));
            }
            case ARGB_4444: {
                int value = pixels.getShort(offset) & 0xFFFF;
                return unpremultiplied(
                        ((value) & 0xF) * 0x11,
                        ((value >>> 12) & 0xF) * 0x11,
                        ((value >>> 8) & 0xF) * 0x11,
                        ((value >>> 4) & 0xF) * 0x11);
            }
            default:
                return (pixels.get(offset) & 0xFF) << 24;
        }
    }

    public void setPixel(int x, int y, int color) {
        ByteBuffer pixels = pixels("setPixel()");
        checkPixel(x, y);
        store(pixels, y * mRowBytes + x * mConfig.bytesPerPixel, encode(color));
    }

    public void eraseColor(int color) {
        ByteBuffer pixels = pixels("eraseColor()");
        int encoded = encode(color);
        int step = mConfig.bytesPerPixel;
        int end = getByteCount();
        for (int offset = 0; offset < end; offset += step) {
            store(pixels, offset, encoded);
        }
    }

    /**
     * Copies the raw pixel memory into {@code dst} at its position and advances the position by
     * the byte count in units of the buffer's element size. A short or int buffer receives the
     * bytes as its own memory would hold them (in its byte order).
     */
    public void copyPixelsToBuffer(Buffer dst) {
        ByteBuffer pixels = pixels("copyPixelsToBuffer()");
        int shift = elementShift(dst);
        int byteCount = getByteCount();
        if (((long) dst.remaining() << shift) < byteCount) {
            throw new RuntimeException("Buffer not large enough for pixels");
        }
        int start = dst.position();
        ByteBuffer source = pixels.duplicate();
        source.clear();
        if (shift == 0) {
            source.limit(byteCount);
            ((ByteBuffer) dst).put(source);
            return;
        }
        ByteOrder order = order(dst);
        int whole = byteCount >> shift;
        int rest = byteCount - (whole << shift);
        source.limit(whole << shift);
        ByteBuffer view = source.slice().order(order);
        if (shift == 1) {
            ((ShortBuffer) dst).put(view.asShortBuffer());
        } else {
            ((IntBuffer) dst).put(view.asIntBuffer());
        }
        if (rest != 0) {
            // A trailing partial element: only its leading bytes change, as a memory copy would.
            ByteBuffer element = ByteBuffer.allocate(4).order(order);
            int index = start + whole;
            if (shift == 1) {
                element.putShort(0, ((ShortBuffer) dst).get(index));
            } else {
                element.putInt(0, ((IntBuffer) dst).get(index));
            }
            for (int i = 0; i < rest; ++i) {
                element.put(i, pixels.get((whole << shift) + i));
            }
            if (shift == 1) {
                ((ShortBuffer) dst).put(index, element.getShort(0));
            } else {
                ((IntBuffer) dst).put(index, element.getInt(0));
            }
        }
    }

    /**
     * Fills the pixel memory from {@code src} at its position (raw layout, see
     * copyPixelsToBuffer) and advances the position by the byte count in element units.
     */
    public void copyPixelsFromBuffer(Buffer src) {
        ByteBuffer pixels = pixels("copyPixelsFromBuffer()");
        int shift = elementShift(src);
        int byteCount = getByteCount();
        if (((long) src.remaining() << shift) < byteCount) {
            throw new RuntimeException("Buffer not large enough for pixels");
        }
        int start = src.position();
        ByteBuffer target = pixels.duplicate();
        target.clear();
        if (shift == 0) {
            ByteBuffer source = ((ByteBuffer) src).duplicate();
            source.limit(start + byteCount);
            target.put(source);
            src.position(start + byteCount);
            return;
        }
        ByteOrder order = order(src);
        int whole = byteCount >> shift;
        int rest = byteCount - (whole << shift);
        ByteBuffer view = target.slice().order(order);
        if (shift == 1) {
            ShortBuffer source = ((ShortBuffer) src).duplicate();
            source.limit(start + whole);
            view.asShortBuffer().put(source);
        } else {
            IntBuffer source = ((IntBuffer) src).duplicate();
            source.limit(start + whole);
            view.asIntBuffer().put(source);
        }
        if (rest != 0) {
            // A trailing partial element: only its leading bytes are read, as a memory copy would.
            ByteBuffer element = ByteBuffer.allocate(4).order(order);
            if (shift == 1) {
                element.putShort(0, ((ShortBuffer) src).get(start + whole));
            } else {
                element.putInt(0, ((IntBuffer) src).get(start + whole));
            }
            for (int i = 0; i < rest; ++i) {
                pixels.put((whole << shift) + i, element.get(i));
            }
        }
        src.position(start + whole);
    }

    private ByteBuffer pixels(String call) {
        ByteBuffer pixels = mBuffer;
        if (mRecycled || pixels == null) {
            throw new IllegalStateException("Can't call " + call + " on a recycled bitmap");
        }
        return pixels;
    }

    private void checkPixel(int x, int y) {
        if (x < 0) {
            throw new IllegalArgumentException("x must be >= 0");
        }
        if (y < 0) {
            throw new IllegalArgumentException("y must be >= 0");
        }
        if (x >= mWidth) {
            throw new IllegalArgumentException("x must be < bitmap.width()");
        }
        if (y >= mHeight) {
            throw new IllegalArgumentException("y must be < bitmap.height()");
        }
    }

    // The pixel's memory as an int; store() writes its low bytesPerPixel bytes.
    private int encode(int color) {
        int a = color >>> 24;
        int r = (color >>> 16) & 0xFF;
        int g = (color >>> 8) & 0xFF;
        int b = color & 0xFF;
        switch (mConfig) {
            case ARGB_8888:
                // Little-endian int: byte 0 is R, byte 3 is A.
                return a << 24
                        | premultiply(b, a) << 16
                        | premultiply(g, a) << 8
                        | premultiply(r, a);
            case RGB_565:
                return (r >>> 3) << 11 | (g >>> 2) << 5 | (b >>> 3);
            case ARGB_4444:
                return (premultiply(r, a) >>> 4) << 12
                        | (premultiply(g, a) >>> 4) << 8
                        | (premultiply(b, a) >>> 4) << 4
                        | (a >>> 4);
            default:
                return a;
        }
    }

    private void store(ByteBuffer pixels, int offset, int encoded) {
        switch (mConfig.bytesPerPixel) {
            case 4:
                pixels.putInt(offset, encoded);
                break;
            case 2:
                pixels.putShort(offset, (short) encoded);
                break;
            default:
                pixels.put(offset, (byte) encoded);
                break;
        }
    }

    // c * a / 255, rounded to nearest.
    private static int premultiply(int c, int a) {
        int product = c * a + 128;
        return (product + (product >>> 8)) >>> 8;
    }

    private static int unpremultiplied(int a, int r, int g, int b) {
        if (a == 0) {
            return 0;
        }
        return a << 24 | unpremultiply(r, a) << 16 | unpremultiply(g, a) << 8 | unpremultiply(b, a);
    }

    private static int unpremultiply(int c, int a) {
        return Math.min(255, (c * 255 + a / 2) / a);
    }

    private static int elementShift(Buffer buffer) {
        if (buffer instanceof ByteBuffer) {
            return 0;
        }
        if (buffer instanceof ShortBuffer) {
            return 1;
        }
        if (buffer instanceof IntBuffer) {
            return 2;
        }
        throw new RuntimeException("unsupported Buffer subclass");
    }

    private static ByteOrder order(Buffer buffer) {
        return buffer instanceof ShortBuffer
                ? ((ShortBuffer) buffer).order()
                : ((IntBuffer) buffer).order();
    }
}
