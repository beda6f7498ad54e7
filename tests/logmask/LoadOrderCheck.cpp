// The engine must use the device's mask initialiser even when the library providing it comes
// after the engine in lookup order, where the dynamic linker would pick the engine's weak default.
#include <atomic>
#include <cstdio>

#include "image/Texture.h"

extern "C" std::atomic<int> g_deviceMaskReads;

int main() {
    kesto::Texture::CalculateHigherOrEqualPowerOfTwoDimension(-1);  // logs one error line
    const int reads = g_deviceMaskReads.load();
    std::printf("device mask initialiser called %d time(s)\n", reads);
    return reads == 1 ? 0 : 1;
}
