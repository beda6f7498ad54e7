package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/**
 * A node of the scene tree: a transform, visibility, group alpha and children. Setters return
 * the node, so that they chain.
 */
public class Node extends EngineObject {
    private final boolean owned;

    /**
     * A node without content of its own, to group others.
     *
     * @param engine the engine
     */
    public Node(Engine engine) {
        this(engine, KestoException.check(Kesto2.CreateSceneNode(engine.environment()), "CreateSceneNode"), true);
    }

    Node(Engine engine, int handle, boolean owned) {
        super(engine, handle);
        this.owned = owned;
        engine.nodes.put(handle, this);
    }

    @Override
    void destroy(int handle) {
        engine.nodes.remove(handle);
        if (owned) {
            Kesto2.DestroySceneNode(handle);
        }
    }

    /**
     * Adds a child, drawn after (over) the children added before it.
     *
     * @param child a node without a parent
     * @return this node
     * @throws KestoException when the child has a parent or is this node or an ancestor
     */
    public Node add(Node child) {
        KestoException.check(Kesto2.SceneNode_AddChild(handle(), child.handle()), "SceneNode_AddChild");
        return this;
    }

    /**
     * Removes a child; it stays open.
     *
     * @param child a child of this node
     * @return this node
     * @throws KestoException when it is not a child
     */
    public Node remove(Node child) {
        Kesto2.SceneNode_RemoveChild(handle(), child.handle());
        KestoException.checkLogged();
        return this;
    }

    /**
     * The position relative to the parent, in pixels, y up.
     *
     * @param x right
     * @param y up
     * @param z towards the viewer
     * @return this node
     */
    public Node setPosition(float x, float y, float z) {
        Kesto2.SceneNode_SetPosition(handle(), x, y, z);
        return this;
    }

    /**
     * Rotation in degrees about x, then y, then z.
     *
     * @param x degrees about x
     * @param y degrees about y
     * @param z degrees about z
     * @return this node
     */
    public Node setRotation(float x, float y, float z) {
        Kesto2.SceneNode_SetRotate(handle(), x, y, z);
        return this;
    }

    /**
     * Scale along each axis.
     *
     * @param x along x
     * @param y along y
     * @param z along z
     * @return this node
     */
    public Node setScale(float x, float y, float z) {
        Kesto2.SceneNode_SetScale(handle(), x, y, z);
        return this;
    }

    /**
     * A hidden node is neither drawn nor hit, nor are its children.
     *
     * @param visible whether to show it
     * @return this node
     */
    public Node setVisible(boolean visible) {
        Kesto2.SceneNode_SetVisible(handle(), visible);
        return this;
    }

    /**
     * Opacity of the node and its subtree, multiplied down the tree.
     *
     * @param alpha 0 to 1
     * @return this node
     */
    public Node setGroupAlpha(float alpha) {
        Kesto2.SceneNode_SetGroupAlpha(handle(), alpha);
        return this;
    }

    /**
     * Children of this node are drawn by ascending render order (stable) instead of as added.
     *
     * @param ordered whether to sort
     * @return this node
     */
    public Node setChildrenOrdered(boolean ordered) {
        Kesto2.SceneNode_SetChildrenRenderOrderMode(handle(), ordered ? 1 : 0);
        return this;
    }

    /**
     * The node's place among siblings whose parent orders them.
     *
     * @param order lower is drawn first
     * @return this node
     */
    public Node setRenderOrder(int order) {
        Kesto2.SceneNode_SetRenderOrder(handle(), order);
        return this;
    }

    /**
     * Marks the node as part of partial renders with {@code flag} (see {@link Texture#renderFrom}).
     *
     * @param flag a bit naming the partial scene
     * @param recursive also every descendant
     * @return this node
     */
    public Node addRenderFlag(int flag, boolean recursive) {
        KestoException.check(Kesto2.SceneNode_AddPartialSceneRenderFlag(handle(), flag, recursive),
                "SceneNode_AddPartialSceneRenderFlag");
        return this;
    }
}
