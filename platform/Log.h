// Per-tag masked logging over the Android log.
//
// Each source file declares its tag once with KESTO_LOG_TAG("Name"). The tag's mask byte starts
// with its top bit set ("not read yet") and is filled on first use by __xollog_init_mask, which a
// device image may provide; the library carries a weak default that enables errors, info and debug.
#pragma once

#include <android/log.h>

#include <atomic>
#include <cstdarg>

extern "C" void __xollog_init_mask(const char* tag, int level, unsigned char* mask);

namespace kesto {

enum : unsigned char {
    LOG_MASK_UNREAD = 0x80,
    LOG_LEVEL_ERROR = 16,
    LOG_LEVEL_INFO = 4,
    LOG_LEVEL_DEBUG = 2,
};

struct LogTag {
    const char* name;
    std::atomic<unsigned char> mask;
};

// Slow path: reads the mask of a tag whose top bit is still set. Runs at most once per tag.
unsigned char LogReadMask(LogTag& tag);

// Error lines are also kept as the calling thread's last error, masked or not, so that the
// binding can hand a failed call's reason to Java. Each entry point clears it first.
__attribute__((format(printf, 2, 3))) void LogError(LogTag& tag, const char* format, ...);
void LogErrorV(LogTag& tag, const char* format, va_list args);
// The error lines since ClearLastError on this thread: the first (the cause) and, when another came
// after it, the last ("cause; outer"), or "".
const char* LastError();
void ClearLastError();

inline bool LogEnabled(LogTag& tag, unsigned char level) {
    unsigned char mask = tag.mask.load(std::memory_order_acquire);
    if (mask & LOG_MASK_UNREAD) {
        mask = LogReadMask(tag);
    }
    return (mask & level) != 0;
}

}  // namespace kesto

#define KESTO_LOG_TAG(tagName)        \
    static ::kesto::LogTag s_logTag { \
        tagName, {                    \
            ::kesto::LOG_MASK_UNREAD  \
        }                             \
    }

#define KESTO_LOG_AT(level, priority, ...)                             \
    do {                                                               \
        if (::kesto::LogEnabled(s_logTag, level)) {                    \
            __android_log_print(priority, s_logTag.name, __VA_ARGS__); \
        }                                                              \
    } while (0)

#define KLOGE(...) ::kesto::LogError(s_logTag, __VA_ARGS__)
// Warnings show whenever errors do, without becoming the thread's last error.
#define KLOGW(...) KESTO_LOG_AT(::kesto::LOG_LEVEL_ERROR, ANDROID_LOG_WARN, __VA_ARGS__)
#define KLOGI(...) KESTO_LOG_AT(::kesto::LOG_LEVEL_INFO, ANDROID_LOG_INFO, __VA_ARGS__)
#define KLOGD(...) KESTO_LOG_AT(::kesto::LOG_LEVEL_DEBUG, ANDROID_LOG_DEBUG, __VA_ARGS__)
#define KLOG_INFO_ENABLED() ::kesto::LogEnabled(s_logTag, ::kesto::LOG_LEVEL_INFO)
