#include "platform/NativeWindow.h"

#ifndef __ANDROID__
// The desktop host library keeps an X11 window behind each native window.
#include "host/HostNativeWindow.h"
#endif

namespace kesto {

EGLNativeWindowType EglNativeWindow(ANativeWindow* window) {
#ifdef __ANDROID__
    return window;
#else
    return static_cast<EGLNativeWindowType>(KestoHost_ANativeWindow_getXWindow(window));
#endif
}

}  // namespace kesto
