#include "host/X11Window.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <mutex>

namespace kesto::host {

namespace {

std::mutex g_probeLock;
bool g_probeFailed = false;

int RecordProbeError(Display*, XErrorEvent*) {
    g_probeFailed = true;
    return 0;
}

}  // namespace

bool X11WindowExists(unsigned long xid) {
    if (xid == 0) {
        return false;
    }
    // One connection for the queries; X errors for a missing window must not end the process,
    // so a handler of our own is in place while asking.
    static Display* probe = XOpenDisplay(nullptr);
    if (probe == nullptr) {
        return false;
    }
    // One round trip (a geometry request; the window's attributes would take two): the connection
    // makes no other requests, and the error for a missing window arrives while the request waits
    // for its reply.
    std::lock_guard<std::mutex> guard(g_probeLock);
    g_probeFailed = false;
    XErrorHandler previous = XSetErrorHandler(RecordProbeError);
    ::Window root;
    int x, y;
    unsigned int width, height, border, depth;
    const Status found = XGetGeometry(probe, xid, &root, &x, &y, &width, &height, &border, &depth);
    XSetErrorHandler(previous);
    return found != 0 && !g_probeFailed;
}

std::unique_ptr<X11Window> X11Window::Open(int width, int height, const char* title) {
    if (width <= 0 || height <= 0) {
        return nullptr;
    }
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        return nullptr;
    }
    std::unique_ptr<X11Window> result(new X11Window());
    result->display_ = display;
    result->width_ = width;
    result->height_ = height;
    const int screen = DefaultScreen(display);
    // Backing store keeps what was presented when another window covers this one and goes: without
    // it X repaints the background, and a read answers with whatever covers the window.
    XSetWindowAttributes attributes{};
    attributes.background_pixel = BlackPixel(display, screen);
    attributes.backing_store = Always;
    result->window_ =
        XCreateWindow(display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(width),
                      static_cast<unsigned>(height), 0, CopyFromParent, InputOutput, CopyFromParent,
                      CWBackPixel | CWBackingStore, &attributes);
    // A fixed size: EGL surfaces follow the window, and the engine is told the size once.
    XSizeHints hints{};
    hints.flags = PMinSize | PMaxSize;
    hints.min_width = hints.max_width = width;
    hints.min_height = hints.max_height = height;
    XSetWMNormalHints(display, result->window_, &hints);
    XStoreName(display, result->window_, title != nullptr ? title : "Kesto2");
    XSelectInput(display, result->window_, StructureNotifyMask);
    XMapWindow(display, result->window_);
    XEvent event;
    do {
        XWindowEvent(display, result->window_, StructureNotifyMask, &event);
    } while (event.type != MapNotify);
    XSync(display, False);
    return result;
}

X11Window::~X11Window() {
    if (display_ != nullptr) {
        destroyWindow();
        XCloseDisplay(display_);
    }
}

void X11Window::destroyWindow() {
    if (window_ != 0) {
        XDestroyWindow(display_, window_);
        XSync(display_, False);
        window_ = 0;
    }
}

std::array<uint8_t, 4> X11Window::readPixel(int x, int y) const {
    std::array<uint8_t, 4> rgba{};
    XSync(display_, False);
    XImage* image = XGetImage(display_, window_, x, y, 1, 1, AllPlanes, ZPixmap);
    if (image == nullptr) {
        return rgba;
    }
    const unsigned long pixel = XGetPixel(image, 0, 0);
    // Scale each channel from its mask, so 16- and 24-bit screens read alike.
    const unsigned long masks[3] = {image->red_mask, image->green_mask, image->blue_mask};
    for (int i = 0; i < 3; ++i) {
        unsigned long mask = masks[i];
        if (mask == 0) {
            continue;
        }
        int shift = 0;
        while (((mask >> shift) & 1u) == 0) {
            ++shift;
        }
        const unsigned long maximum = mask >> shift;
        rgba[i] = static_cast<uint8_t>((((pixel & mask) >> shift) * 255 + maximum / 2) / maximum);
    }
    rgba[3] = 255;
    XDestroyImage(image);
    return rgba;
}

}  // namespace kesto::host
