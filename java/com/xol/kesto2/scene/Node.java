package com.xol.kesto2.scene;

import com.xol.kesto2.Kesto2;

/**
 * A node of the scene tree: a transform, visibility, group alpha and children. Setters return
 * the node, so that they chain; they refuse numbers that are not finite (and alphas out of range)
 * with {@link IllegalArgumentException}.
 *
 * <p>Coordinates are pixels: the camera places itself so that one unit at z = 0 is one window
 * pixel, the scene's origin at the window's centre, x to the right, y up and z towards the viewer,
 * with true perspective (a node nearer the viewer, or turned about x or y, is drawn larger at its
 * near side). A node's position, rotation and scale are relative to its parent. Rotations are in
 * degrees and counter-clockwise when looking from the axis's positive end towards the origin: a
 * positive rotation about z turns a node counter-clockwise on the screen.
 *
 * <p>Children are drawn in the order they were added, each over the ones before it (unless the
 * parent orders them, see {@link #setChildrenOrdered}), a parent before its children. A hit test
 * ({@link Window#hitTest}) answers with the node whose own content (a sprite's visible, touchable
 * layers) is under the point, trying the topmost first: the last drawn wins.
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
        engine.forget(this);
        if (owned) {
            Kesto2.DestroySceneNode(handle);
        }
    }

    /**
     * Adds a child, drawn after (over) the children added before it and hit before them. (The raw
     * {@link Kesto2#SceneNode_AddChild} adds at the front instead: drawn first, under the others.)
     *
     * @param child a node without a parent
     * @return this node
     * @throws KestoException when the child has a parent or is this node or an ancestor
     */
    public Node add(Node child) {
        KestoException.check(Kesto2.SceneNode_AddChildOnTop(handle(), child.handle()), "SceneNode_AddChildOnTop");
        return this;
    }

    /**
     * Moves this node over all its siblings: drawn last among them, hit first.
     *
     * @return this node
     * @throws KestoException when it has no parent
     */
    public Node toFront() {
        KestoException.check(Kesto2.SceneNode_Restack(handle(), true), "SceneNode_Restack");
        return this;
    }

    /**
     * Moves this node under all its siblings: drawn first among them, hit last.
     *
     * @return this node
     * @throws KestoException when it has no parent
     */
    public Node toBack() {
        KestoException.check(Kesto2.SceneNode_Restack(handle(), false), "SceneNode_Restack");
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
        finite(x, y, z);
        Kesto2.SceneNode_SetPosition(handle(), x, y, z);
        return this;
    }

    /**
     * Rotation in degrees about x, then y, then z, counter-clockwise looking down each axis.
     *
     * @param x degrees about x
     * @param y degrees about y
     * @param z degrees about z
     * @return this node
     */
    public Node setRotation(float x, float y, float z) {
        finite(x, y, z);
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
        finite(x, y, z);
        Kesto2.SceneNode_SetScale(handle(), x, y, z);
        return this;
    }

    /** @return the position relative to the parent: x, y, z */
    public float[] getPosition() {
        return transform(0);
    }

    /** @return the rotation in degrees about x, y and z */
    public float[] getRotation() {
        return transform(3);
    }

    /** @return the scale along x, y and z */
    public float[] getScale() {
        return transform(6);
    }

    /** @return whether the node is shown (its ancestors may still hide it) */
    public boolean isVisible() {
        return Kesto2.SceneNode_GetVisible(handle());
    }

    /**
     * Where a window pixel lies in this node's own plane (its z = 0), in its coordinates: where
     * the node's content under that pixel is, and where to put a child so that it lands there.
     * For dragging, ask the dragged node's parent.
     *
     * @param window the window showing the node's scene
     * @param x pixels from the window's left edge
     * @param y pixels from its top edge
     * @return x and y in the node's coordinates
     * @throws KestoException when the view runs along the node's plane, or the window shows no scene
     */
    public float[] toLocal(Window window, int x, int y) {
        float[] out = new float[2];
        KestoException.check(Kesto2.Window_PointOnPlane(window.handle(), handle(), x, y, out), "Window_PointOnPlane");
        return out;
    }

    private float[] transform(int first) {
        float[] all = new float[9];
        KestoException.check(Kesto2.SceneNode_GetTransform(handle(), all), "SceneNode_GetTransform");
        return new float[] {all[first], all[first + 1], all[first + 2]};
    }

    static void finite(float... values) {
        for (float value : values) {
            if (Float.isNaN(value) || Float.isInfinite(value)) {
                throw new IllegalArgumentException("not a finite number: " + value);
            }
        }
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
     * @throws IllegalArgumentException outside 0 to 1
     */
    public Node setGroupAlpha(float alpha) {
        if (!(alpha >= 0f && alpha <= 1f)) {
            throw new IllegalArgumentException("group alpha " + alpha + " outside 0 to 1");
        }
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
