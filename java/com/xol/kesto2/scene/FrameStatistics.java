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

    /** @return bytes of all live GL textures */
    public int textureBytes() {
        return values[Kesto2.STAT_TEXTURE_BYTES];
    }

    /** @return vertices drawn */
    public int vertices() {
        return values[Kesto2.STAT_VERTICES];
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

    @Override
    public String toString() {
        return String.format("%d meshes, %d draw calls (%d batches), %d vertices", meshes(), drawCalls(),
                batches(), vertices());
    }
}
