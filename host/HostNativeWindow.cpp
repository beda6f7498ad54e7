#include "host/HostNativeWindow.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <new>

#include "host/JniSupport.h"
#include "host/X11Window.h"

// What an ANativeWindow is on the desktop: a reference-counted X window, either opened for a host
// Surface (and closed with the last reference) or borrowed from a caller.
struct ANativeWindow {
    std::atomic<int32_t> references{1};
    std::unique_ptr<kesto::host::X11Window> owned;
    unsigned long xid = 0;
    int32_t width = 0;
    int32_t height = 0;
};

namespace {

ANativeWindow* FromSurface(JNIEnv* env, jobject surface) {
    jclass surfaceClass = nullptr;
    if (kesto::host::FindClassOf(env, surface, "android.view.Surface", &surfaceClass) !=
        kesto::host::ClassLookup::kFound) {
        return nullptr;
    }
    // Field of host/java/android/view/Surface.java.
    jfieldID nativeObject = env->GetFieldID(surfaceClass, "mNativeObject", "J");
    env->DeleteLocalRef(surfaceClass);
    if (nativeObject == nullptr) {
        kesto::host::ClearException(env);
        return nullptr;
    }
    // Surface.release() is synchronized: holding the monitor keeps the window from going away
    // between reading the field and taking the reference.
    if (env->MonitorEnter(surface) != JNI_OK) {
        kesto::host::ClearException(env);
        return nullptr;
    }
    auto* window = reinterpret_cast<ANativeWindow*>(
        static_cast<intptr_t>(env->GetLongField(surface, nativeObject)));
    ANativeWindow_acquire(window);
    env->MonitorExit(surface);
    kesto::host::ClearException(env);
    return window;
}

}  // namespace

extern "C" {

ANativeWindow* ANativeWindow_fromSurface(JNIEnv* env, jobject surface) {
    // A pending exception is the caller's: JNI may not be used until it is handled.
    if (env == nullptr || surface == nullptr || env->ExceptionCheck()) {
        return nullptr;
    }
    return FromSurface(env, surface);
}

void ANativeWindow_acquire(ANativeWindow* window) {
    if (window != nullptr) {
        window->references.fetch_add(1, std::memory_order_relaxed);
    }
}

void ANativeWindow_release(ANativeWindow* window) {
    if (window != nullptr && window->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete window;
    }
}

// Like an abandoned Android window, one whose X window is gone answers size queries with an error.
int32_t ANativeWindow_getWidth(ANativeWindow* window) {
    if (window == nullptr) {
        return -EINVAL;
    }
    return kesto::host::X11WindowExists(window->xid) ? window->width : -ENODEV;
}

int32_t ANativeWindow_getHeight(ANativeWindow* window) {
    if (window == nullptr) {
        return -EINVAL;
    }
    return kesto::host::X11WindowExists(window->xid) ? window->height : -ENODEV;
}

unsigned long KestoHost_ANativeWindow_getXWindow(ANativeWindow* window) {
    return window != nullptr ? window->xid : 0;
}

ANativeWindow* KestoHost_ANativeWindow_fromXWindow(unsigned long xid, int width, int height) {
    if (xid == 0 || width <= 0 || height <= 0) {
        return nullptr;
    }
    auto* window = new (std::nothrow) ANativeWindow();
    if (window != nullptr) {
        window->xid = xid;
        window->width = width;
        window->height = height;
    }
    return window;
}

// Natives of host/java/android/view/Surface.java.

JNIEXPORT jlong JNICALL Java_android_view_Surface_nativeCreate(JNIEnv*, jclass, jint width,
                                                               jint height) {
    std::unique_ptr<kesto::host::X11Window> x11 =
        kesto::host::X11Window::Open(width, height, "Kesto2 Surface");
    if (x11 == nullptr) {
        return 0;
    }
    auto* window = new (std::nothrow) ANativeWindow();
    if (window == nullptr) {
        return 0;
    }
    window->xid = x11->id();
    window->width = x11->width();
    window->height = x11->height();
    window->owned = std::move(x11);
    return static_cast<jlong>(reinterpret_cast<intptr_t>(window));
}

JNIEXPORT void JNICALL Java_android_view_Surface_nativeRelease(JNIEnv*, jclass,
                                                               jlong nativeObject) {
    ANativeWindow_release(reinterpret_cast<ANativeWindow*>(static_cast<intptr_t>(nativeObject)));
}

}  // extern "C"
