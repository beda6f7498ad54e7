#include "platform/Log.h"

#include <mutex>

// Default when the device image has no mask initialiser of its own: errors, info and debug on.
extern "C" __attribute__((weak)) void __xollog_init_mask(const char* /*tag*/, int /*level*/,
                                                         unsigned char* mask) {
    *mask = kesto::LOG_LEVEL_ERROR | kesto::LOG_LEVEL_INFO | kesto::LOG_LEVEL_DEBUG;
}

namespace kesto {

unsigned char LogReadMask(LogTag& tag) {
    // Producer threads log too; the lock keeps the initialiser to one call per tag.
    static std::mutex lock;
    std::lock_guard<std::mutex> guard(lock);
    unsigned char mask = tag.mask.load(std::memory_order_relaxed);
    if (mask & LOG_MASK_UNREAD) {
        __xollog_init_mask(tag.name, -1, &mask);
        mask &= static_cast<unsigned char>(~LOG_MASK_UNREAD);
        tag.mask.store(mask, std::memory_order_release);
    }
    return mask;
}

}  // namespace kesto
