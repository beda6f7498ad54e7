// liblog for the unit suite on the bionic runtime, whose system liblog does nothing: lines go to
// stderr as "TAG P MM-DD hh:mm:ss  pid  tid message", as on the desktop, where the tests read them.
#include <android/log.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace {

char Letter(int priority) {
    static const char kLetters[] = "??VDIWEF";
    return priority >= 0 && priority < 8 ? kLetters[priority] : '?';
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int __android_log_write(int priority, const char* tag,
                                                               const char* text) {
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char stamp[32];
    strftime(stamp, sizeof stamp, "%m-%d %H:%M:%S", &local);
    return std::fprintf(stderr, "%s %c %s %5d %5d %s\n", tag != nullptr ? tag : "",
                        Letter(priority), stamp, static_cast<int>(getpid()),
                        static_cast<int>(syscall(SYS_gettid)), text != nullptr ? text : "");
}

__attribute__((visibility("default"))) int __android_log_vprint(int priority, const char* tag,
                                                                const char* format,
                                                                va_list arguments) {
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    return __android_log_write(priority, tag, text);
}

__attribute__((visibility("default"))) int __android_log_print(int priority, const char* tag,
                                                               const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = __android_log_vprint(priority, tag, format, arguments);
    va_end(arguments);
    return written;
}

}  // extern "C"
