package com.xol.kesto2.test;

/** Native memory at addresses that fit an int. */
public final class LowMemory {
    static {
        System.loadLibrary("kesto2jvmtest");
    }

    public static native int allocate(int bytes);

    public static native byte[] read(int address, int bytes);

    public static native void free(int address, int bytes);
}
