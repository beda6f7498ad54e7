#include "host/X11Window.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <mutex>

namespace kesto::host {

namespace {

// Windows asked about are watched: the probe connection is told when one goes, so that asking
// again costs no round trip, as asking an Android window its size costs no call to the compositor.
// A round trip here would also wait for the server to finish the last swap's pixels.
constexpr int kWatchedWindows = 64;

// Guards the watched windows and the process's X error handler, which is swapped while asking.
std::mutex g_probeLock;
bool g_errorSeen = false;
unsigned long g_watched[kWatchedWindows] = {};
int g_watchedCount = 0;

int RecordError(Display*, XErrorEvent*) {
    g_errorSeen = true;
    return 0;
}

// X errors about a missing window must not end the process (Xlib's own handler exits): while
// one of these lives, with g_probeLock held, they are noted instead.
class ErrorTrap {
  public:
    ErrorTrap() : previous_(XSetErrorHandler(RecordError)) { g_errorSeen = false; }
    ~ErrorTrap() { XSetErrorHandler(previous_); }
    ErrorTrap(const ErrorTrap&) = delete;
    ErrorTrap& operator=(const ErrorTrap&) = delete;
    bool caught() const { return g_errorSeen; }

  private:
    XErrorHandler previous_;
};

// One connection for the queries, which makes no requests of its own between them.
Display* Probe() {
    static Display* probe = XOpenDisplay(nullptr);
    return probe;
}

int WatchedIndex(unsigned long xid) {
    for (int i = 0; i < g_watchedCount; ++i) {
        if (g_watched[i] == xid) {
            return i;
        }
    }
    return -1;
}

void Unwatch(unsigned long xid) {
    const int index = WatchedIndex(xid);
    if (index >= 0) {
        g_watched[index] = g_watched[--g_watchedCount];
    }
}

// Takes in the destructions the server has sent so far, without waiting for any.
void ReadDestructions(Display* probe) {
    while (XEventsQueued(probe, QueuedAfterReading) > 0) {
        XEvent event;
        XNextEvent(probe, &event);
        if (event.type == DestroyNotify) {
            Unwatch(event.xdestroywindow.window);
        }
    }
}

}  // namespace

bool X11WindowExists(unsigned long xid) {
    if (xid == 0) {
        return false;
    }
    Display* probe = Probe();
    if (probe == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> guard(g_probeLock);
    ReadDestructions(probe);
    if (WatchedIndex(xid) >= 0) {
        return true;
    }
    // First question about this window: one round trip, which also asks to hear of its end. The
    // error for a missing window arrives while the request waits.
    const bool watch = g_watchedCount < kWatchedWindows;
    ErrorTrap trap;
    bool answered = true;
    if (watch) {
        XSelectInput(probe, xid, StructureNotifyMask);
        XSync(probe, False);
    } else {
        ::Window root;
        int x, y;
        unsigned int width, height, border, depth;
        answered = XGetGeometry(probe, xid, &root, &x, &y, &width, &height, &border, &depth) != 0;
    }
    if (!answered || trap.caught()) {
        return false;
    }
    if (watch) {
        g_watched[g_watchedCount++] = xid;
    }
    return true;
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
        std::lock_guard<std::mutex> guard(g_probeLock);
        {
            ErrorTrap trap;  // another client may have destroyed it already
            XDestroyWindow(display_, window_);
            XSync(display_, False);
        }
        // The probe hears of it a moment later: the next question must not meet it alive.
        Unwatch(window_);
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
