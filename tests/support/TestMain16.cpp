#include <android/log.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

// Points EGL's default display at the 16-bit X server before anything opens it.
int main(int argc, char** argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    testing::InitGoogleTest(&argc, argv);
    const char* display16 = std::getenv("KESTO_DISPLAY16");
    if (display16 != nullptr && *display16 != '\0') {
        setenv("DISPLAY", display16, 1);
    }
    return RUN_ALL_TESTS();
}
