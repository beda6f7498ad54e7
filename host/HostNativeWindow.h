// Native windows on the desktop. The NDK functions declared in platform/NativeWindow.h work here on
// windows behind host android.view.Surface objects (fromSurface acquires one reference for the
// caller and gives null for a null, released or foreign object; the size queries give -EINVAL for
// null and -ENODEV once the X window is gone); KestoHost_ANativeWindow_getXWindow (declared with
// them, for the engine) and the function below bridge to X11.
#pragma once

#include "platform/NativeWindow.h"

extern "C" {

// Wraps an X window that the caller keeps owning (and keeps alive while the result has
// references). Returned with one reference; null for a zero id or a non-positive size.
ANativeWindow* KestoHost_ANativeWindow_fromXWindow(unsigned long xid, int width, int height);
}
