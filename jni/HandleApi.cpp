// Native methods of com.xol.kesto2.Kesto2 for environments, contexts, windows, viewports, scenes,
// nodes, cameras, sprites, blur sprites, scissors and bitmap objects. Each checks its handles,
// converts the Java values, calls one engine operation and passes its result back.
#include <jni.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <iterator>
#include <utility>
#include <vector>

#include "core/Accounting.h"
#include "core/Vector.h"
#include "draw/Window.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "image/Bitmap.h"
#include "image/Texture.h"
#include "jni/AndroidBitmapInfoGetter.h"
#include "jni/Binding.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/NativeWindow.h"
#include "scene/BlurSprite.h"
#include "scene/Material.h"
#include "scene/Mesh.h"
#include "scene/Scene.h"
#include "scene/Scissor.h"
#include "scene/Sprite.h"

KESTO_LOG_TAG("KestoJNI");

using namespace kesto;
using namespace kesto::jni;

namespace {

// Registers a new object of environment `owner`, or deletes it again when the table has no room.
template <class T>
jint Publish(T* object, Kind kind, jint owner) {
    const jint handle = Register(object, kind, false, owner);
    if (handle == 0) {
        KLOGE("handle table full");
        DeleteObject(object);
    }
    return handle;
}

// Nodes know their handle so that hit tests can report it.
template <class T>
jint PublishNode(T* node, Kind kind, jint owner) {
    const jint handle = Publish(node, kind, owner);
    if (handle != 0) {
        node->bindingHandle = handle;
    }
    return handle;
}

// A sprite layer's material or mesh, logging `message` with the layer when there is none.
Material* LayerMaterial(Sprite* sprite, jint layer, const char* message) {
    Material* material = sprite->getLayerMaterial(layer);
    if (material == nullptr) {
        KLOGE(message, layer);
    }
    return material;
}

Mesh* LayerMesh(Sprite* sprite, jint layer, const char* message) {
    Mesh* mesh = sprite->getLayerMesh(layer);
    if (mesh == nullptr) {
        KLOGE(message, layer);
    }
    return mesh;
}

bool HasLayer(const Sprite* sprite, jint layer) {
    return sprite->layersMeshes != nullptr && layer >= 0 && layer < sprite->layersCount &&
           sprite->layersMeshes[layer] != nullptr;
}

jclass g_surfaceClass = nullptr;

}  // namespace

// --- Environment and contexts ------------------------------------------------------------------

KESTO_NATIVE(jint, InitEnvironmentWithConfig)
(JNIEnv* env, jclass, jint red, jint green, jint blue, jint alpha) {
    const auto engine = LockEngine();
    if (!AndroidBitmapInfoGetter::InitBitmapJNIInfo(env)) {
        KLOGE("InitBitmapJNIInfo NG");
        return 0;
    }
    Environment* environment = NewObject<Environment>();
    if (environment == nullptr) {
        KLOGE("new kestoEnvironment NG");
        return 0;
    }
    if (!environment->init(red, green, blue, alpha)) {
        DeleteObject(environment);
        return 0;
    }
    return Publish(environment, Kind::ENVIRONMENT, 0);
}

KESTO_NATIVE(jint, InitEnvironment)(JNIEnv* env, jclass type) {
    const auto engine = LockEngine();
    return Java_com_xol_kesto2_Kesto2_InitEnvironmentWithConfig(env, type, 5, 6, 5, 0);
}

KESTO_NATIVE(void, DestroyWindow)(JNIEnv*, jclass, jint handle);
KESTO_NATIVE(void, DestroySceneNode)(JNIEnv*, jclass, jint handle);
KESTO_NATIVE(void, DestroyScene)(JNIEnv*, jclass, jint handle);
KESTO_NATIVE(void, DestroyBitmap)(JNIEnv*, jclass, jint handle);
KESTO_NATIVE(void, DestroyTexture)(JNIEnv*, jclass, jint handle);
KESTO_NATIVE(void, DestroyContext)(JNIEnv*, jclass, jint handle);

namespace {

// What the app left alive goes with its environment, each object the way its own Destroy call
// would take it: users before what they use, though the links would survive any order.
void DestroyLeftovers(jint environment) {
    const std::vector<std::pair<jint, Kind>> owned = Handles().ownedBy(environment);
    if (owned.empty()) {
        return;
    }
    KLOGE("DeinitEnvironment - %d objects of environment %d are still alive: destroyed with it",
          static_cast<int>(owned.size()), environment);
    using Destroy = void (*)(JNIEnv*, jclass, jint);
    static const struct {
        Kind kind;
        Destroy destroy;
    } kOrder[] = {{Kind::WINDOW, Java_com_xol_kesto2_Kesto2_DestroyWindow},
                  {Kind::SPRITE, Java_com_xol_kesto2_Kesto2_DestroySceneNode},
                  {Kind::BLUR_SPRITE, Java_com_xol_kesto2_Kesto2_DestroySceneNode},
                  {Kind::SCISSOR, Java_com_xol_kesto2_Kesto2_DestroySceneNode},
                  {Kind::SCENE_NODE, Java_com_xol_kesto2_Kesto2_DestroySceneNode},
                  {Kind::SCENE, Java_com_xol_kesto2_Kesto2_DestroyScene},
                  {Kind::BITMAP, Java_com_xol_kesto2_Kesto2_DestroyBitmap},
                  {Kind::TEXTURE, Java_com_xol_kesto2_Kesto2_DestroyTexture},
                  {Kind::CONTEXT, Java_com_xol_kesto2_Kesto2_DestroyContext}};
    for (const auto& step : kOrder) {
        for (const auto& [handle, kind] : owned) {
            if (kind == step.kind) {
                step.destroy(nullptr, nullptr, handle);
            }
        }
    }
}

}  // namespace

KESTO_NATIVE(void, DeinitEnvironment)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, handle, &environment)) {
        return;
    }
    DestroyLeftovers(handle);
    if (Unregister(__func__, handle, &environment)) {
        environment->deinit();
        DeleteObject(environment);
    }
}

KESTO_NATIVE(void, Environment_1LogStatus)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (Resolve(__func__, handle, &environment)) {
        environment->LogResourceCount();
    }
}

KESTO_NATIVE(jint, CreateContext)
(JNIEnv*, jclass, jint environmentHandle, jint red, jint green, jint blue, jint alpha) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Context* context = NewObject<Context>();
    if (context == nullptr) {
        KLOGE("new Context NG");
        return 0;
    }
    if (!context->init(environment, red, green, blue, alpha)) {
        KLOGE("Context init NG");
        DeleteObject(context);
        return 0;
    }
    return Publish(context, Kind::CONTEXT, environmentHandle);
}

KESTO_NATIVE(void, DestroyContext)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Context* context;
    if (Unregister(__func__, handle, &context)) {
        DeleteObject(context);
    }
}

KESTO_NATIVE(jboolean, Context_1RunOnCurrentThread)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Context* context;
    return Resolve(__func__, handle, &context) && context->runOnCurrentThread();
}

KESTO_NATIVE(jboolean, Context_1RemoveFromCurrentThread)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Context* context;
    if (!Resolve(__func__, handle, &context)) {
        return JNI_FALSE;
    }
    context->removeFromCurrentThread();
    return JNI_TRUE;
}

// --- Windows and viewports ---------------------------------------------------------------------

namespace {

jint PublishWindow(Environment* environment, jint environmentHandle, Context* context) {
    Window* window = NewObject<Window>(environment, context);
    if (window == nullptr) {
        KLOGE("new Window NG");
        return 0;
    }
    const jint handle = Publish(window, Kind::WINDOW, environmentHandle);
    if (handle == 0) {
        return 0;
    }
    const jint viewport = Register(&window->defaultViewport, Kind::VIEWPORT, true);
    Handles().setEmbedded(handle, 0, viewport);
    return handle;
}

}  // namespace

KESTO_NATIVE(jint, CreateWindow)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Context* context = environment->getDefaultContext();
    if (context == nullptr) {
        KLOGE("CreateWindow NG - null default context");
        return 0;
    }
    return PublishWindow(environment, environmentHandle, context);
}

KESTO_NATIVE(jint, CreateWindowByContext)
(JNIEnv*, jclass, jint environmentHandle, jint contextHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    Context* context;
    if (!Resolve(__func__, environmentHandle, &environment) ||
        !Resolve(__func__, contextHandle, &context)) {
        return 0;
    }
    return PublishWindow(environment, environmentHandle, context);
}

KESTO_NATIVE(void, DestroyWindow)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Window* window;
    if (Unregister(__func__, handle, &window)) {
        DeleteObject(window);
    }
}

KESTO_NATIVE(jboolean, Window_1BindSurface)
(JNIEnv* env, jclass, jint handle, jobject surface, jint width, jint height) {
    const auto engine = LockEngine();
    if (handle == 0 || surface == nullptr) {
        return JNI_FALSE;
    }
    if (width < 1 || height < 1) {
        KLOGE("Window_BindSurface NG - size %dx%d: a window needs at least one pixel each way",
              width, height);
        return JNI_FALSE;
    }
    Window* window;
    if (!Resolve(__func__, handle, &window)) {
        return JNI_FALSE;
    }
    // The size sets every frame's viewport and a whole-window snapshot's buffer; no display
    // surface comes near this.
    constexpr jint kLimit = 16384;
    if (width > kLimit || height > kLimit) {
        KLOGE("Window_BindSurface NG - size %dx%d beyond %d a side", width, height, kLimit);
        return JNI_FALSE;
    }
    if (g_surfaceClass == nullptr) {
        jclass found = env->FindClass("android/view/Surface");
        if (found == nullptr) {
            env->ExceptionClear();
            KLOGE("BindSurface - find surface class NG.");
            return JNI_FALSE;
        }
        g_surfaceClass = static_cast<jclass>(env->NewGlobalRef(found));
        KLOGI("BindSurface - set Surface class as global ref.");
    }
    ANativeWindow* nativeWindow = env->IsInstanceOf(surface, g_surfaceClass)
                                      ? ANativeWindow_fromSurface(env, surface)
                                      : nullptr;
    if (nativeWindow == nullptr) {
        KLOGE("BindSurface get surface NG");
        return JNI_FALSE;
    }
    // The window takes a reference of its own while bound.
    const bool bound = window->bindSurface(nativeWindow, width, height);
    ANativeWindow_release(nativeWindow);
    return bound;
}

KESTO_NATIVE(void, Window_1UnbindSurface)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Window* window;
    if (Resolve(__func__, handle, &window)) {
        window->unbindSurface();
    }
}

KESTO_NATIVE(void, Window_1SetClearColor)
(JNIEnv*, jclass, jint handle, jfloat r, jfloat g, jfloat b, jfloat a) {
    const auto engine = LockEngine();
    Window* window;
    if (Resolve(__func__, handle, &window)) {
        window->setClearColor(r, g, b, a);
    }
}

KESTO_NATIVE(jint, Window_1GetDefaultViewport)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Window* window;
    return Resolve(__func__, handle, &window) ? Handles().embedded(handle, 0) : 0;
}

// A frame gives up on an update that another thread left open for seconds: the render thread
// skips frames with a line instead of hanging.
constexpr int kFrameGiveUpMillis = 2000;

KESTO_NATIVE(jboolean, Window_1Render)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine(kFrameGiveUpMillis);
    Window* window;
    if (!engine.owns() || !Resolve(__func__, handle, &window)) {
        return JNI_FALSE;
    }
    window->render();
    return window->present();
}

KESTO_NATIVE(void, Window_1RenderWithoutPresent)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine(kFrameGiveUpMillis);
    Window* window;
    if (engine.owns() && Resolve(__func__, handle, &window)) {
        window->render();
    }
}

KESTO_NATIVE(jboolean, Window_1Present)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine(kFrameGiveUpMillis);
    Window* window;
    if (!engine.owns() || !Resolve(__func__, handle, &window)) {
        return JNI_FALSE;
    }
    return window->present();
}

KESTO_NATIVE(void, Window_1SetShowFrameInfoThreshold)
(JNIEnv*, jclass, jint handle, jint threshold) {
    const auto engine = LockEngine();
    Window* window;
    if (Resolve(__func__, handle, &window)) {
        window->showFrameInfoThreshold = threshold;
    }
}

KESTO_NATIVE(jstring, GetLastError)(JNIEnv* jniEnv, jclass) {
    // Modified UTF-8 takes ASCII as it is; a stray byte from a logged name must not break it.
    char line[2 * 1024 + 2];
    std::snprintf(line, sizeof line, "%s", LastError());
    if (line[0] == '\0') {
        return nullptr;
    }
    for (char* c = line; *c != '\0'; ++c) {
        if (static_cast<unsigned char>(*c) >= 0x80) {
            *c = '?';
        }
    }
    return jniEnv->NewStringUTF(line);
}

KESTO_NATIVE(void, Window_1SetBatching)(JNIEnv*, jclass, jint handle, jboolean enabled) {
    const auto engine = LockEngine();
    Window* window;
    if (Resolve(__func__, handle, &window)) {
        window->setBatching(enabled != JNI_FALSE);
    }
}

KESTO_NATIVE(void, Window_1SetPartialRedraw)(JNIEnv*, jclass, jint handle, jboolean enabled) {
    const auto engine = LockEngine();
    Window* window;
    if (Resolve(__func__, handle, &window)) {
        window->setPartialRedraw(enabled != JNI_FALSE);
    }
}

KESTO_NATIVE(jint, Window_1GetFrameStatistics)
(JNIEnv* jniEnv, jclass, jint handle, jintArray out) {
    const auto engine = LockEngine();
    Window* window;
    if (!Resolve(__func__, handle, &window)) {
        return 0;
    }
    if (out == nullptr) {
        KLOGE("Window_GetFrameStatistics NG - null array");
        return 0;
    }
    const FrameStats& stats = window->frameStats();
    const int64_t textureBytes = Texture::GLTexturesBytes.load(std::memory_order_relaxed);
    jint values[6 + FrameStats::BREAK_COUNT + 4] = {
        stats.meshes,   stats.drawCalls,
        stats.batches,  stats.textureBinds,
        stats.vertices, static_cast<jint>(std::min<int64_t>(textureBytes, INT32_MAX))};
    std::copy(stats.breaks, stats.breaks + FrameStats::BREAK_COUNT, values + 6);
    jint* partial = values + 6 + FrameStats::BREAK_COUNT;
    partial[0] = stats.whole;
    partial[1] = stats.damagedPixels;
    partial[2] = stats.meshesSkipped;
    partial[3] = stats.skipped;
    const jsize count = std::min<jsize>(jniEnv->GetArrayLength(out), std::size(values));
    jniEnv->SetIntArrayRegion(out, 0, count, values);
    return count;
}

KESTO_NATIVE(jint, Window_1HitTest)(JNIEnv*, jclass, jint handle, jint x, jint y) {
    const auto engine = LockEngine();
    Window* window;
    SceneNode* hit = nullptr;
    if (!Resolve(__func__, handle, &window) ||
        !window->hitTest(x, y, nullptr, nullptr, nullptr, &hit)) {
        return 0;
    }
    return hit != nullptr ? hit->bindingHandle : 0;
}

KESTO_NATIVE(jboolean, Window_1QuerySceneNodeOriginPositionOnViewport)
(JNIEnv*, jclass, jint windowHandle, jint viewportHandle, jint nodeHandle) {
    const auto engine = LockEngine();
    // A failed query leaves this sentinel for the getters.
    g_OutputVector = Vector(9999.9f, 9999.9f, 0.0f);
    Window* window;
    SceneNode* node;
    Viewport* viewport = nullptr;
    if (!Resolve(__func__, windowHandle, &window) || !Resolve(__func__, nodeHandle, &node)) {
        return JNI_FALSE;
    }
    if (viewportHandle != 0 && !Resolve(__func__, viewportHandle, &viewport)) {
        return JNI_FALSE;
    }
    return window->querySceneNodeOriginPositionOnViewport(viewport, *node, &g_OutputVector);
}

KESTO_NATIVE(void, Viewport_1LinkCamera)(JNIEnv*, jclass, jint viewportHandle, jint cameraHandle) {
    const auto engine = LockEngine();
    Viewport* viewport;
    Camera* camera;
    if (Resolve(__func__, viewportHandle, &viewport) && Resolve(__func__, cameraHandle, &camera)) {
        viewport->linkCamera(camera);
    }
}

// --- Scenes, nodes and cameras -----------------------------------------------------------------

KESTO_NATIVE(jint, CreateScene)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Scene* scene = NewObject<Scene>(environment);
    if (scene == nullptr) {
        KLOGE("new Scene NG");
        return 0;
    }
    const jint handle = Publish(scene, Kind::SCENE, environmentHandle);
    if (handle != 0) {
        const jint root = Register(&scene->rootNode, Kind::SCENE_NODE, true);
        const jint camera = Register<SceneNode>(&scene->defaultCamera, Kind::CAMERA, true);
        scene->rootNode.bindingHandle = root;
        scene->defaultCamera.bindingHandle = camera;
        Handles().setEmbedded(handle, 0, root);
        Handles().setEmbedded(handle, 1, camera);
    }
    return handle;
}

KESTO_NATIVE(void, DestroyScene)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Scene* scene;
    if (Unregister(__func__, handle, &scene)) {
        DeleteObject(scene);
    }
}

KESTO_NATIVE(jint, Scene_1GetDefaultCamera)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Scene* scene;
    return Resolve(__func__, handle, &scene) ? Handles().embedded(handle, 1) : 0;
}

KESTO_NATIVE(jint, Scene_1GetRootNode)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Scene* scene;
    return Resolve(__func__, handle, &scene) ? Handles().embedded(handle, 0) : 0;
}

KESTO_NATIVE(jint, CreateSceneNode)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    SceneNode* node = NewObject<SceneNode>(environment);
    if (node == nullptr) {
        KLOGE("new SceneNode NG");
        return 0;
    }
    return PublishNode(node, Kind::SCENE_NODE, environmentHandle);
}

namespace {

// One body for every node kind: the deleting destructor of the actual class runs.
void DestroyNode(const char* method, jint handle) {
    SceneNode* node;
    if (Unregister(method, handle, &node)) {
        DeleteObject(node);
    }
}

}  // namespace

KESTO_NATIVE(void, DestroySceneNode)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    DestroyNode(__func__, handle);
}
KESTO_NATIVE(void, DestroySprite)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    DestroyNode(__func__, handle);
}
KESTO_NATIVE(void, DestroyScissor)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    DestroyNode(__func__, handle);
}
KESTO_NATIVE(void, DestroyBlurSprite)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    DestroyNode(__func__, handle);
}

KESTO_NATIVE(jboolean, SceneNode_1AddChild)(JNIEnv*, jclass, jint parentHandle, jint childHandle) {
    const auto engine = LockEngine();
    SceneNode* parent;
    SceneNode* child;
    return Resolve(__func__, parentHandle, &parent) && Resolve(__func__, childHandle, &child) &&
           parent->addChild(child, true);
}

KESTO_NATIVE(void, SceneNode_1RemoveChild)(JNIEnv*, jclass, jint parentHandle, jint childHandle) {
    const auto engine = LockEngine();
    SceneNode* parent;
    SceneNode* child;
    if (Resolve(__func__, parentHandle, &parent) && Resolve(__func__, childHandle, &child)) {
        parent->removeChild(child);
    }
}

KESTO_NATIVE(void, SceneNode_1SetVisible)(JNIEnv*, jclass, jint handle, jboolean visible) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setVisible(IsTrue(visible));
    }
}

KESTO_NATIVE(jboolean, SceneNode_1GetVisible)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    SceneNode* node;
    return Resolve(__func__, handle, &node) && node->getVisible();
}

KESTO_NATIVE(void, SceneNode_1SetChildrenRenderOrderMode)(JNIEnv*, jclass, jint handle, jint mode) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setChildrenRenderOrderMode(mode);
    }
}

KESTO_NATIVE(jint, SceneNode_1GetChildrenRenderOrderMode)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    SceneNode* node;
    return Resolve(__func__, handle, &node) ? node->getChildrenRenderOrderMode() : 0;
}

KESTO_NATIVE(void, SceneNode_1SetRenderOrder)(JNIEnv*, jclass, jint handle, jint order) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setRenderOrder(order);
    }
}

KESTO_NATIVE(jint, SceneNode_1GetRenderOrder)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    SceneNode* node;
    return Resolve(__func__, handle, &node) ? node->getRenderOrder() : 0;
}

KESTO_NATIVE(void, SceneNode_1SetScale)
(JNIEnv*, jclass, jint handle, jfloat x, jfloat y, jfloat z) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setScale(Vector(x, y, z));
    }
}

KESTO_NATIVE(void, SceneNode_1SetRotate)
(JNIEnv*, jclass, jint handle, jfloat x, jfloat y, jfloat z) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setRotate(Vector(x, y, z));
    }
}

KESTO_NATIVE(void, SceneNode_1SetPosition)
(JNIEnv*, jclass, jint handle, jfloat x, jfloat y, jfloat z) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setPosition(Vector(x, y, z));
    }
}

KESTO_NATIVE(void, SceneNode_1SetGroupAlpha)(JNIEnv*, jclass, jint handle, jfloat alpha) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->setGroupAlpha(alpha);
    }
}

KESTO_NATIVE(void, SceneNode_1SetUserData)(JNIEnv*, jclass, jint handle, jint value) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->userData = value;
    }
}

KESTO_NATIVE(jint, SceneNode_1GetUserData)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    SceneNode* node;
    return Resolve(__func__, handle, &node) ? node->userData : 0;
}

KESTO_NATIVE(void, SceneNode_1SetUserFlag)(JNIEnv*, jclass, jint handle, jint value) {
    const auto engine = LockEngine();
    SceneNode* node;
    if (Resolve(__func__, handle, &node)) {
        node->userFlag = value;
    }
}

KESTO_NATIVE(jint, SceneNode_1GetUserFlag)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    SceneNode* node;
    return Resolve(__func__, handle, &node) ? node->userFlag : 0;
}

KESTO_NATIVE(jboolean, SceneNode_1AddPartialSceneRenderFlag)
(JNIEnv*, jclass, jint handle, jint flag, jboolean recursive) {
    const auto engine = LockEngine();
    if (handle == 0) {
        KLOGE("SceneNode_SetPartialSceneRenderFlag NG - node is null");
        return JNI_FALSE;
    }
    SceneNode* node;
    if (!Resolve(__func__, handle, &node)) {
        return JNI_FALSE;
    }
    node->AddRenderFlag(flag, IsTrue(recursive));
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, SceneNode_1RemovePartialSceneRenderFlag)
(JNIEnv*, jclass, jint handle, jint flag, jboolean recursive) {
    const auto engine = LockEngine();
    if (handle == 0) {
        KLOGE("SceneNode_RemovePartialSceneRenderFlag NG - node is null");
        return JNI_FALSE;
    }
    SceneNode* node;
    if (!Resolve(__func__, handle, &node)) {
        return JNI_FALSE;
    }
    node->RemoveRenderFlag(flag, IsTrue(recursive));
    return JNI_TRUE;
}

KESTO_NATIVE(void, Camera_12DIsometricSetup)
(JNIEnv*, jclass, jint handle, jfloat fov, jfloat zNear, jfloat zFar) {
    const auto engine = LockEngine();
    Camera* camera;
    if (Resolve(__func__, handle, &camera)) {
        camera->usePerspectiveProjectionH(fov, zNear, zFar);
    }
}

// --- Sprites, blur sprites and scissors --------------------------------------------------------

KESTO_NATIVE(jint, CreateSpriteWithConfig)
(JNIEnv*, jclass, jint environmentHandle, jint layersCount, jboolean layerZeroOnTop) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    // Every layer is a mesh with its own material: a count in the thousands is a mistake that
    // would cost memory and time on every frame, so it is refused like a count of 0.
    constexpr jint kMaximumLayers = 1024;
    if (layersCount <= 0 || layersCount > kMaximumLayers) {
        KLOGE("CreateSprite NG - error layersCount %d", layersCount);
        return 0;
    }
    Sprite* sprite = NewObject<Sprite>(environment);
    if (sprite == nullptr) {
        KLOGE("new Sprite NG");
        return 0;
    }
    if (!sprite->init(layersCount, IsTrue(layerZeroOnTop))) {
        KLOGE("sprite init NG");
        DeleteObject(sprite);
        return 0;
    }
    return PublishNode(sprite, Kind::SPRITE, environmentHandle);
}

KESTO_NATIVE(jint, CreateSprite)
(JNIEnv* env, jclass type, jint environmentHandle, jint layersCount) {
    const auto engine = LockEngine();
    return Java_com_xol_kesto2_Kesto2_CreateSpriteWithConfig(env, type, environmentHandle,
                                                             layersCount, JNI_TRUE);
}

KESTO_NATIVE(jint, CreateBlurSprite)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    if (environmentHandle == 0) {
        KLOGE("BlurSprite_CreateBlurSprite NG - environment %d", 0);
        return 0;
    }
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    BlurSprite* sprite = NewObject<BlurSprite>(environment);
    if (sprite == nullptr) {
        KLOGE("BlurSprite_CreateBlurSprite NG - new BlurSprite");
        return 0;
    }
    if (!sprite->init()) {
        KLOGE("BlurSprite_CreateBlurSprite NG - blur sprite init NG");
        DeleteObject(sprite);
        return 0;
    }
    return PublishNode(sprite, Kind::BLUR_SPRITE, environmentHandle);
}

KESTO_NATIVE(jboolean, BlurSprite_1SetTexture)
(JNIEnv*, jclass, jint spriteHandle, jint contextHandle, jint textureHandle, jfloat maxBlur) {
    const auto engine = LockEngine();
    const int64_t start = uptimeMillis();
    if (contextHandle == 0 || spriteHandle == 0 || textureHandle == 0 || !(maxBlur > 0.0f)) {
        KLOGE("BlurSprite_SetTexture NG context%d, sprite%d, texture%d, maxBlur:%f", contextHandle,
              spriteHandle, textureHandle, static_cast<double>(maxBlur));
        return JNI_FALSE;
    }
    BlurSprite* sprite;
    Context* context;
    Texture* texture;
    if (!Resolve(__func__, spriteHandle, &sprite) || !Resolve(__func__, contextHandle, &context) ||
        !Resolve(__func__, textureHandle, &texture)) {
        return JNI_FALSE;
    }
    const bool set = sprite->setTexture(context, texture, maxBlur);
    KLOGI("BlurSprite_SetTexture time:%d", static_cast<int>(uptimeMillis() - start));
    return set;
}

KESTO_NATIVE(jboolean, BlurSprite_1SetBlurParameter)
(JNIEnv*, jclass, jint spriteHandle, jint contextHandle, jfloat blur) {
    const auto engine = LockEngine();
    if (spriteHandle == 0 || contextHandle == 0) {
        KLOGE("BlurSprite_SetBlurParameter NG context%d, sprite%d", contextHandle, spriteHandle);
        return JNI_FALSE;
    }
    BlurSprite* sprite;
    Context* context;
    return Resolve(__func__, spriteHandle, &sprite) && Resolve(__func__, contextHandle, &context) &&
           sprite->setBlurParameter(context, blur);
}

KESTO_NATIVE(jboolean, Sprite_1SetupGeometry)
(JNIEnv*, jclass, jint handle, jint layer, jfloat width, jfloat height, jfloat anchorX,
 jfloat anchorY, jfloat anchorZ) {
    const auto engine = LockEngine();
    Sprite* sprite;
    if (!Resolve(__func__, handle, &sprite)) {
        return JNI_FALSE;
    }
    sprite->initSpriteGeometry(layer, width, height, anchorX, anchorY, anchorZ);
    return HasLayer(sprite, layer);
}

KESTO_NATIVE(jboolean, Sprite_1SetTexture)
(JNIEnv*, jclass, jint handle, jint layer, jint index, jint textureHandle) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Texture* texture = nullptr;
    if (!Resolve(__func__, handle, &sprite)) {
        return JNI_FALSE;
    }
    // 0 clears the layer's texture.
    if (textureHandle != 0 && !Resolve(__func__, textureHandle, &texture)) {
        return JNI_FALSE;
    }
    Material* material =
        LayerMaterial(sprite, layer, "Sprite_SetTexture NG - no layer material %d");
    if (material == nullptr) {
        return JNI_FALSE;
    }
    if (!material->setTexture(index, texture)) {
        KLOGE("Sprite_SetTexture NG - setTexture %d", index);
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Sprite_1SetTextureCoordinatesBy2P)
(JNIEnv*, jclass, jint handle, jint layer, jfloat u1, jfloat v1, jfloat u2, jfloat v2) {
    const auto engine = LockEngine();
    Sprite* sprite;
    if (!Resolve(__func__, handle, &sprite)) {
        return JNI_FALSE;
    }
    sprite->setTextureCoordinatesBy2P(layer, Vector2(u1, v1), Vector2(u2, v2));
    return HasLayer(sprite, layer);
}

KESTO_NATIVE(jboolean, Sprite_1SetTextureCoordinatesBy4P)
(JNIEnv*, jclass, jint handle, jint layer, jfloat u1, jfloat v1, jfloat u2, jfloat v2, jfloat u3,
 jfloat v3, jfloat u4, jfloat v4) {
    const auto engine = LockEngine();
    Sprite* sprite;
    if (!Resolve(__func__, handle, &sprite)) {
        return JNI_FALSE;
    }
    sprite->setTextureCoordinatesBy4P(layer, Vector2(u1, v1), Vector2(u2, v2), Vector2(u3, v3),
                                      Vector2(u4, v4));
    return HasLayer(sprite, layer);
}

KESTO_NATIVE(void, Sprite_1SetLayerVisible)
(JNIEnv*, jclass, jint handle, jint layer, jboolean value) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Mesh* mesh;
    if (Resolve(__func__, handle, &sprite) &&
        (mesh = LayerMesh(sprite, layer, "Sprite_SetVisible NG - no layer mesh %d")) != nullptr) {
        mesh->setVisible(IsTrue(value));
    }
}

KESTO_NATIVE(void, Sprite_1SetLayerRenderable)
(JNIEnv*, jclass, jint handle, jint layer, jboolean value) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Mesh* mesh;
    if (Resolve(__func__, handle, &sprite) &&
        (mesh = LayerMesh(sprite, layer, "Sprite_SetLayerRenderable NG - no layer mesh %d")) !=
            nullptr) {
        mesh->setRenderable(IsTrue(value));
    }
}

KESTO_NATIVE(void, Sprite_1SetLayerTouchable)
(JNIEnv*, jclass, jint handle, jint layer, jboolean value) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Mesh* mesh;
    if (Resolve(__func__, handle, &sprite) &&
        (mesh = LayerMesh(sprite, layer, "Sprite_SetLayerTouchable NG - no layer mesh %d")) !=
            nullptr) {
        mesh->setTouchable(IsTrue(value));
    }
}

KESTO_NATIVE(void, Sprite_1SetColor)
(JNIEnv*, jclass, jint handle, jint layer, jint r, jint g, jint b) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Material* material;
    if (Resolve(__func__, handle, &sprite) &&
        (material = LayerMaterial(sprite, layer, "Sprite_SetColor NG - no layer material %d")) !=
            nullptr) {
        material->setColor(LowByte(r), LowByte(g), LowByte(b));
    }
}

KESTO_NATIVE(void, Sprite_1SetAlpha)(JNIEnv*, jclass, jint handle, jint layer, jint alpha) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Material* material;
    if (Resolve(__func__, handle, &sprite) &&
        (material = LayerMaterial(sprite, layer, "Sprite_SetAlpha NG - no layer material %d")) !=
            nullptr) {
        material->setAlpha(LowByte(alpha));
    }
}

KESTO_NATIVE(void, Sprite_1SetRGBOperation)
(JNIEnv*, jclass, jint handle, jint layer, jint operation) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Material* material;
    if (Resolve(__func__, handle, &sprite) &&
        (material = LayerMaterial(sprite, layer, "SetRGBOperation NG - no layer material %d")) !=
            nullptr) {
        material->setRGBOperation(operation);
    }
}

KESTO_NATIVE(void, Sprite_1EnableColorBlending)
(JNIEnv*, jclass, jint handle, jint layer, jboolean enabled) {
    const auto engine = LockEngine();
    Sprite* sprite;
    Material* material;
    if (Resolve(__func__, handle, &sprite) &&
        (material = LayerMaterial(sprite, layer,
                                  "EnableColorBlending NG - no layer material %d")) != nullptr) {
        material->setEnableColorBlending(IsTrue(enabled));
    }
}

KESTO_NATIVE(void, Sprite_1SetTouchable)(JNIEnv*, jclass, jint handle, jboolean touchable) {
    const auto engine = LockEngine();
    Sprite* sprite;
    if (Resolve(__func__, handle, &sprite)) {
        sprite->touchable = IsTrue(touchable);
    }
}

KESTO_NATIVE(jint, CreateScissor)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Scissor* scissor = NewObject<Scissor>(environment);
    if (scissor == nullptr) {
        KLOGE("new Scissor NG");
        return 0;
    }
    return PublishNode(scissor, Kind::SCISSOR, environmentHandle);
}

KESTO_NATIVE(void, Scissor_1SetArea)
(JNIEnv*, jclass, jint handle, jint x, jint y, jint width, jint height) {
    const auto engine = LockEngine();
    Scissor* scissor;
    if (!Resolve(__func__, handle, &scissor)) {
        return;
    }
    // GL takes no negative sizes, and nothing beyond this limit can be on a screen.
    constexpr jint kLimit = 1 << 24;
    if (width < 0 || height < 0 || x < -kLimit || x > kLimit || y < -kLimit || y > kLimit ||
        width > kLimit || height > kLimit) {
        KLOGE(
            "Scissor_SetArea NG - area (%d, %d, %d, %d) has a negative size or a value beyond "
            "+-%d",
            x, y, width, height, kLimit);
        return;
    }
    scissor->setArea(x, y, width, height);
}

// --- Bitmap objects and the output vector ------------------------------------------------------

KESTO_NATIVE(jint, CreateBitmap)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    // A bitmap needs no environment; one given must be real.
    Environment* environment = nullptr;
    if (environmentHandle != 0 && !Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Bitmap* bitmap = NewObject<Bitmap>(environment);
    if (bitmap == nullptr) {
        KLOGE("new Bitmap NG");
        return 0;
    }
    return Publish(bitmap, Kind::BITMAP, environmentHandle);
}

KESTO_NATIVE(void, DestroyBitmap)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Bitmap* bitmap;
    if (Unregister(__func__, handle, &bitmap)) {
        DeleteObject(bitmap);
    }
}

KESTO_NATIVE(jfloat, getOutputVectorX)(JNIEnv*, jclass) {
    const auto engine = LockEngine();
    return g_OutputVector.x;
}
KESTO_NATIVE(jfloat, getOutputVectorY)(JNIEnv*, jclass) {
    const auto engine = LockEngine();
    return g_OutputVector.y;
}
KESTO_NATIVE(jfloat, getOutputVectorZ)(JNIEnv*, jclass) {
    const auto engine = LockEngine();
    return g_OutputVector.z;
}
