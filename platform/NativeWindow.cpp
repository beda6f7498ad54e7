#include "platform/NativeWindow.h"

namespace kesto {

EGLNativeWindowType EglNativeWindow(ANativeWindow* window) {
#ifdef __ANDROID__
    return window;
#else
    return static_cast<EGLNativeWindowType>(KestoHost_ANativeWindow_getXWindow(window));
#endif
}

}  // namespace kesto
