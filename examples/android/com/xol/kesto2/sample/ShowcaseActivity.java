package com.xol.kesto2.sample;

import android.app.Activity;
import android.graphics.Bitmap;
import android.os.Bundle;
import android.view.Choreographer;
import com.xol.kesto2.android.KestoSurfaceView;
import com.xol.kesto2.scene.Engine;
import com.xol.kesto2.scene.Node;
import com.xol.kesto2.scene.Scene;
import com.xol.kesto2.scene.Sprite;
import com.xol.kesto2.scene.Texture;

/**
 * The showcase's scene on a device: a background, a checkerboard, a card turned in perspective, a
 * group at half opacity and a swarm of tinted sparks sharing one texture, turning at every vsync.
 * The view and its render thread follow the activity's life.
 */
public class ShowcaseActivity extends Activity {
    private Engine engine;
    private Scene scene;
    private KestoSurfaceView view;
    private final Sprite[] sparks = new Sprite[48];

    @Override
    protected void onCreate(Bundle state) {
        super.onCreate(state);
        engine = new Engine();  // its context is current on this thread until the view starts
        scene = new Scene(engine);
        Node root = scene.root();
        root.add(new Sprite(engine, 1).setColor(0, 0x202838).setSize(0, 4000, 4000));
        root.add(new Sprite(engine, 1).setTexture(0, texture(8, 8, true)).setSize(0, 240, 240)
                .setPosition(-200, 300, 0));
        root.add(new Sprite(engine, 1).setTexture(0, texture(4, 4, false)).setSize(0, 280, 200)
                .setPosition(200, 300, 0).setRotation(0, 50, 0));
        Node group = new Node(engine).setPosition(0, 0, 0);
        group.add(new Sprite(engine, 1).setColor(0, 0xFF5050).setSize(0, 160, 160).setPosition(-40, 40, 0));
        group.add(new Sprite(engine, 1).setColor(0, 0x50C8FF).setSize(0, 160, 160).setPosition(40, -40, 0));
        root.add(group.setGroupAlpha(0.5f));
        Texture spark = texture(2, 2, false);
        for (int i = 0; i < sparks.length; ++i) {
            sparks[i] = new Sprite(engine, 1).setTexture(0, spark).setTint(0, true)
                    .setColor(0, 0xFF0000 | (150 + i * 45 % 106) << 8 | 60 + i * 71 % 196).setSize(0, 40, 40);
            root.add(sparks[i].setPosition(-330 + i % 12 * 60, -250 - i / 12 * 60, 0));
        }
        view = new KestoSurfaceView(this);
        view.start(engine, scene);
        view.setContinuous(true);
        setContentView(view);
    }

    // At every vsync the UI thread turns the sparks in one update: no frame shows half of it.
    private final Choreographer.FrameCallback turn = new Choreographer.FrameCallback() {
        private float angle;

        @Override
        public void doFrame(long frameTimeNanos) {
            angle += 2f;
            engine.update(new Runnable() {
                @Override
                public void run() {
                    for (Sprite sprite : sparks) {
                        sprite.setRotation(0, 0, angle);
                    }
                }
            });
            Choreographer.getInstance().postFrameCallback(this);
        }
    };

    // A checkerboard (or a plain white square) of cells x cells pixels.
    private Texture texture(int width, int height, boolean checker) {
        int[] pixels = new int[width * height];
        for (int i = 0; i < pixels.length; ++i) {
            pixels[i] = checker && (i % width + i / width) % 2 == 0 ? 0xFF303030 : 0xFFF0F0F0;
        }
        return new Texture(engine).upload(Bitmap.createBitmap(pixels, width, height, Bitmap.Config.ARGB_8888));
    }

    @Override
    protected void onPause() {
        super.onPause();
        Choreographer.getInstance().removeFrameCallback(turn);
        view.onPause();
    }

    @Override
    protected void onResume() {
        super.onResume();
        view.onResume();
        Choreographer.getInstance().postFrameCallback(turn);
    }

    @Override
    protected void onDestroy() {
        view.close();
        engine.makeCurrent();  // the render thread handed the context back
        engine.close();
        super.onDestroy();
    }
}
