package com.xol.kesto2.test;

/** Native memory at addresses that fit an int, and memory running out in the engine. */
public final class LowMemory {
    static {
        System.loadLibrary("kesto2jvmtest");
    }

    public static native int allocate(int bytes);

    public static native byte[] read(int address, int bytes);

    public static native void free(int address, int bytes);

    /** Fails the engine's Nth allocation from now (0: none); returns how many were left before. */
    public static native int failAllocation(int n);
}
