#include "platform/Log.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "platform/Mutex.h"

// Default when the device image has no mask initialiser of its own: errors, info and debug on.
extern "C" __attribute__((weak)) void __xollog_init_mask(const char* /*tag*/, int /*level*/,
                                                         unsigned char* mask) {
    *mask = kesto::LOG_LEVEL_ERROR | kesto::LOG_LEVEL_INFO | kesto::LOG_LEVEL_DEBUG;
}

namespace kesto {

namespace {

using InitMask = void (*)(const char*, int, unsigned char*);

bool InThisLibrary(const void* address) {
    static const int kHere = 0;
    Dl_info found{}, here{};
    return dladdr(address, &found) != 0 && dladdr(&kHere, &here) != 0 &&
           found.dli_fbase == here.dli_fbase;
}

// The dynamic linker binds the first definition in lookup order, which is our weak default
// whenever the device's initialiser lives in a library loaded after this one: look past it.
InitMask FindInitMask() {
    void* found = dlsym(RTLD_DEFAULT, "__xollog_init_mask");
    if (found == nullptr || InThisLibrary(found)) {
        void* next = dlsym(RTLD_NEXT, "__xollog_init_mask");
        found = next != nullptr ? next : found;
    }
    return found != nullptr ? reinterpret_cast<InitMask>(found) : &__xollog_init_mask;
}

}  // namespace

namespace {

// As long as the longest line the log takes. The first line of a call names the cause; the last,
// from the outermost step, what failed.
thread_local char t_firstError[1024];
thread_local char t_lastError[1024];
thread_local char t_bothErrors[2 * 1024 + 2];

}  // namespace

void LogErrorV(LogTag& tag, const char* format, va_list args) {
    std::vsnprintf(t_lastError, sizeof t_lastError, format, args);
    if (t_firstError[0] == '\0') {
        std::memcpy(t_firstError, t_lastError, sizeof t_firstError);
    }
    if (LogEnabled(tag, LOG_LEVEL_ERROR)) {
        __android_log_print(ANDROID_LOG_ERROR, tag.name, "%s", t_lastError);
    }
}

void LogError(LogTag& tag, const char* format, ...) {
    va_list args;
    va_start(args, format);
    LogErrorV(tag, format, args);
    va_end(args);
}

const char* LastError() {
    if (std::strcmp(t_firstError, t_lastError) == 0) {
        return t_lastError;
    }
    std::snprintf(t_bothErrors, sizeof t_bothErrors, "%s; %s", t_firstError, t_lastError);
    return t_bothErrors;
}

void ClearLastError() {
    t_firstError[0] = '\0';
    t_lastError[0] = '\0';
}

unsigned char LogReadMask(LogTag& tag) {
    // Producer threads log too; the lock keeps the initialiser to one call per tag.
    static Mutex lock;
    MutexGuard guard(lock);
    unsigned char mask = tag.mask.load(std::memory_order_relaxed);
    if (mask & LOG_MASK_UNREAD) {
        static InitMask initMask = nullptr;  // found once, under the lock
        if (initMask == nullptr) {
            initMask = FindInitMask();
        }
        initMask(tag.name, -1, &mask);
        mask &= static_cast<unsigned char>(~LOG_MASK_UNREAD);
        tag.mask.store(mask, std::memory_order_release);
    }
    return mask;
}

}  // namespace kesto
