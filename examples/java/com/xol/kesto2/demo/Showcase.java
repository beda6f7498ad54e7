package com.xol.kesto2.demo;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.NativeBitmap;
import java.awt.image.BufferedImage;
import java.io.File;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.util.LinkedHashMap;
import java.util.Map;
import javax.imageio.ImageIO;

/**
 * One showcase frame drawn through com.xol.kesto2.Kesto2 into an 800x480 window: a background,
 * images arriving each way a texture can be fed, a card turned in perspective, a fading group, a
 * clipped strip, a blur at three levels, a thumbnail of part of the scene, and a hit test.
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
        public int[] batchedStatistics = new int[Kesto2.STAT_COUNT];
        public int[] perMeshStatistics = new int[Kesto2.STAT_COUNT];
    }

    static final int STEADY_FRAMES = 30;

    private static double millisSince(long start) {
        return (System.nanoTime() - start) / 1e6;
    }

    private final Map<Integer, String> names = new LinkedHashMap<>();
    private int env;
    private int context;
    private int window;
    private int scene;
    private int root;
    private Surface surface;
    private final java.util.List<Integer> nodes = new java.util.ArrayList<>();
    private final java.util.List<Integer> textures = new java.util.ArrayList<>();

    private static void step(String what) {
        System.out.println("  " + what);
    }

    private static int check(int handle, String what) {
        if (handle == 0) {
            throw new IllegalStateException(what + " failed (see the engine log)");
        }
        return handle;
    }

    private static void check(boolean ok, String what) {
        if (!ok) {
            throw new IllegalStateException(what + " failed (see the engine log)");
        }
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

    private int texture() {
        int texture = check(Kesto2.CreateTexture(env), "CreateTexture");
        textures.add(texture);
        return texture;
    }

    private int textureFromJava(Bitmap bitmap) {
        int texture = texture();
        check(Kesto2.Texture_SetupByAndroidBitmapAndRealize(texture, bitmap), "upload from a Java bitmap");
        return texture;
    }

    /** A one-layer sprite of the given size at window pixel (x, y), under `parent`. */
    private int sprite(String name, int parent, int texture, float width, float height, float x, float y, int order) {
        int sprite = check(Kesto2.CreateSprite(env, 1), "CreateSprite");
        nodes.add(sprite);
        names.put(sprite, name);
        check(Kesto2.Sprite_SetupGeometry(sprite, 0, width, height, 0f, 0f, 0f), "geometry");
        if (texture != 0) {
            check(Kesto2.Sprite_SetTexture(sprite, 0, 0, texture), "Sprite_SetTexture");
        }
        place(sprite, x, y);
        Kesto2.SceneNode_SetRenderOrder(sprite, order);
        check(Kesto2.SceneNode_AddChild(parent, sprite), "SceneNode_AddChild");
        return sprite;
    }

    /** Window pixels (top left origin) to scene units (centre origin, y up). */
    private static void place(int node, float x, float y) {
        Kesto2.SceneNode_SetPosition(node, x - WIDTH / 2f, HEIGHT / 2f - y, 0f);
    }

    private int group(String name, int parent, int order) {
        int node = check(Kesto2.CreateSceneNode(env), "CreateSceneNode");
        nodes.add(node);
        names.put(node, name);
        Kesto2.SceneNode_SetRenderOrder(node, order);
        Kesto2.SceneNode_SetChildrenRenderOrderMode(node, 1);
        check(Kesto2.SceneNode_AddChild(parent, node), "SceneNode_AddChild");
        return node;
    }

    // --- The run ---------------------------------------------------------------------------------

    public Result run(File png) throws Exception {
        System.out.println("Kesto2 showcase, " + WIDTH + "x" + HEIGHT);
        step("environment, context and window");
        env = check(Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0), "InitEnvironmentWithConfig");
        context = check(Kesto2.CreateContext(env, 8, 8, 8, 0), "CreateContext");
        check(Kesto2.Context_RunOnCurrentThread(context), "Context_RunOnCurrentThread");
        window = check(Kesto2.CreateWindowByContext(env, context), "CreateWindowByContext");
        surface = new Surface(WIDTH, HEIGHT);
        check(Kesto2.Window_BindSurface(window, surface, WIDTH, HEIGHT), "Window_BindSurface");
        Kesto2.Window_SetClearColor(window, 0f, 0f, 0f, 1f);
        scene = check(Kesto2.CreateScene(env), "CreateScene");
        root = Kesto2.Scene_GetRootNode(scene);
        Kesto2.SceneNode_SetChildrenRenderOrderMode(root, 1);  // draw by render order
        Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(window), Kesto2.Scene_GetDefaultCamera(scene));
        try {
            return build(png);
        } finally {
            tearDown();
        }
    }

    private Result build(File png) throws Exception {
        step("background");
        sprite("background", root, textureFromJava(picture(WIDTH, HEIGHT, Showcase::backgroundColour)),
                WIDTH, HEIGHT, WIDTH / 2f, HEIGHT / 2f, 0);

        step("images: a Java bitmap, an engine bitmap queued from a second thread, a native bitmap");
        int checker = sprite("checkerboard", root, textureFromJava(picture(120, 120, Showcase::checkerColour)),
                120, 120, HIT_X, HIT_Y, 1);
        int queued = texture();
        Thread producer = new Thread(() -> {
            int bitmap = Kesto2.CreateBitmap(env);
            boolean ok = Kesto2.Bitmap_Set(bitmap, picture(120, 120, (x, y) -> disc(x, y, 120)))
                    && Kesto2.Texture_SetupByBitmap(queued, bitmap, true);
            Kesto2.DestroyBitmap(bitmap);
            if (!ok) {
                throw new IllegalStateException("queueing a bitmap from the producer thread failed");
            }
        }, "producer");
        producer.start();
        producer.join();
        int discSprite = sprite("disc (queued)", root, queued, 120, 120, 230, 110, 1);
        int nativeBitmap = check(NativeBitmap.Native_createBitmap(), "Native_createBitmap");
        check(NativeBitmap.Native_setBitmap(nativeBitmap, Kesto2.PIXEL_FORMAT_RGBA8888, 120, 120,
                pixelBytes(picture(120, 120, (x, y) -> rings(x, y, 120)))), "Native_setBitmap");
        int ringsTexture = texture();
        check(Kesto2.Texture_SetupByNativeBitmapAndRealize(ringsTexture, nativeBitmap), "native bitmap upload");
        NativeBitmap.Native_destroyBitmap(nativeBitmap);
        int ringsSprite = sprite("rings (native bitmap)", root, ringsTexture, 120, 120, 370, 110, 1);
        for (int image : new int[] {checker, discSprite, ringsSprite}) {
            check(Kesto2.SceneNode_AddPartialSceneRenderFlag(image, THUMBNAIL_FLAG, false), "flag");
        }

        step("a card turned 50 degrees about y");
        int cardSprite = sprite("card", root, textureFromJava(picture(140, 100, Showcase::card)), 140, 100, 530, 110, 1);
        Kesto2.SceneNode_SetRotate(cardSprite, 0f, 50f, 0f);

        step("a group at half opacity");
        int fading = group("fading group", root, 1);
        place(fading, 690, 110);
        int back = sprite("group square 1", fading, textureFromJava(picture(1, 1, (x, y) -> 0xFFFF5050)),
                80, 80, 0, 0, 0);
        Kesto2.SceneNode_SetPosition(back, -20f, 20f, 0f);
        int front = sprite("group square 2", fading, textureFromJava(picture(1, 1, (x, y) -> 0xFF50C8FF)),
                80, 80, 0, 0, 1);
        Kesto2.SceneNode_SetPosition(front, 20f, -20f, 0f);
        Kesto2.SceneNode_SetGroupAlpha(fading, 0.5f);

        step("a strip clipped by a scissor");
        int clip = check(Kesto2.CreateScissor(env), "CreateScissor");
        nodes.add(clip);
        Kesto2.Scissor_SetArea(clip, 40, 240, 320, 60);
        Kesto2.SceneNode_SetRenderOrder(clip, 2);
        check(Kesto2.SceneNode_AddChild(root, clip), "SceneNode_AddChild");
        int strip = sprite("striped strip", clip, textureFromJava(picture(400, 200, Showcase::stripes)),
                400, 200, 200, 270, 0);
        Kesto2.SceneNode_SetRotate(strip, 0f, 0f, 12f);

        step("a blur at three levels");
        int detailTexture = textureFromJava(picture(128, 128, Showcase::detail));
        float[] levels = {0f, 3f, 6f};
        for (int i = 0; i < levels.length; ++i) {
            int blur = check(Kesto2.CreateBlurSprite(env), "CreateBlurSprite");
            nodes.add(blur);
            names.put(blur, "blur " + levels[i]);
            check(Kesto2.Sprite_SetupGeometry(blur, 0, 110f, 110f, 0f, 0f, 0f), "geometry");
            check(Kesto2.BlurSprite_SetTexture(blur, context, detailTexture, 6f), "BlurSprite_SetTexture");
            check(Kesto2.BlurSprite_SetBlurParameter(blur, context, levels[i]), "BlurSprite_SetBlurParameter");
            place(blur, 480 + 130 * i, 270);
            Kesto2.SceneNode_SetRenderOrder(blur, 2);
            check(Kesto2.SceneNode_AddChild(root, blur), "SceneNode_AddChild");
        }

        step("a thumbnail of the image row, rendered into a texture");
        int thumbnailTexture = texture();
        check(Kesto2.Texture_RealizeBlankTexture(thumbnailTexture, Kesto2.PIXEL_FORMAT_RGBA8888, WIDTH, HEIGHT),
                "Texture_RealizeBlankTexture");
        check(Kesto2.Window_NativeRenderPartialSceneToTexture(window, thumbnailTexture, THUMBNAIL_FLAG,
                20, 40, 420, 140, false), "Window_NativeRenderPartialSceneToTexture");
        sprite("thumbnail", root, thumbnailTexture, 240, 80, 160, 410, 3);

        step("48 tinted sparks sharing one texture: drawn with one call");
        int sparkTexture = textureFromJava(picture(16, 16, Showcase::spark));
        for (int i = 0; i < 48; ++i) {
            float size = 16 + i * 7 % 5 * 5;
            int spark = sprite("spark " + i, root, sparkTexture, size, size,
                    335 + i % 12 * 38 + i * 13 % 11, 372 + i / 12 * 24 + i * 7 % 9, 4);
            Kesto2.SceneNode_SetRotate(spark, 0f, 0f, i * 29f);
            Kesto2.Sprite_SetRGBOperation(spark, 0, 1);
            Kesto2.Sprite_SetColor(spark, 0, 255, 150 + i * 45 % 106, 60 + i * 71 % 196);
            Kesto2.Sprite_SetAlpha(spark, 0, 190 + i * 23 % 66);
        }

        step("render");
        Result result = new Result();
        long start = System.nanoTime();
        Kesto2.Window_RenderWithoutPresent(window);
        result.firstFrameMillis = millisSince(start);

        step("snapshot");
        result.snapshot = Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0);
        if (result.snapshot == null) {
            throw new IllegalStateException("Window_NativeGetSnapshot failed (see the engine log)");
        }
        Kesto2.Window_GetFrameStatistics(window, result.batchedStatistics);
        check(Kesto2.Window_Present(window), "Window_Present");

        step("the same frame drawn mesh by mesh");
        Kesto2.Window_SetBatching(window, false);
        Kesto2.Window_RenderWithoutPresent(window);
        result.perMeshSnapshot = Kesto2.Window_NativeGetSnapshot(window, 0, 0, 0, 0);
        Kesto2.Window_GetFrameStatistics(window, result.perMeshStatistics);
        Kesto2.Window_SetBatching(window, true);
        check(Kesto2.Window_Present(window), "Window_Present");
        step(String.format("%d meshes: %d draw calls batched, %d mesh by mesh",
                result.batchedStatistics[Kesto2.STAT_MESHES], result.batchedStatistics[Kesto2.STAT_DRAW_CALLS],
                result.perMeshStatistics[Kesto2.STAT_DRAW_CALLS]));

        step("steady frames and a hit test");
        double[] frames = new double[STEADY_FRAMES];
        for (int i = 0; i < frames.length; ++i) {
            start = System.nanoTime();
            check(Kesto2.Window_Render(window), "Window_Render");
            frames[i] = millisSince(start);
        }
        java.util.Arrays.sort(frames);
        result.frameMillis = (frames[(frames.length - 1) / 2] + frames[frames.length / 2]) / 2;
        start = System.nanoTime();
        int hit = Kesto2.Window_HitTest(window, HIT_X, HIT_Y);
        result.hitTestMillis = millisSince(start);
        result.hitName = hit == 0 ? "nothing" : names.getOrDefault(hit, "handle " + hit);
        if (png != null) {
            writePng(result.snapshot, png);
        }
        return result;
    }

    private void tearDown() {
        for (int i = nodes.size() - 1; i >= 0; --i) {
            Kesto2.DestroySceneNode(nodes.get(i));  // one destroy serves every node kind
        }
        for (int texture : textures) {
            Kesto2.DestroyTexture(texture);
        }
        Kesto2.DestroyScene(scene);
        Kesto2.Window_UnbindSurface(window);
        Kesto2.DestroyWindow(window);
        surface.release();
        Kesto2.DestroyContext(context);
        // The statistics go to the engine log: everything back to zero.
        Kesto2.DeinitEnvironment(env);
        NativeBitmap.Native_printResourceLog();
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
