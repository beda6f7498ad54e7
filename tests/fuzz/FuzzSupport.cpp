#include "tests/fuzz/FuzzSupport.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace kesto {
namespace fuzz {

void Fail(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "FUZZ_CHECK failed: %s (%s:%d)\n", condition, file, line);
    std::abort();
}

namespace {

bool LogToStderr() {
    static const bool enabled = std::getenv("KESTO_FUZZ_LOG") != nullptr;
    return enabled;
}

}  // namespace

}  // namespace fuzz
}  // namespace kesto

// The engine logs on almost every refused call; writing each line would slow the fuzzer down by
// orders of magnitude. Every message is still formatted, so that its arguments are read under the
// sanitizers, and goes to stderr when KESTO_FUZZ_LOG is set. These definitions take precedence over
// liblog's for the engine code linked into the fuzzer.
extern "C" int __android_log_vprint(int priority, const char* tag, const char* format,
                                    va_list args) {
    char line[1024];
    const int length = std::vsnprintf(line, sizeof line, format, args);
    if (kesto::fuzz::LogToStderr()) {
        std::fprintf(stderr, "%s %d %s\n", tag, priority, line);
    }
    return length;
}

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = __android_log_vprint(priority, tag, format, args);
    va_end(args);
    return length;
}
