package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** A failed engine call. The message is the engine's own error line for it, when it logged one. */
public class KestoException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /**
     * An exception with the given message.
     *
     * @param message what failed
     */
    public KestoException(String message) {
        super(message);
    }

    /** Throws unless {@code ok}, with the engine's line or "{@code call} failed". */
    static void check(boolean ok, String call) {
        if (!ok) {
            String line = Kesto2.GetLastError();
            throw new KestoException(line != null ? line : call + " failed");
        }
    }

    /** A handle, or the exception for a call that returned none. */
    static int check(int handle, String call) {
        check(handle != 0, call);
        return handle;
    }

    /** After a call that returns nothing: throws if it logged an error. */
    static void checkLogged() {
        String line = Kesto2.GetLastError();
        if (line != null) {
            throw new KestoException(line);
        }
    }
}
