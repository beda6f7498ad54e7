#include "tests/support/XClient.h"

#include <X11/Xlib.h>

namespace kesto::test {

bool DestroyXWindowElsewhere(unsigned long xid) {
    Display* other = XOpenDisplay(nullptr);
    if (other == nullptr) {
        return false;
    }
    XDestroyWindow(other, xid);
    XSync(other, False);
    XCloseDisplay(other);
    return true;
}

}  // namespace kesto::test
