package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/**
 * A tree of nodes under a root, seen by the scene's camera: laid out in pixels around the window
 * centre, y up. Closing it detaches the nodes, which stay open.
 */
public final class Scene extends EngineObject {
    private final Node root;

    /**
     * An empty scene.
     *
     * @param engine the engine
     */
    public Scene(Engine engine) {
        super(engine, KestoException.check(Kesto2.CreateScene(engine.environment()), "CreateScene"));
        root = new Node(engine, Kesto2.Scene_GetRootNode(handle()), false);
    }

    @Override
    void destroy(int handle) {
        engine.nodes.remove(Kesto2.Scene_GetRootNode(handle));
        Kesto2.DestroyScene(handle);
    }

    /**
     * The root node. It belongs to the scene: closing this shell does not destroy it.
     *
     * @return the root
     */
    public Node root() {
        handle();
        return root;
    }

    int camera() {
        return Kesto2.Scene_GetDefaultCamera(handle());
    }
}
