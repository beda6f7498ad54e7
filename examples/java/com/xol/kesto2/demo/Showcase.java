package com.xol.kesto2.demo;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.NativeBitmap;
import com.xol.kesto2.scene.BlurSprite;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.FrameStatistics;
import com.xol.kesto2.scene.Image;
import com.xol.kesto2.scene.NativeImage;
import com.xol.kesto2.scene.Node;
import com.xol.kesto2.scene.PixelFormat;
import com.xol.kesto2.scene.RenderLoop;
import com.xol.kesto2.scene.Scene;
import com.xol.kesto2.scene.Scissor;
import com.xol.kesto2.scene.Sprite;
import com.xol.kesto2.scene.Texture;
import com.xol.kesto2.scene.Window;
import java.awt.image.BufferedImage;
import java.io.File;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.util.ArrayDeque;
import java.util.Deque;
import java.util.HashMap;
import java.util.Map;
import javax.imageio.ImageIO;

/**
 * One showcase frame drawn through the object layer (com.xol.kesto2.scene) into an 800x480 window: a background,
 * images arriving each way a texture can be fed, a card turned in perspective, a fading group, a
 * clipped strip, a blur at three levels, a thumbnail of part of the scene, a lost GL context
 * recovered from, and a hit test.
 */
public final class Showcase {
    public static final int WIDTH = 800;
    public static final int HEIGHT = 480;
    /** The point the hit test asks about, in window pixels from the top left. */
    public static final int HIT_X = 90;
    public static final int HIT_Y = 110;
    /** Partial-scene flag of the nodes the thumbnail shows. */
    static final int THUMBNAIL_FLAG = 1;

    /** What a run produced. */
    public static final class Result {
        public Bitmap snapshot;
        public String hitName;
        /** The first frame pays for whatever is built or uploaded on first use. */
        public double firstFrameMillis;
        /** The median of STEADY_FRAMES frames drawn and presented after it. */
        public double frameMillis;
        public double hitTestMillis;
        /** The first frame again with batching off, and both frames' statistics. */
        public Bitmap perMeshSnapshot;
        public final FrameStatistics batchedStatistics = new FrameStatistics();
        public final FrameStatistics perMeshStatistics = new FrameStatistics();
        /** The same scene drawn by a render loop on a thread of its own, into a surface of its own. */
        public Bitmap loopSnapshot;
        /** The first frame again after a lost GL context, batched and mesh by mesh. */
        public Bitmap afterLossSnapshot;
        public Bitmap afterLossPerMeshSnapshot;
        /** Losses the engine recovered from, and the textures it could not restore. */
        public int losses;
        public int unrestored;
    }

    static final int STEADY_FRAMES = 30;

    private static double millisSince(long start) {
        return (System.nanoTime() - start) / 1e6;
    }

    private final Map<Node, String> names = new HashMap<>();
    /** The scene's objects, closed in reverse order of creation. */
    private final Deque<AutoCloseable> owned = new ArrayDeque<>();
    private Engine engine;
    private Window window;
    private Scene scene;
    private Node root;

    private <T extends AutoCloseable> T own(T object) {
        owned.push(object);
        return object;
    }

    private static void step(String what) {
        System.out.println("  " + what);
    }

    // --- Pictures made here ----------------------------------------------------------------------

    private static int argb(double r, double g, double b) {
        return 0xFF000000 | clamp(r) << 16 | clamp(g) << 8 | clamp(b);
    }

    private static int clamp(double v) {
        return (int) Math.max(0, Math.min(255, Math.round(v * 255)));
    }

    /** Night sky: a vertical blue-to-violet gradient. */
    static int backgroundColour(int x, int y) {
        double t = y / (double) (HEIGHT - 1);
        return argb(0.10 + 0.30 * t, 0.12 + 0.05 * x / (double) (WIDTH - 1), 0.35 + 0.20 * t);
    }

    static int checkerColour(int x, int y) {
        return ((x / 20 + y / 20) % 2 == 0) ? 0xFFF2C14E : 0xFF2D3142;
    }

    private static Bitmap picture(int width, int height, java.util.function.IntBinaryOperator colour) {
        Bitmap bitmap = Bitmap.createBitmap(width, height, Bitmap.Config.ARGB_8888);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                bitmap.setPixel(x, y, colour.applyAsInt(x, y));
            }
        }
        return bitmap;
    }

    private static int disc(int x, int y, int size) {
        double dx = (x + 0.5) / size - 0.5, dy = (y + 0.5) / size - 0.5;
        double r = Math.sqrt(dx * dx + dy * dy) * 2;
        return r > 1 ? 0xFF1B998B : argb(1.0, 0.55 + 0.4 * r, 0.2 + 0.5 * r);
    }

    private static int rings(int x, int y, int size) {
        double dx = x - size / 2.0, dy = y - size / 2.0;
        return ((int) (Math.sqrt(dx * dx + dy * dy) / 8) % 2 == 0) ? 0xFFE84855 : 0xFFFFFFFF;
    }

    private static int card(int x, int y) {
        boolean border = x < 6 || y < 6 || x >= 134 || y >= 94;
        return border ? 0xFFFFFFFF : argb(0.2 + 0.6 * x / 140.0, 0.3, 0.8 - 0.5 * y / 100.0);
    }

    /** A soft white disc, premultiplied as the engine blends it. */
    private static int spark(int x, int y) {
        double r = Math.hypot(x - 7.5, y - 7.5) / 8;
        int a = (int) Math.round(255 * Math.min(1, 1.6 * Math.max(0, 1 - r * r)));
        return a << 24 | a << 16 | a << 8 | a;
    }

    private static int stripes(int x, int y) {
        return ((x + y) / 16) % 2 == 0 ? 0xFF3BCEAC : 0xFF0EAD69;
    }

    /** Fine detail that blurs visibly: a grid of thin lines with a bright dot. */
    private static int detail(int x, int y) {
        if (Math.hypot(x - 64, y - 64) < 14) {
            return 0xFFFFD23F;
        }
        return (x % 12 < 2 || y % 12 < 2) ? 0xFFFFFFFF : 0xFF540D6E;
    }

    private static byte[] pixelBytes(Bitmap bitmap) {
        ByteBuffer bytes = ByteBuffer.allocate(bitmap.getByteCount());
        bitmap.copyPixelsToBuffer(bytes);
        return bytes.array();
    }

    // --- Scene pieces ----------------------------------------------------------------------------

    private Texture textureFromJava(Bitmap bitmap) {
        return own(new Texture(engine)).upload(bitmap);
    }

    /** A one-layer sprite of the given size at window pixel (x, y), under `parent`. */
    private Sprite sprite(String name, Node parent, Texture texture, float width, float height, float x, float y,
            int order) {
        Sprite sprite = own(new Sprite(engine, 1));
        names.put(sprite, name);
        sprite.setSize(0, width, height);
        if (texture != null) {
            sprite.setTexture(0, texture);
        }
        place(sprite, x, y).setRenderOrder(order);
        parent.add(sprite);
        return sprite;
    }

    /** Window pixels (top left origin) to scene units (centre origin, y up). */
    private static Node place(Node node, float x, float y) {
        return node.setPosition(x - WIDTH / 2f, HEIGHT / 2f - y, 0f);
    }

    private Node group(String name, Node parent, int order) {
        Node node = own(new Node(engine));
        names.put(node, name);
        node.setRenderOrder(order).setChildrenOrdered(true);
        parent.add(node);
        return node;
    }

    // --- The run ---------------------------------------------------------------------------------

    public Result run(File png) throws Exception {
        System.out.println("Kesto2 showcase, " + WIDTH + "x" + HEIGHT);
        step("environment, context and window");
        Surface surface = new Surface(WIDTH, HEIGHT);
        try (Engine engine = new Engine(8, 8, 8, 0);
                Window window = new Window(engine, surface, WIDTH, HEIGHT);
                Scene scene = new Scene(engine)) {
            this.engine = engine;
            this.window = window;
            this.scene = scene;
            window.setClearColor(0xFF000000).show(scene);
            root = scene.root().setChildrenOrdered(true);  // draw by render order
            try {
                return build(png);
            } finally {
                while (!owned.isEmpty()) {
                    owned.pop().close();
                }
            }
        } finally {
            surface.release();
            // The engine's statistics went to its log as it closed: everything back to zero.
            NativeBitmap.Native_printResourceLog();
        }
    }

    private Result build(File png) throws Exception {
        step("background");
        sprite("background", root, textureFromJava(picture(WIDTH, HEIGHT, Showcase::backgroundColour)),
                WIDTH, HEIGHT, WIDTH / 2f, HEIGHT / 2f, 0);

        step("images: a Java bitmap, an engine bitmap queued from a second thread, a native bitmap");
        Sprite checker = sprite("checkerboard", root, textureFromJava(picture(120, 120, Showcase::checkerColour)),
                120, 120, HIT_X, HIT_Y, 1);
        Texture queued = own(new Texture(engine));
        // Images stay open, and are queued without hand-over: after a lost context the textures
        // are uploaded from them again.
        Image discImage = own(new Image(engine));
        Thread producer = new Thread(() -> {
            queued.queue(discImage.set(picture(120, 120, (x, y) -> disc(x, y, 120))), false);
        }, "producer");
        producer.start();
        producer.join();
        Sprite discSprite = sprite("disc (queued)", root, queued, 120, 120, 230, 110, 1);
        NativeImage rings = own(new NativeImage());
        rings.set(PixelFormat.RGBA8888, 120, 120, pixelBytes(picture(120, 120, (x, y) -> rings(x, y, 120))));
        Texture ringsTexture = own(new Texture(engine)).upload(rings);
        Sprite ringsSprite = sprite("rings (native bitmap)", root, ringsTexture, 120, 120, 370, 110, 1);
        for (Node image : new Node[] {checker, discSprite, ringsSprite}) {
            image.addRenderFlag(THUMBNAIL_FLAG, false);
        }

        step("a card turned 50 degrees about y");
        sprite("card", root, textureFromJava(picture(140, 100, Showcase::card)), 140, 100, 530, 110, 1)
                .setRotation(0f, 50f, 0f);

        step("a group at half opacity");
        Node fading = place(group("fading group", root, 1), 690, 110);
        sprite("group square 1", fading, textureFromJava(picture(1, 1, (x, y) -> 0xFFFF5050)), 80, 80, 0, 0, 0)
                .setPosition(-20f, 20f, 0f);
        sprite("group square 2", fading, textureFromJava(picture(1, 1, (x, y) -> 0xFF50C8FF)), 80, 80, 0, 0, 1)
                .setPosition(20f, -20f, 0f);
        fading.setGroupAlpha(0.5f);

        step("a strip clipped by a scissor");
        Scissor clip = own(new Scissor(engine)).setArea(40, 240, 320, 60);
        clip.setRenderOrder(2);
        root.add(clip);
        sprite("striped strip", clip, textureFromJava(picture(400, 200, Showcase::stripes)), 400, 200, 200, 270, 0)
                .setRotation(0f, 0f, 12f);

        step("a blur at three levels");
        Texture detail = textureFromJava(picture(128, 128, Showcase::detail));
        float[] levels = {0f, 3f, 6f};
        // Right to left: the highest level draws with the default program and batches, and the
        // next level's own program ends that run.
        for (int i = levels.length - 1; i >= 0; --i) {
            BlurSprite blur = own(new BlurSprite(engine));
            names.put(blur, "blur " + levels[i]);
            blur.setSize(0, 110f, 110f);
            blur.setTexture(detail, 6f).setBlur(levels[i]);
            place(blur, 480 + 130 * i, 270).setRenderOrder(2);
            root.add(blur);
        }

        step("a thumbnail of the image row, rendered into a texture");
        Texture thumbnail = own(new Texture(engine)).allocate(PixelFormat.RGBA8888, WIDTH, HEIGHT)
                .renderFrom(window, THUMBNAIL_FLAG, 20, 40, 420, 140);
        sprite("thumbnail", root, thumbnail, 240, 80, 160, 410, 3);

        step("48 tinted sparks sharing one texture: drawn with one call");
        Texture sparkTexture = textureFromJava(picture(16, 16, Showcase::spark));
        for (int i = 0; i < 48; ++i) {
            float size = 16 + i * 7 % 5 * 5;
            Sprite spark = sprite("spark " + i, root, sparkTexture, size, size,
                    335 + i % 12 * 38 + i * 13 % 11, 372 + i / 12 * 24 + i * 7 % 9, 4);
            spark.setRotation(0f, 0f, i * 29f);
            spark.setTint(0, true).setColor(0, 0xFF0000 | (150 + i * 45 % 106) << 8 | 60 + i * 71 % 196)
                    .setAlpha(0, 190 + i * 23 % 66);
        }

        step("render");
        Result result = new Result();
        long start = System.nanoTime();
        window.renderWithoutPresent();
        result.firstFrameMillis = millisSince(start);

        step("snapshot");
        result.snapshot = window.snapshot();
        window.frameStatistics(result.batchedStatistics);
        window.present();

        step("the same frame drawn mesh by mesh");
        window.setBatching(false).renderWithoutPresent();
        result.perMeshSnapshot = window.snapshot();
        window.frameStatistics(result.perMeshStatistics);
        window.setBatching(true).present();
        step(String.format("%d meshes: %d draw calls batched, %d mesh by mesh", result.batchedStatistics.meshes(),
                result.batchedStatistics.drawCalls(), result.perMeshStatistics.drawCalls()));

        step("a lost GL context, twice: each next frame is the frame before it");
        engine.setContextLossListener(unrestored -> {
            result.losses++;
            result.unrestored += unrestored.size();
        });
        engine.simulateContextLoss();
        window.renderWithoutPresent();
        result.afterLossSnapshot = window.snapshot();
        window.present();
        engine.simulateContextLoss();
        window.setBatching(false).renderWithoutPresent();
        result.afterLossPerMeshSnapshot = window.snapshot();
        window.setBatching(true).present();
        engine.setContextLossListener(null);

        step("the same scene through a render loop on its own thread");
        Surface loopSurface = new Surface(WIDTH, HEIGHT);
        try (RenderLoop loop = new RenderLoop(engine, scene)) {
            loop.attach(loopSurface, WIDTH, HEIGHT);
            result.loopSnapshot = loop.capture();
        } finally {
            engine.makeCurrent();  // back on this thread
            loopSurface.release();
        }

        step("steady frames and a hit test");
        double[] frames = new double[STEADY_FRAMES];
        for (int i = 0; i < frames.length; ++i) {
            start = System.nanoTime();
            window.render();
            frames[i] = millisSince(start);
        }
        java.util.Arrays.sort(frames);
        result.frameMillis = (frames[(frames.length - 1) / 2] + frames[frames.length / 2]) / 2;
        start = System.nanoTime();
        Node hit = window.hitTest(HIT_X, HIT_Y);
        result.hitTestMillis = millisSince(start);
        result.hitName = hit == null ? "nothing" : names.getOrDefault(hit, "an unnamed node");
        if (png != null) {
            writePng(result.snapshot, png);
        }
        return result;
    }

    static void writePng(Bitmap bitmap, File file) throws IOException {
        BufferedImage image = new BufferedImage(bitmap.getWidth(), bitmap.getHeight(), BufferedImage.TYPE_INT_RGB);
        for (int y = 0; y < bitmap.getHeight(); ++y) {
            for (int x = 0; x < bitmap.getWidth(); ++x) {
                image.setRGB(x, y, bitmap.getPixel(x, y));
            }
        }
        File parent = file.getAbsoluteFile().getParentFile();
        if (parent != null && !parent.isDirectory() && !parent.mkdirs()) {
            throw new IOException("cannot create " + parent);
        }
        if (!ImageIO.write(image, "png", file)) {
            throw new IOException("no PNG writer");
        }
    }

    public static void main(String[] args) {
        File png = new File(args.length > 0 ? args[0] : "showcase.png");
        try {
            Result result = new Showcase().run(png);
            System.out.println();
            System.out.println("Picture:     " + png.getAbsolutePath());
            System.out.println("Hit test at (" + HIT_X + ", " + HIT_Y + "): " + result.hitName);
            System.out.printf("First frame: %.2f ms%n", result.firstFrameMillis);
            System.out.printf("Frame time:  %.2f ms (median of %d frames)%n", result.frameMillis, STEADY_FRAMES);
            System.out.printf("Hit test:    %.3f ms%n", result.hitTestMillis);
        } catch (Throwable failure) {
            System.err.println("Showcase failed: " + failure.getMessage());
            failure.printStackTrace();
            System.exit(1);
        }
    }
}
