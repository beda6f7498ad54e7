// Lets JVM tests read what the engine logs: liblog writes to the process's stderr, which Java
// cannot redirect, so the capture happens here.
#include <android/log.h>
#include <jni.h>

#include <memory>
#include <string>

#include "tests/support/LogCapture.h"

namespace {

std::unique_ptr<kesto::test::LogCapture> g_capture;

}  // namespace

extern "C" JNIEXPORT void JNICALL Java_com_xol_kesto2_test_NativeLog_start(JNIEnv*, jclass) {
    // liblog drops debug lines by default; the tests read them too.
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    g_capture = std::make_unique<kesto::test::LogCapture>();
}

// The captured lines as "TAG P message", one string each; capturing stops.
extern "C" JNIEXPORT jobjectArray JNICALL Java_com_xol_kesto2_test_NativeLog_stop(JNIEnv* env,
                                                                                  jclass) {
    std::unique_ptr<kesto::test::LogCapture> capture = std::move(g_capture);
    jclass stringClass = env->FindClass("java/lang/String");
    if (capture == nullptr) {
        return env->NewObjectArray(0, stringClass, nullptr);
    }
    const std::vector<kesto::test::LogLine>& lines = capture->lines();
    jobjectArray result =
        env->NewObjectArray(static_cast<jsize>(lines.size()), stringClass, nullptr);
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string text = lines[i].tag + " " + lines[i].priority + " " + lines[i].message;
        jstring value = env->NewStringUTF(text.c_str());
        env->SetObjectArrayElement(result, static_cast<jsize>(i), value);
        env->DeleteLocalRef(value);
    }
    return result;
}
