#include "scene/SceneNode.h"
#include "core/Changes.h"

#include "gl/Environment.h"
#include "gl/Renderer.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoNode");

namespace kesto {

SceneNode::SceneNode(Environment* env) : environment(env) {
    if (environment != nullptr) {
        CountUp(environment->sceneNodeCount);
    }
}

SceneNode::~SceneNode() {
    if (parent != nullptr) {
        parent->removeChild(this);
    }
    while (children.head != nullptr) {
        removeChild(children.head->value);
    }
    if (environment != nullptr) {
        CountDown(environment->sceneNodeCount);
        environment = nullptr;
    }
}

void SceneNode::dispatchRender(Renderer* renderer) {
    if (!visible) {
        return;
    }
    sortChildrenIfOrdered();
    renderSelf(renderer);
    for (auto* node = children.head; node != nullptr; node = node->next) {
        node->value->dispatchRender(renderer);
    }
}

void SceneNode::render(Renderer* /*renderer*/) {}

bool SceneNode::hitTest(const Ray& /*localRay*/, Vector* /*hitPosition*/, Vector* /*hitNormal*/,
                        Vector* /*hitDirection*/) {
    return false;
}

namespace {

// Setters run every frame with the same values (a camera placed for its window): only a new value
// is a change to show.
void NoteIfChanged(const Vector& old, const Vector& value) {
    if (old.x != value.x || old.y != value.y || old.z != value.z) {
        NoteSceneChange();
    }
}

}  // namespace

void SceneNode::setPosition(const Vector& value) {
    NoteIfChanged(position, value);
    position = value;
    transformDirty = true;
    setWorldTransformDirtyToSelfAndChildren();
}

void SceneNode::setRotate(const Vector& value) {
    NoteIfChanged(rotate, value);
    rotate = value;
    transformDirty = true;
    setWorldTransformDirtyToSelfAndChildren();
}

void SceneNode::setScale(const Vector& value) {
    NoteIfChanged(scale, value);
    scale = value;
    transformDirty = true;
    setWorldTransformDirtyToSelfAndChildren();
}

void SceneNode::setWorldTransformDirtyToSelfAndChildren() {
    worldTransformDirty = true;
    for (auto* node = children.head; node != nullptr; node = node->next) {
        node->value->setWorldTransformDirtyToSelfAndChildren();
    }
}

const Matrix& SceneNode::getTransform() {
    if (transformDirty) {
        updateTransformMatrix();
    }
    return transform;
}

void SceneNode::updateTransformMatrix() {
    transform.setAsScale(scale.x, scale.y, scale.z);
    Matrix rotation;
    Matrix previous;
    rotation.setAsRotationX(rotate.x);
    previous = transform;
    Matrix::TransformMultiply(&transform, previous, rotation);
    rotation.setAsRotationY(rotate.y);
    previous = transform;
    Matrix::TransformMultiply(&transform, previous, rotation);
    rotation.setAsRotationZ(rotate.z);
    previous = transform;
    Matrix::TransformMultiply(&transform, previous, rotation);
    transform.m[12] = position.x;
    transform.m[13] = position.y;
    transform.m[14] = position.z;
    ++transformVersion;
    transformIsIdentity = false;
    transformDirty = false;
}

void SceneNode::updateWorldTransformMatrix() {
    bool parentIsIdentity = true;
    const Matrix* parentWorld = nullptr;
    if (parent != nullptr) {
        parentWorld = &parent->getWorldTransform(&parentIsIdentity);
    }
    if (parentWorld != nullptr && !parentIsIdentity) {
        Matrix::TransformMultiply(&worldTransform, transform, *parentWorld);
        worldTransformIsIdentity = false;
    } else {
        worldTransform = transform;
        worldTransformIsIdentity = transformIsIdentity;
    }
    worldTransformDirty = false;
    ++worldTransformVersion;
    inverseWorldTransformValid = false;
}

const Matrix& SceneNode::getWorldTransform(bool* isIdentity) {
    if (transformDirty) {
        updateTransformMatrix();
    }
    if (worldTransformDirty) {
        updateWorldTransformMatrix();
    }
    if (isIdentity != nullptr) {
        *isIdentity = worldTransformIsIdentity;
    }
    return worldTransform;
}

bool SceneNode::addChild(SceneNode* child, bool atFront) {
    if (child == nullptr) {
        return false;
    }
    if (child->parent != nullptr) {
        KLOGE("addChild NG - child already has parent");
        return false;
    }
    // A node under itself or under one of its descendants would make the tree a loop that every
    // walk follows forever.
    for (const SceneNode* ancestor = this; ancestor != nullptr; ancestor = ancestor->parent) {
        if (ancestor == child) {
            KLOGE("addChild NG - the child is this node or one of its ancestors");
            return false;
        }
    }
    const bool added = atFront ? children.push_front(child) : children.push_back(child);
    if (!added) {
        KLOGE("addChild NG - children.push_front 0");
        return false;
    }
    child->parent = this;
    NoteSceneChange();
    child->setWorldTransformDirtyToSelfAndChildren();
    child->applyParentGroupAlpha(appliedGroupAlpha);
    return true;
}

void SceneNode::removeChild(SceneNode* child) {
    auto* node = children.head;
    while (node != nullptr && node->value != child) {
        node = node->next;
    }
    if (node == nullptr) {
        KLOGE("removeChild NG - not in list");
        return;
    }
    children.erase(node);
    NoteSceneChange();
    child->parent = nullptr;
    child->setWorldTransformDirtyToSelfAndChildren();
}

void SceneNode::setGroupAlpha(float alpha) {
    NoteSceneChange();
    groupAlpha = alpha;
    applyParentGroupAlpha(parent != nullptr ? parent->appliedGroupAlpha : 1.0f);
}

void SceneNode::applyParentGroupAlpha(float parentAlpha) {
    appliedGroupAlpha = groupAlpha != 1.0f ? parentAlpha * groupAlpha : parentAlpha;
    for (auto* node = children.head; node != nullptr; node = node->next) {
        node->value->applyParentGroupAlpha(appliedGroupAlpha);
    }
}

void SceneNode::AddRenderFlag(int flags, bool recursive) {
    renderFlags |= flags;
    if (recursive) {
        for (auto* node = children.head; node != nullptr; node = node->next) {
            node->value->AddRenderFlag(flags, true);
        }
    }
}

void SceneNode::RemoveRenderFlag(int flags, bool recursive) {
    renderFlags &= ~flags;
    if (recursive) {
        for (auto* node = children.head; node != nullptr; node = node->next) {
            node->value->RemoveRenderFlag(flags, true);
        }
    }
}

bool SceneNode::dispatchHitTest(const Ray& worldRay, Vector* hitPosition, Vector* hitNormal,
                                Vector* hitDirection, SceneNode** hitNode) {
    if (!visible) {
        return false;
    }
    for (auto* node = children.tail; node != nullptr; node = node->prev) {
        if (node->value->dispatchHitTest(worldRay, hitPosition, hitNormal, hitDirection, hitNode)) {
            return true;
        }
    }
    const Matrix& world = getWorldTransform(nullptr);
    if (!inverseWorldTransformValid) {
        world.getInverse(&inverseWorldTransform);
        inverseWorldTransformValid = true;
    }
    Ray localRay;
    worldRay.getTransformedRay(inverseWorldTransform, &localRay);
    if (!hitTest(localRay, hitPosition, hitNormal, hitDirection)) {
        return false;
    }
    if (hitNode != nullptr) {
        *hitNode = this;
    }
    return true;
}

void SceneNode::dispatchPartialSceneRender(Renderer* renderer, int flags, bool includeHidden) {
    if (!includeHidden && !visible) {
        return;
    }
    sortChildrenIfOrdered();
    if ((flags & renderFlags) != 0) {
        renderSelf(renderer);
    }
    for (auto* node = children.head; node != nullptr; node = node->next) {
        node->value->dispatchPartialSceneRender(renderer, flags, includeHidden);
    }
}

void SceneNode::renderSelf(Renderer* renderer) {
    renderer->setupWorldMatrix(getWorldTransform(nullptr));
    renderer->currentGroupAlpha = appliedGroupAlpha;
    render(renderer);
}

void SceneNode::sortChildrenIfOrdered() {
    if (childrenRenderOrderMode == 1) {
        children.sortByCompareFunction(LessFunction_SortByRenderOrder);
    }
}

}  // namespace kesto
