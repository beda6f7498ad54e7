package com.xol.kesto2.scene;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertSame;
import static org.junit.Assert.assertTrue;

import android.graphics.Bitmap;
import android.view.Surface;
import org.junit.Test;

/**
 * A card table as a newcomer builds one from the README: 300 cards from one atlas, added in order
 * and overlapping, a background, a card tapped and brought to the front, then dragged.
 */
public class CardTableTest {
    private static final int WIDTH = 480, HEIGHT = 800;
    private static final int COLUMNS = 20, ROWS = 15, CELL = 8;  // the atlas: 160x120
    private static final int PER_ROW = 30, STEP_X = 13, STEP_Y = 52;
    private static final int BACKGROUND = 0xFF204020;

    // Distinct opaque colours, one per atlas cell.
    private static int cellColour(int cell) {
        return 0xFF000000 | (cell * 97 % 256) << 16 | (cell * 57 % 256) << 8 | (40 + cell * 31 % 200);
    }

    // Window pixel of card i's centre: rows of 30 cards, each 13 pixels right of the one before.
    private static int cardX(int i) {
        return 40 + i % PER_ROW * STEP_X;
    }

    private static int cardY(int i) {
        return 60 + i / PER_ROW * STEP_Y;
    }

    @Test
    public void lastAddedCardIsOnTopTappedCardComesToTheFrontAndDrags() {
        int[] pixels = new int[COLUMNS * CELL * ROWS * CELL];
        for (int y = 0; y < ROWS * CELL; ++y) {
            for (int x = 0; x < COLUMNS * CELL; ++x) {
                pixels[y * COLUMNS * CELL + x] = cellColour(y / CELL * COLUMNS + x / CELL);
            }
        }
        Surface surface = new Surface(WIDTH, HEIGHT);
        try (Engine engine = new Engine();
                Window window = new Window(engine, surface);
                Scene scene = new Scene(engine);
                Texture atlas = new Texture(engine).upload(
                        Bitmap.createBitmap(pixels, COLUMNS * CELL, ROWS * CELL, Bitmap.Config.ARGB_8888))) {
            atlas.setFilter(Texture.Filter.NEAREST);  // whole cells, no bleeding into neighbours
            window.show(scene).setClearColor(0xFF000000);
            Node table = scene.root();
            Sprite background = new Sprite(engine, 1).setColor(0, BACKGROUND & 0xFFFFFF);
            table.add(background.setSize(0, WIDTH, HEIGHT));
            Sprite[] cards = new Sprite[300];
            for (int i = 0; i < cards.length; ++i) {
                cards[i] = new Sprite(engine, 1).setSize(0, 40, 60)
                        .setTextureRegion(0, atlas, i % COLUMNS * CELL, i / COLUMNS * CELL, CELL, CELL);
                float[] at = window.toScene(cardX(i), cardY(i));
                table.add(cards[i].setPosition(at[0], at[1], 0f));
            }

            Bitmap shot = window.capture();
            FrameStatistics stats = window.frameStatistics(new FrameStatistics());
            // The background and the cards; the end of the frame is not a break.
            assertEquals("301 meshes, 2 draw calls (2 batches), 2 texture binds, 1204 vertices, "
                    + stats.textureBytes() + " texture bytes; runs ended by texture 1, program 0, blend 0, "
                    + "scissor 0, target 0, blur 0, custom 0, full 0", stats.toString());
            for (int i = 0; i < cards.length; ++i) {
                // Each card's left strip shows; the rest lies under the cards added after it.
                assertEquals("card " + i, cellColour(i), shot.getPixel(cardX(i) - 15, cardY(i)));
                if (i % PER_ROW != PER_ROW - 1) {
                    assertEquals("over card " + i, cellColour(i + 1), shot.getPixel(cardX(i) + 5, cardY(i)));
                }
            }
            assertEquals(BACKGROUND, shot.getPixel(WIDTH - 5, HEIGHT - 5));

            // A tap on card 40's visible strip finds it; brought to the front, it covers its neighbour.
            Sprite tapped = (Sprite) window.hitTest(cardX(40) - 15, cardY(40));
            assertSame(cards[40], tapped);
            assertSame(cards[41], window.hitTest(cardX(40) + 5, cardY(40)));
            cards[41].setTouchable(false);
            assertSame(cards[40], window.hitTest(cardX(40) + 5, cardY(40)));
            cards[41].setTouchable(true);
            tapped.toFront();
            shot = window.capture();
            assertEquals(cellColour(40), shot.getPixel(cardX(40) + 5, cardY(40)));
            assertSame(tapped, window.hitTest(cardX(40) + 5, cardY(40)));
            assertEquals(2, window.frameStatistics(stats).drawCalls());
            cards[39].toBack();  // under the cloth and every card: its strip shows the card before it
            assertEquals(cellColour(38), window.capture().getPixel(cardX(39) - 15, cardY(39)));

            // Dragged to (400, 700): its parent says where that pixel lies in its plane.
            float[] to = table.toLocal(window, 400, 700);
            tapped.setPosition(to[0], to[1], 0f);
            assertArrayEquals(new float[] {400 - WIDTH / 2f, HEIGHT / 2f - 700, 0f}, tapped.getPosition(), 1e-3f);
            shot = window.capture();
            assertEquals(cellColour(40), shot.getPixel(400, 700));
            assertSame(tapped, window.hitTest(400, 700));
            assertEquals(cellColour(41), shot.getPixel(cardX(40) + 5, cardY(40)));
            float[] shown = new float[2];
            assertTrue(window.positionOf(tapped, shown));
            assertArrayEquals(new float[] {to[0], to[1]}, shown, 1e-3f);
            tapped.setRotation(10, 20, 30).setScale(2, 3, 1).setVisible(false);
            assertArrayEquals(new float[] {10, 20, 30}, tapped.getRotation(), 0f);
            assertArrayEquals(new float[] {2, 3, 1}, tapped.getScale(), 0f);
            assertFalse(tapped.isVisible());
            assertSame(background, window.hitTest(400, 700));  // what lay under it
            try (Scene other = new Scene(engine)) {
                window.show(other);
            }  // closing the scene unlinks its camera: nothing to answer with
            assertFalse(window.positionOf(cards[0], shown));
        } finally {
            surface.release();
        }
    }
}
