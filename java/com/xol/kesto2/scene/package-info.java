/**
 * Objects over the {@link com.xol.kesto2.Kesto2} natives: each owns one engine object, is closed
 * with {@code close()} (try-with-resources), and throws {@link com.xol.kesto2.scene.KestoException}
 * with the engine's own error line when a call fails.
 *
 * <pre>{@code
 * try (Engine engine = new Engine();
 *      Window window = new Window(engine, surface, 480, 800);
 *      Scene scene = new Scene(engine);
 *      Sprite sprite = new Sprite(engine, 1)) {
 *     window.show(scene);
 *     scene.root().add(sprite.setColor(0, 0xFF8000));
 *     window.render();
 * }
 * }</pre>
 *
 * <p>The shells hold a handle and nothing else the engine already knows: every rule lives in the
 * native layer, which stays the guard (any destroy order is safe there). What Java catches cheaply
 * it catches here: a call on a closed object, or on any object of a closed {@link Engine}, throws
 * {@link IllegalStateException}. {@code close()} never throws and may be repeated.
 */
package com.xol.kesto2.scene;
