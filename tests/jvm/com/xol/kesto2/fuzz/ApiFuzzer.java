package com.xol.kesto2.fuzz;

import android.graphics.Bitmap;
import android.view.Surface;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.NativeBitmap;
import com.xol.kesto2.test.Session;
import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Collections;
import java.util.Comparator;
import java.util.List;
import java.util.Random;
import java.util.SplittableRandom;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * Random but plausible call sequences over every native of Kesto2 and NativeBitmap: a scene set
 * up most of the time, then calls with live, destroyed, made-up and wrong-kind handles, odd sizes,
 * null and recycled objects, sometimes from two threads at once; then everything destroyed in a
 * random order. A crash, a sanitizer report or a count left above zero fails the run, naming the
 * seed. Usage: ApiFuzzer [--seeds FILE] [--seconds S] [--count N] [--start K] [--seed S] [--calls N]
 */
public final class ApiFuzzer {
    private static final List<Method> NATIVES = new ArrayList<>();
    private static final float[] FLOATS = {0f, 1f, 0.5f, -1f, 3f, 6f, 48f, 1e9f, Float.NaN,
            Float.POSITIVE_INFINITY, Float.NEGATIVE_INFINITY};
    private static final int[] ODD_INTS = {-1, 0, 1, 2, 3, 7, -8, 16, 100, 1000, 65535, 65536, 70000,
            16 << 16 | 16, 0x12345670, Integer.MAX_VALUE, Integer.MIN_VALUE};
    private static final Bitmap.Config[] CONFIGS = Bitmap.Config.values();
    /** Context losses simulated by the calls made so far, and frames that met one. */
    private static final AtomicInteger LOSSES = new AtomicInteger();

    static {
        for (Class<?> type : new Class<?>[] {Kesto2.class, NativeBitmap.class}) {
            for (Method method : type.getDeclaredMethods()) {
                if (Modifier.isNative(method.getModifiers())) {
                    NATIVES.add(method);
                }
            }
        }
        NATIVES.sort(Comparator.comparing(Method::getName));  // the same order in every JVM
    }

    private final SplittableRandom random;
    private final List<Integer> pool = Collections.synchronizedList(new ArrayList<>());
    private final List<Object[]> created = Collections.synchronizedList(new ArrayList<>());  // {handle, destroy}
    private final List<Surface> surfaces = Collections.synchronizedList(new ArrayList<>());
    private final List<Bitmap> bitmaps = Collections.synchronizedList(new ArrayList<>());

    private ApiFuzzer(long seed) {
        random = new SplittableRandom(seed);
    }

    private static Method find(String name) {
        for (Method method : NATIVES) {
            if (method.getName().equals(name)) {
                return method;
            }
        }
        throw new IllegalArgumentException(name);
    }

    private static String destroyerOf(String creator) {
        if (creator.startsWith("InitEnvironment")) return "DeinitEnvironment";
        if (creator.equals("Native_createBitmap")) return "Native_destroyBitmap";
        if (creator.startsWith("CreateWindow")) return "DestroyWindow";
        if (creator.startsWith("CreateSprite")) return "DestroySprite";
        return creator.startsWith("Create") ? "Destroy" + creator.substring(6) : null;
    }

    /** Calls a native; what it creates is remembered for the teardown, every handle for reuse. */
    private Object call(String name, Object... arguments) {
        Method method = find(name);
        Object result;
        try {
            result = method.invoke(null, arguments);
        } catch (IllegalAccessException | InvocationTargetException e) {
            throw new AssertionError(name + " threw", e);
        }
        if (name.equals("Context_SimulateLoss") && (Boolean) result) {
            LOSSES.incrementAndGet();
        }
        if (result instanceof Integer && (Integer) result != 0 && !name.equals("Texture_SetupOESTexture")) {
            pool.add((Integer) result);
            String destroyer = destroyerOf(name);
            if (destroyer != null) {
                created.add(new Object[] {result, destroyer});
            }
        }
        return result;
    }

    private int handle() {
        return pool.isEmpty() ? 0 : pool.get(random.nextInt(pool.size()));
    }

    private int anyInt(SplittableRandom r) {
        int pick = r.nextInt(10);
        return pick < 6 && !pool.isEmpty() ? pool.get(r.nextInt(pool.size())) : ODD_INTS[r.nextInt(ODD_INTS.length)];
    }

    private Bitmap javaBitmap(SplittableRandom r) {
        if (r.nextInt(8) == 0 || bitmaps.isEmpty()) {
            Bitmap bitmap = Bitmap.createBitmap(1 + r.nextInt(40), 1 + r.nextInt(40), CONFIGS[r.nextInt(CONFIGS.length)]);
            bitmap.eraseColor(r.nextInt());
            if (r.nextInt(6) == 0) {
                bitmap.recycle();
            }
            bitmaps.add(bitmap);
            return bitmap;
        }
        return r.nextInt(10) == 0 ? null : bitmaps.get(r.nextInt(bitmaps.size()));
    }

    private Object argument(Class<?> type, SplittableRandom r) {
        if (type == int.class) return anyInt(r);
        if (type == float.class) return r.nextInt(4) == 0 ? (float) r.nextDouble(-100, 100) : FLOATS[r.nextInt(FLOATS.length)];
        if (type == boolean.class) return r.nextBoolean();
        if (type == Bitmap.class) return javaBitmap(r);
        if (type == byte[].class) return r.nextInt(5) == 0 ? null : new byte[r.nextInt(4) == 0 ? 4096 : r.nextInt(64)];
        if (type == int[].class) return r.nextInt(5) == 0 ? null : new int[r.nextInt(20)];
        if (type == float[].class) return r.nextInt(5) == 0 ? null : new float[r.nextInt(12)];
        if (type == Surface.class) {
            if (r.nextInt(5) == 0 || surfaces.isEmpty()) {
                Surface surface = new Surface(1 + r.nextInt(48), 1 + r.nextInt(48));
                surfaces.add(surface);
                if (r.nextInt(4) == 0) {
                    surface.release();
                }
                return surface;
            }
            return r.nextInt(8) == 0 ? null : surfaces.get(r.nextInt(surfaces.size()));
        }
        return null;
    }

    private void randomCall(SplittableRandom r) {
        Method method = NATIVES.get(r.nextInt(NATIVES.size()));
        Class<?>[] types = method.getParameterTypes();
        Object[] arguments = new Object[types.length];
        for (int i = 0; i < types.length; ++i) {
            arguments[i] = argument(types[i], r);
        }
        if (method.getName().equals("Native_copyBitmapBuffer")) {
            arguments[1] = 0;  // it writes wherever it is told: only the refusal is fair game
        }
        Object result = call(method.getName(), arguments);
        // An update holds every other thread off until it ends: bracket it as callers do, with a
        // few calls inside (a forgotten end stalls the other thread by design).
        if (method.getName().equals("Environment_BeginUpdate") && (Boolean) result) {
            for (int i = r.nextInt(4); i > 0; --i) {
                randomCall(r);
            }
            call("Environment_EndUpdate", arguments[0]);
        }
    }

    /** Most sequences start from a drawing window, so that calls reach deep states. */
    private void setUp() {
        int env = (Integer) call("InitEnvironmentWithConfig", 8, 8, 8, 0);
        int context = (Integer) call("CreateContext", env, 8, 8, 8, 0);
        call("Context_RunOnCurrentThread", context);
        int window = (Integer) call("CreateWindowByContext", env, context);
        Surface surface = new Surface(32, 32);
        surfaces.add(surface);
        call("Window_BindSurface", window, surface, 32, 32);
        int scene = (Integer) call("CreateScene", env);
        call("Viewport_LinkCamera", call("Window_GetDefaultViewport", window), call("Scene_GetDefaultCamera", scene));
        int parent = (Integer) call("Scene_GetRootNode", scene);
        for (int i = random.nextInt(6); i >= 0; --i) {
            String[] kinds = {"CreateSprite", "CreateSceneNode", "CreateScissor", "CreateBlurSprite"};
            String kind = kinds[random.nextInt(kinds.length)];
            int node = (Integer) (kind.equals("CreateSprite") ? call(kind, env, 1 + random.nextInt(3)) : call(kind, env));
            call("SceneNode_AddChild", random.nextBoolean() ? parent : (Integer) call("Scene_GetRootNode", scene), node);
            int texture = (Integer) call("CreateTexture", env);
            call("Texture_SetupByAndroidBitmapAndRealize", texture, javaBitmap(random));
            call(kind.equals("CreateBlurSprite") ? "BlurSprite_SetTexture" : "Sprite_SetTexture",
                    kind.equals("CreateBlurSprite") ? new Object[] {node, context, texture, 6f} : new Object[] {node, 0, 0, texture});
            parent = node;
        }
    }

    private boolean run(int calls) throws InterruptedException {
        if (random.nextInt(5) != 0) {
            setUp();
        }
        Thread second = null;
        if (random.nextInt(8) == 0) {
            SplittableRandom other = random.split();
            second = new Thread(() -> {
                for (int i = 0; i < calls / 2; ++i) {
                    if (other.nextBoolean() && !pool.isEmpty()) {
                        call("Texture_SetupByBitmap", anyInt(other), anyInt(other), other.nextBoolean());
                    } else {
                        randomCall(other);
                    }
                }
            });
            second.start();
        }
        for (int i = 0; i < calls; ++i) {
            randomCall(random);
        }
        if (second != null) {
            second.join();
        }
        List<Object[]> order = new ArrayList<>(created);
        Collections.shuffle(order, new Random(random.nextLong()));
        for (Object[] object : order) {
            if (!object[1].equals("DeinitEnvironment")) {
                call((String) object[1], object[0]);
            }
        }
        for (Object[] object : order) {
            if (object[1].equals("DeinitEnvironment")) {
                call("DeinitEnvironment", object[0]);
            }
        }
        surfaces.forEach(Surface::release);
        bitmaps.forEach(Bitmap::recycle);
        return countsAreZero();
    }

    private static boolean countsAreZero() {
        List<String> missing = Session.countsLeftAfterFailures();
        if (!missing.isEmpty()) {
            System.out.println("counts not zero, expected " + missing);
        }
        return missing.isEmpty();
    }

    public static void main(String[] args) throws IOException, InterruptedException {
        List<Long> seeds = new ArrayList<>();
        double seconds = 0;
        long count = 0, start = 100;
        int calls = 200;
        for (int i = 0; i + 1 < args.length; i += 2) {
            switch (args[i]) {
                case "--seeds":
                    for (String line : Files.readAllLines(Paths.get(args[i + 1]))) {
                        String seed = line.replaceAll("#.*", "").trim();
                        if (!seed.isEmpty()) seeds.add(Long.parseLong(seed));
                    }
                    break;
                case "--seconds": seconds = Double.parseDouble(args[i + 1]); break;
                case "--count": count = Long.parseLong(args[i + 1]); break;
                case "--start": start = Long.parseLong(args[i + 1]); break;
                case "--seed": seeds.add(Long.parseLong(args[i + 1])); break;
                case "--calls": calls = Integer.parseInt(args[i + 1]); break;
                default: throw new IllegalArgumentException(args[i]);
            }
        }
        long deadline = System.nanoTime() + (long) (seconds * 1e9);
        long passed = 0;
        for (long next = start; ; ) {
            long seed;
            if (passed < seeds.size()) {
                seed = seeds.get((int) passed);
            } else if (passed - seeds.size() < count || System.nanoTime() < deadline) {
                seed = next++;
            } else {
                break;
            }
            System.out.println("seed " + seed);
            System.out.flush();
            if (!new ApiFuzzer(seed).run(calls)) {
                System.out.println("FAILED: rerun with ApiFuzzer --seed " + seed + " --calls " + calls);
                System.out.println(passed + " passed, 1 failed");
                System.exit(1);
            }
            ++passed;
        }
        System.out.println("fuzz: " + passed + " passed, 0 failed; " + LOSSES + " context losses simulated");
    }
}
