package android.graphics;

import java.awt.image.BufferedImage;
import java.io.ByteArrayInputStream;
import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import javax.imageio.ImageIO;

/** Desktop stand-in for the platform decoder: PNG (whatever ImageIO reads) into ARGB_8888. */
public final class BitmapFactory {
    private BitmapFactory() {}

    /** The decoded image, or null when the stream holds none. */
    public static Bitmap decodeStream(InputStream stream) {
        try {
            BufferedImage image = ImageIO.read(stream);
            if (image == null) {
                return null;
            }
            Bitmap bitmap = Bitmap.createBitmap(image.getWidth(), image.getHeight(), Bitmap.Config.ARGB_8888);
            for (int y = 0; y < image.getHeight(); ++y) {
                for (int x = 0; x < image.getWidth(); ++x) {
                    bitmap.setPixel(x, y, image.getRGB(x, y));
                }
            }
            return bitmap;
        } catch (IOException e) {
            return null;
        }
    }

    public static Bitmap decodeFile(String path) {
        try (InputStream stream = new java.io.FileInputStream(new File(path))) {
            return decodeStream(stream);
        } catch (IOException e) {
            return null;
        }
    }

    public static Bitmap decodeByteArray(byte[] data, int offset, int length) {
        return decodeStream(new ByteArrayInputStream(data, offset, length));
    }
}
