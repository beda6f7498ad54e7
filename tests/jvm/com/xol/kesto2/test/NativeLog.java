package com.xol.kesto2.test;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Captures the engine's log lines ("TAG P message") while a test runs. */
public final class NativeLog implements AutoCloseable {
    static {
        System.loadLibrary("kesto2jvmtest");
    }

    private static native void start();

    private static native String[] stop();

    private List<String> lines;

    public NativeLog() {
        start();
    }

    /** Stops capturing (once) and returns the lines. */
    public List<String> lines() {
        if (lines == null) {
            lines = new ArrayList<>(Arrays.asList(stop()));
        }
        return lines;
    }

    public boolean has(String tag, char priority, String message) {
        return lines().contains(tag + " " + priority + " " + message);
    }

    /** The messages of one tag, in order. */
    public List<String> messages(String tag) {
        List<String> result = new ArrayList<>();
        for (String line : lines()) {
            if (line.startsWith(tag + " ")) {
                result.add(line.substring(tag.length() + 3));
            }
        }
        return result;
    }

    @Override
    public void close() {
        lines();
    }
}
