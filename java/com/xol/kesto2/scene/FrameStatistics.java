package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/** What one frame cost in draws, and why batching broke; filled by {@link Window#frameStatistics}. */
public final class FrameStatistics {
    final int[] values = new int[Kesto2.STAT_COUNT];

    /** @return meshes drawn */
    public int meshes() {
        return values[Kesto2.STAT_MESHES];
    }

    /** @return GL draw calls */
    public int drawCalls() {
        return values[Kesto2.STAT_DRAW_CALLS];
    }

    /** @return batched draw calls among them */
    public int batches() {
        return values[Kesto2.STAT_BATCHES];
    }

    /** @return texture binds: one per textured draw call */
    public int textureBinds() {
        return values[Kesto2.STAT_TEXTURE_BINDS];
    }

    /** @return bytes of all live GL textures */
    public int textureBytes() {
        return values[Kesto2.STAT_TEXTURE_BYTES];
    }

    /** @return vertices drawn */
    public int vertices() {
        return values[Kesto2.STAT_VERTICES];
    }

    /** @return why the frame was drawn whole: one of {@code Kesto2.WHOLE_*}, WHOLE_NO if not */
    public int whole() {
        return values[Kesto2.STAT_WHOLE];
    }

    /** @return window pixels drawn again */
    public int damagedPixels() {
        return values[Kesto2.STAT_DAMAGED_PIXELS];
    }

    /** @return meshes partial redraw left as the back buffer held them */
    public int meshesSkipped() {
        return values[Kesto2.STAT_MESHES_SKIPPED];
    }

    /** @return whether nothing changed, so that nothing was drawn or swapped */
    public boolean skipped() {
        return values[Kesto2.STAT_FRAME_SKIPPED] != 0;
    }

    /**
     * How many batched runs one cause ended.
     *
     * @param cause one of the {@code Kesto2.STAT_BREAK_*} indices
     * @return the count for that cause
     */
    public int breaks(int cause) {
        return values[cause];
    }

    private static final String[] WHOLE_NAMES = {"partial", "whole", "first picture",
            "back buffer unknown", "resized", "clear colour", "large change", "out of memory"};
    private static final String[] BREAK_NAMES = {"texture", "program", "blend", "scissor", "target",
            "blur", "custom", "full"};

    @Override
    public String toString() {
        StringBuilder text = new StringBuilder(String.format(
                "%d meshes, %d draw calls (%d batches), %d texture binds, %d vertices, %d texture bytes; "
                        + "runs ended by",
                meshes(), drawCalls(), batches(), textureBinds(), vertices(), textureBytes()));
        for (int i = 0; i < BREAK_NAMES.length; ++i) {
            text.append(i == 0 ? " " : ", ").append(BREAK_NAMES[i]).append(' ')
                    .append(values[Kesto2.STAT_BREAK_TEXTURE + i]);
        }
        int whole = whole();
        if (skipped()) {
            text.append("; skipped, nothing changed");
        } else if (whole != Kesto2.WHOLE_OFF) {
            text.append(String.format("; %s, %d pixels drawn, %d meshes skipped",
                    whole >= 0 && whole < WHOLE_NAMES.length ? WHOLE_NAMES[whole] : "?", damagedPixels(),
                    meshesSkipped()));
        }
        return text.toString();
    }
}
