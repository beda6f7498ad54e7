// The platform's native window, as the NDK declares it. On Android these come from libandroid; on
// the desktop the host library implements them over X11 windows.
#pragma once

#include <EGL/egl.h>
#include <jni.h>

extern "C" {
struct ANativeWindow;
ANativeWindow* ANativeWindow_fromSurface(JNIEnv* env, jobject surface);
void ANativeWindow_acquire(ANativeWindow* window);
void ANativeWindow_release(ANativeWindow* window);
int32_t ANativeWindow_getWidth(ANativeWindow* window);
int32_t ANativeWindow_getHeight(ANativeWindow* window);
#ifndef __ANDROID__
// The desktop host library keeps an X11 window behind each native window: its id, usable as
// EGLNativeWindowType with Mesa's X11 platform; 0 for null.
unsigned long KestoHost_ANativeWindow_getXWindow(ANativeWindow* window);
#endif
}

namespace kesto {

// What EGL takes for a window surface.
EGLNativeWindowType EglNativeWindow(ANativeWindow* window);
// False once the window behind a surface is gone (its size queries then fail).
inline bool NativeWindowAlive(ANativeWindow* window) {
    return ANativeWindow_getWidth(window) >= 0;
}

}  // namespace kesto
