// Natives beyond the documented set, for what the object layer (com.xol.kesto2.scene) offers:
// stacking children, reading transforms back, window pixels to scene and node coordinates, a
// surface's own size and texture filtering. Same refusals and lock as every other native.
#include <jni.h>

#include <GLES2/gl2.h>

#include "draw/Window.h"
#include "gl/Environment.h"
#include "image/Texture.h"
#include "jni/Binding.h"
#include "platform/Log.h"
#include "platform/NativeWindow.h"
#include "scene/SceneNode.h"

KESTO_LOG_TAG("KestoJNI");

using namespace kesto;
using namespace kesto::jni;

namespace {

// Copies `count` floats into a Java array that must hold them.
bool Fill(JNIEnv* env, const char* method, jfloatArray out, const float* values, jsize count) {
    if (out == nullptr || env->GetArrayLength(out) < count) {
        KLOGE("%s NG - the array must hold %d floats", method, count);
        return false;
    }
    env->SetFloatArrayRegion(out, 0, count, values);
    return true;
}

}  // namespace

KESTO_NATIVE(jboolean, SceneNode_1AddChildOnTop)
(JNIEnv*, jclass, jint parentHandle, jint childHandle) {
    const auto engine = LockEngine();
    SceneNode* parent;
    SceneNode* child;
    return Resolve(__func__, parentHandle, &parent) && Resolve(__func__, childHandle, &child) &&
           parent->addChild(child, false);
}

KESTO_NATIVE(jboolean, SceneNode_1Restack)(JNIEnv*, jclass, jint handle, jboolean onTop) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (!Resolve(__func__, handle, &node)) {
        return JNI_FALSE;
    }
    SceneNode* parent = node->parent;
    if (parent == nullptr) {
        KLOGE("SceneNode_Restack NG - node %d has no parent", handle);
        return JNI_FALSE;
    }
    parent->removeChild(node);
    return parent->addChild(node, onTop == JNI_FALSE);
}

KESTO_NATIVE(jboolean, SceneNode_1GetTransform)(JNIEnv* env, jclass, jint handle, jfloatArray out) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (!Resolve(__func__, handle, &node)) {
        return JNI_FALSE;
    }
    const float values[9] = {node->position.x, node->position.y, node->position.z,
                             node->rotate.x,   node->rotate.y,   node->rotate.z,
                             node->scale.x,    node->scale.y,    node->scale.z};
    return Fill(env, "SceneNode_GetTransform", out, values, 9);
}

KESTO_NATIVE(jboolean, Window_1PointOnPlane)
(JNIEnv* env, jclass, jint windowHandle, jint nodeHandle, jint x, jint y, jfloatArray out) {
    const auto engine = LockEngine();
    Window* window;
    SceneNode* node = nullptr;
    if (!Resolve(__func__, windowHandle, &window) ||
        (nodeHandle != 0 && !Resolve(__func__, nodeHandle, &node))) {
        return JNI_FALSE;
    }
    Vector point;
    if (!window->pointOnPlane(x, y, node, &point)) {
        return JNI_FALSE;
    }
    const float values[2] = {point.x, point.y};
    return Fill(env, "Window_PointOnPlane", out, values, 2);
}

KESTO_NATIVE(jint, Surface_1GetSize)(JNIEnv* env, jclass, jobject surface) {
    const auto engine = LockEngine();
    jclass type = surface != nullptr ? env->FindClass("android/view/Surface") : nullptr;
    if (type == nullptr || !env->IsInstanceOf(surface, type)) {
        env->ExceptionClear();
        KLOGE("Surface_GetSize NG - not a surface");
        return 0;
    }
    env->DeleteLocalRef(type);
    ANativeWindow* window = ANativeWindow_fromSurface(env, surface);
    if (window == nullptr) {
        KLOGE("Surface_GetSize NG - the surface has no native window (released?)");
        return 0;
    }
    const int32_t width = ANativeWindow_getWidth(window);
    const int32_t height = ANativeWindow_getHeight(window);
    ANativeWindow_release(window);
    if (width < 1 || height < 1 || width > 0x7FFF || height > 0xFFFF) {
        KLOGE("Surface_GetSize NG - the surface's size %dx%d", width, height);
        return 0;
    }
    return (width << 16) | height;
}

KESTO_NATIVE(jboolean, Environment_1BeginUpdate)(JNIEnv*, jclass, jint handle) {
    {
        const auto engine = LockEngine();
        Environment* environment;
        if (!Resolve(__func__, handle, &environment)) {
            return JNI_FALSE;
        }
    }
    BeginUpdate();
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Environment_1EndUpdate)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Environment* environment;
    // The update ends whatever became of the environment meanwhile: a stale handle here must not
    // hold every other thread off for good.
    const bool known = Resolve(__func__, handle, &environment);
    return EndUpdate(__func__) && known;
}

KESTO_NATIVE(jboolean, Texture_1SetFilter)(JNIEnv*, jclass, jint handle, jboolean linear) {
    const auto engine = LockEngine();
    Texture* texture;
    if (!Resolve(__func__, handle, &texture)) {
        return JNI_FALSE;
    }
    texture->setFilter(linear != JNI_FALSE ? GL_LINEAR : GL_NEAREST);
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Context_1SimulateLoss)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Context* context;
    return Resolve(__func__, handle, &context) && context->simulateLoss();
}

KESTO_NATIVE(jint, Context_1GetLossCount)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Context* context;
    return Resolve(__func__, handle, &context) ? static_cast<jint>(context->lossCount) : 0;
}

KESTO_NATIVE(jboolean, Texture_1IsLost)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Texture* texture;
    return Resolve(__func__, handle, &texture) && texture->isLost();
}
