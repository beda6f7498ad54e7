#include <android/log.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
#ifndef __ANDROID__
    // The desktop's liblog drops debug lines by default; the tests read them too.
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
#endif
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
