package com.xol.kesto2.test;

import static org.junit.Assert.assertTrue;

import android.view.Surface;
import com.xol.kesto2.Kesto2;
import com.xol.kesto2.NativeBitmap;
import java.util.ArrayList;
import java.util.List;

/** An environment whose context is current on the calling thread, and a window bound to a surface. */
public final class Session {
    private static final String[] ZEROS = {"KestoEnv I eglDisplay 0 0", "KestoEnv I eglContext 0 0",
            "KestoEnv I eglSurface 0 0", "KestoEnv I Shader 0 0", "KestoEnv I ShaderProgram 0 0",
            "KestoEnv I Texture 0 GL 0 0", "KestoEnv I Bitmap 0 0 0", "KestoEnv I GLArrayBuffer 0",
            "KestoEnv I new 0", "KestoEnv I new [] 0",
            "SNATIVEBITMAP D NativeBitmap count:0 size:0, new count:0, new array count:0"};

    public final int env;
    public final int context;
    public final int window;
    public final Surface surface;

    /** An 8-8-8 context, or with `rgb565` a 5-6-5 one in the default environment. */
    public Session(boolean rgb565, int width, int height) {
        env = rgb565 ? Kesto2.InitEnvironment() : Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        context = rgb565 ? Kesto2.CreateContext(env, 5, 6, 5, 0) : Kesto2.CreateContext(env, 8, 8, 8, 0);
        assertTrue(Kesto2.Context_RunOnCurrentThread(context));
        window = Kesto2.CreateWindowByContext(env, context);
        surface = new Surface(width, height);
        assertTrue(Kesto2.Window_BindSurface(window, surface, width, height));
    }

    /** The resource lines of the engine and of the native bitmaps, as they stand. */
    public List<String> status() {
        try (NativeLog log = new NativeLog()) {
            Kesto2.Environment_LogStatus(env);
            NativeBitmap.Native_printResourceLog();
            return log.lines();
        }
    }

    /**
     * Destroys the window and the context, deinitialises the environment with whatever is still
     * alive in it, and returns the lines logged meanwhile, the final counts among them.
     */
    public List<String> end() {
        try (NativeLog log = new NativeLog()) {
            Kesto2.DestroyWindow(window);
            surface.release();
            Kesto2.DestroyContext(context);
            Kesto2.DeinitEnvironment(env);
            NativeBitmap.Native_printResourceLog();
            return log.lines();
        }
    }

    /** The counts of an engine with nothing left that `lines` lack: empty when all are zero. */
    public static List<String> missingZeros(List<String> lines) {
        List<String> missing = new ArrayList<>();
        for (String zero : ZEROS) {
            if (!lines.contains(zero)) {
                missing.add(zero);
            }
        }
        return missing;
    }

    /**
     * The same after failed calls: a failed upload releases a texture name it never counted (as the
     * statistics always did), so that count may end below zero; above zero would be a leak.
     */
    public static List<String> missingZerosAfterFailures(List<String> lines) {
        List<String> missing = missingZeros(lines);
        missing.removeIf(zero -> zero.contains(" Texture 0 GL ")
                && lines.stream().anyMatch(line -> line.matches("KestoEnv I Texture 0 GL -\\d+ 0")));
        return missing;
    }

    /** With no environment left: a probe environment's teardown logs every count; those not zero. */
    public static List<String> countsLeftAfterFailures() {
        try (NativeLog log = new NativeLog()) {
            Kesto2.DeinitEnvironment(Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0));
            NativeBitmap.Native_printResourceLog();
            return missingZerosAfterFailures(log.lines());
        }
    }
}
