#pragma once

#include <cstdint>

namespace kesto {

// Milliseconds since boot on a clock that never jumps (the one Android's uptime reads).
int64_t uptimeMillis();

}  // namespace kesto
