#include <map>
#include <mutex>
#include <string>

#include "tests/support/LogCapture.h"

namespace kesto::test {

namespace {

std::mutex g_maskLock;
std::map<std::string, int>& MaskReads() {
    static std::map<std::string, int> reads;
    return reads;
}

}  // namespace

int LogMaskReads(const std::string& tag) {
    std::lock_guard<std::mutex> guard(g_maskLock);
    return MaskReads()[tag];
}

}  // namespace kesto::test

// Stands in for the device's mask initialiser: everything on, and every read counted.
extern "C" void __xollog_init_mask(const char* tag, int /*level*/, unsigned char* mask) {
    {
        std::lock_guard<std::mutex> guard(kesto::test::g_maskLock);
        ++kesto::test::MaskReads()[tag];
    }
    *mask = 16 | 4 | 2;
}
