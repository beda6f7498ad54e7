// A device image's log mask initialiser, in a library loaded after the engine: errors only, and
// every call counted, so the check can tell whose initialiser the engine used.
#include <atomic>

extern "C" {

std::atomic<int> g_deviceMaskReads{0};

void __xollog_init_mask(const char* /*tag*/, int /*level*/, unsigned char* mask) {
    ++g_deviceMaskReads;
    *mask = 16;
}

}  // extern "C"
