#include "platform/Clock.h"

#include <time.h>

namespace kesto {

int64_t uptimeMillis() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace kesto
