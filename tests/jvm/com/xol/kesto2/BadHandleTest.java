package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertTrue;
import static org.junit.Assert.fail;

import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.ArrayList;
import java.util.List;
import org.junit.AfterClass;
import org.junit.BeforeClass;
import org.junit.Test;

/**
 * Every native method that takes a handle first, called with handles that are zero, made up,
 * stale or of the wrong kind: each returns a neutral result, a bad one is reported on one line
 * naming the method and the value, and nothing is created or destroyed on the way.
 */
public class BadHandleTest {
    private static int env;
    private static int wrongKind;  // a live handle of a kind no method but the bitmap ones takes
    private static int otherKind;  // for the bitmap methods themselves
    private static int stale;
    private static Surface surface;
    private static final android.graphics.Bitmap javaBitmap =
            android.graphics.Bitmap.createBitmap(2, 2, android.graphics.Bitmap.Config.ARGB_8888);

    @BeforeClass
    public static void setUp() {
        env = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        assertNotEquals(0, env);
        wrongKind = Kesto2.CreateBitmap(0);
        otherKind = Kesto2.CreateScene(env);
        stale = Kesto2.CreateSprite(env, 1);
        Kesto2.DestroySprite(stale);
        surface = new Surface(64, 64);
    }

    @AfterClass
    public static void tearDown() {
        surface.release();
        Kesto2.DestroyScene(otherKind);
        Kesto2.DestroyBitmap(wrongKind);
        Kesto2.DeinitEnvironment(env);
    }

    private static List<Method> handleMethods() {
        List<Method> methods = new ArrayList<>();
        for (Method method : Kesto2.class.getDeclaredMethods()) {
            Class<?>[] parameters = method.getParameterTypes();
            if (Modifier.isNative(method.getModifiers()) && parameters.length > 0
                    && parameters[0] == int.class
                    && !method.getName().startsWith("InitEnvironment")) {
                methods.add(method);
            }
        }
        assertTrue(methods.size() > 60);
        return methods;
    }

    private static Object call(Method method, int handle) throws Exception {
        Class<?>[] parameters = method.getParameterTypes();
        Object[] arguments = new Object[parameters.length];
        arguments[0] = handle;
        for (int i = 1; i < parameters.length; ++i) {
            Class<?> type = parameters[i];
            arguments[i] = type == int.class ? (Object) 1
                    : type == float.class ? (Object) 1f
                    : type == boolean.class ? (Object) true
                    : type == Surface.class ? surface
                    : type == android.graphics.Bitmap.class ? javaBitmap : null;
        }
        return method.invoke(null, arguments);
    }

    private static void assertNeutral(Method method, Object result) {
        Class<?> type = method.getReturnType();
        if (type == int.class) {
            assertEquals(method.getName(), 0, result);
        } else if (type == boolean.class) {
            assertEquals(method.getName(), false, result);
        } else if (type != void.class) {
            assertEquals(method.getName(), null, result);
        }
    }

    private static List<String> status() {
        try (NativeLog log = new NativeLog()) {
            Kesto2.Environment_LogStatus(env);
            return log.messages("KestoEnv");
        }
    }

    private static void checkBadHandle(String what, int handle) throws Exception {
        List<String> before = status();
        for (Method method : handleMethods()) {
            int value = handle;
            String name = method.getName();
            if (what.equals("wrong kind") && (name.startsWith("Bitmap_") || name.equals("DestroyBitmap"))) {
                value = otherKind;
            }
            List<String> lines;
            try (NativeLog log = new NativeLog()) {
                assertNeutral(method, call(method, value));
                lines = log.lines();
            }
            boolean reported = false;
            for (String line : lines) {
                reported |= line.startsWith("KestoJNI E ") && line.contains(" " + value)
                        || line.contains("sprite" + value);
            }
            if (!reported) {
                fail(what + " handle " + value + " not reported by " + method.getName() + ": " + lines);
            }
        }
        assertEquals(what, before, status());
    }

    @Test
    public void zeroHandlesGiveNeutralResults() throws Exception {
        List<String> before = status();
        for (Method method : handleMethods()) {
            if (method.getName().equals("CreateBitmap")) {
                continue;  // a bitmap needs no environment
            }
            assertNeutral(method, call(method, 0));
        }
        assertEquals(before, status());
    }

    @Test
    public void madeUpHandlesAreReported() throws Exception {
        checkBadHandle("made-up", 0x12345670);
        checkBadHandle("unaligned", 7);
        checkBadHandle("negative", -8);
    }

    @Test
    public void staleHandlesAreReported() throws Exception {
        checkBadHandle("stale", stale);
    }

    @Test
    public void wrongKindsAreReported() throws Exception {
        checkBadHandle("wrong kind", wrongKind);
    }
}
