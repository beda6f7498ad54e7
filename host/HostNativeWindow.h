// Native windows on the desktop. The NDK functions (same signatures as libandroid's) work on
// windows behind host android.view.Surface objects; the two KestoHost_ functions bridge to X11.
#pragma once

#include <jni.h>

#include <cstdint>

extern "C" {

struct ANativeWindow;

// One reference is acquired for the caller; null for a null, released or foreign object.
ANativeWindow* ANativeWindow_fromSurface(JNIEnv* env, jobject surface);
void ANativeWindow_acquire(ANativeWindow* window);
void ANativeWindow_release(ANativeWindow* window);
// Negative (-EINVAL) for a null window.
int32_t ANativeWindow_getWidth(ANativeWindow* window);
int32_t ANativeWindow_getHeight(ANativeWindow* window);

// The X11 window id, usable as EGLNativeWindowType with Mesa's X11 platform; 0 for null.
unsigned long KestoHost_ANativeWindow_getXWindow(ANativeWindow* window);
// Wraps an X window that the caller keeps owning (and keeps alive while the result has
// references). Returned with one reference; null for a zero id or a non-positive size.
ANativeWindow* KestoHost_ANativeWindow_fromXWindow(unsigned long xid, int width, int height);
}
