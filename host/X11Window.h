// A mapped X11 window on the desktop: what a native window is when the engine runs on Linux.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

struct _XDisplay;

namespace kesto::host {

// Whether an X window with this id exists on DISPLAY: a round trip the first time a window is
// asked about, then none while it lives (its destruction arrives as an event).
bool X11WindowExists(unsigned long xid);

class X11Window {
  public:
    // Opens a window of the given size on DISPLAY and waits until it is mapped; null when there
    // is no X server or the window cannot be made.
    static std::unique_ptr<X11Window> Open(int width, int height, const char* title);
    ~X11Window();
    X11Window(const X11Window&) = delete;
    X11Window& operator=(const X11Window&) = delete;

    // Destroys the X window at once (it may be gone already) but keeps the connection until the
    // object goes: closing it would free the id for the next client to connect, whose first window
    // could take it.
    void destroyWindow();
    // The X window id, usable as EGLNativeWindowType.
    unsigned long id() const { return window_; }
    int width() const { return width_; }
    int height() const { return height_; }
    // RGBA of one pixel of what the X server shows (origin top left).
    std::array<uint8_t, 4> readPixel(int x, int y) const;

  private:
    X11Window() = default;

    _XDisplay* display_ = nullptr;
    unsigned long window_ = 0;
    int width_ = 0;
    int height_ = 0;
};

}  // namespace kesto::host
