// Node of the retained scene tree and base of everything placed in a scene. Transforms are cached
// and recomputed only when dirty; group alpha is multiplied down eagerly, so rendering an
// unchanged scene does no matrix arithmetic.
#pragma once

#include <cstdint>

#include "core/Changes.h"
#include "core/List.h"
#include "core/Matrix.h"
#include "core/Ray.h"
#include "core/Vector.h"

namespace kesto {

class Environment;
class Renderer;

class SceneNode {
  public:
    Environment* environment;
    Vector scale{1.0f, 1.0f, 1.0f};
    Vector rotate;
    Vector position;
    Matrix transform;
    uint16_t transformVersion = 0;
    bool transformIsIdentity = true;
    bool transformDirty = false;
    Matrix worldTransform;
    uint16_t worldTransformVersion = 0;
    bool worldTransformIsIdentity = true;
    bool worldTransformDirty = false;
    bool visible = true;
    // 1: children are drawn by ascending render order (stable); anything else: list order.
    int32_t childrenRenderOrderMode = 0;
    int32_t renderOrder = 0;
    SceneNode* parent = nullptr;
    List<SceneNode*> children;
    float groupAlpha = 1.0f;
    // Product of the group alphas from the root down to this node; what the renderer receives.
    float appliedGroupAlpha = 1.0f;
    int32_t userData = 0;
    int32_t userFlag = 0;
    // Each bit names one partial scene the node belongs to.
    int32_t renderFlags = 0;
    // The node's handle on the Java side, 0 when it has none; what a hit test reports there.
    int32_t bindingHandle = 0;
    // Inverse of worldTransform for hit tests, valid until the world transform is recomputed.
    Matrix inverseWorldTransform;
    bool inverseWorldTransformValid = false;

    explicit SceneNode(Environment* env);
    // Detaches from the parent and from the children; the children are not destroyed.
    virtual ~SceneNode();
    SceneNode(const SceneNode&) = delete;
    SceneNode& operator=(const SceneNode&) = delete;

    virtual void dispatchRender(Renderer* renderer);
    // This node's own content; the base node draws nothing.
    virtual void render(Renderer* renderer);
    // This node's own content against a ray in local space; the base node is never hit.
    virtual bool hitTest(const Ray& localRay, Vector* hitPosition, Vector* hitNormal,
                         Vector* hitDirection);

    void setVisible(bool value) {
        NoteSceneChange();
        visible = value;
    }
    bool getVisible() const { return visible; }
    void setChildrenRenderOrderMode(int mode) {
        NoteSceneChange();
        childrenRenderOrderMode = mode;
    }
    int getChildrenRenderOrderMode() const { return childrenRenderOrderMode; }
    void setRenderOrder(int order) {
        NoteSceneChange();
        renderOrder = order;
    }
    int getRenderOrder() const { return renderOrder; }
    const Vector& getScale() const { return scale; }
    const Vector& getRotate() const { return rotate; }
    const Vector& getPosition() const { return position; }

    void setPosition(const Vector& value);
    void setRotate(const Vector& value);
    void setScale(const Vector& value);
    void setWorldTransformDirtyToSelfAndChildren();

    const Matrix& getTransform();
    // Scale, then rotation about x, y and z, then translation.
    void updateTransformMatrix();
    void updateWorldTransformMatrix();
    const Matrix& getWorldTransform(bool* isIdentity);

    bool addChild(SceneNode* child, bool atFront);
    void removeChild(SceneNode* child);

    void setGroupAlpha(float alpha);
    void applyParentGroupAlpha(float parentAlpha);

    void AddRenderFlag(int flags, bool recursive);
    void RemoveRenderFlag(int flags, bool recursive);

    // Children back to front, then the node itself: the topmost drawn node wins. `hitNode`, when
    // given, receives the node whose own content was hit.
    bool dispatchHitTest(const Ray& worldRay, Vector* hitPosition, Vector* hitNormal,
                         Vector* hitDirection, SceneNode** hitNode = nullptr);
    // Draws the nodes whose render flags meet `flags`; recurses directly, so overrides of
    // dispatchRender (the scissor's clip) take no part.
    void dispatchPartialSceneRender(Renderer* renderer, int flags, bool includeHidden);

    static bool LessFunction_SortByRenderOrder(SceneNode* const& a, SceneNode* const& b) {
        return a->renderOrder < b->renderOrder;
    }

  protected:
    // Sets the renderer's world matrix and group alpha, then draws this node's own content.
    void renderSelf(Renderer* renderer);
    void sortChildrenIfOrdered();
};

}  // namespace kesto
