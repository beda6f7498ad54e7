#include "jni/Binding.h"

#include <string>

#include "platform/Log.h"

KESTO_LOG_TAG("KestoJNI");

namespace kesto::jni {

namespace {

// The first kind a lookup accepts names what the method expected.
const char* ExpectedKind(bool (*accepts)(Kind)) {
    for (int kind = 1; kind <= static_cast<int>(Kind::NATIVE_BITMAP); ++kind) {
        if (accepts(static_cast<Kind>(kind))) {
            return KindName(static_cast<Kind>(kind));
        }
    }
    return "?";
}

}  // namespace

// "Java_com_xol_kesto2_Kesto2_Window_1Render" names the Java method "Window_Render".
std::string JavaMethodName(const char* exported) {
    static const char kPrefix[] = "Java_com_xol_kesto2_Kesto2_";
    std::string name(exported);
    if (name.compare(0, sizeof kPrefix - 1, kPrefix) == 0) {
        name.erase(0, sizeof kPrefix - 1);
    }
    for (size_t at = name.find("_1"); at != std::string::npos; at = name.find("_1", at + 1)) {
        name.erase(at + 1, 1);
    }
    return name;
}

void ReportBadHandle(const char* method, jint handle, HandleTable::Status status, Kind found,
                     bool (*accepts)(Kind)) {
    const std::string name = JavaMethodName(method);
    if (status == HandleTable::Status::WRONG_KIND) {
        KLOGE("%s NG - handle %d is a %s, not a %s", name.c_str(), handle, KindName(found),
              ExpectedKind(accepts));
    } else {
        KLOGE("%s NG - unknown handle %d", name.c_str(), handle);
    }
}

std::unique_lock<std::recursive_mutex> LockEngine() {
    static std::recursive_mutex* engine =
        new std::recursive_mutex();  // lives as long as the process
    ClearLastError();
    return std::unique_lock<std::recursive_mutex>(*engine);
}

void Hold::ReportBusy(const char* method, jint handle, HandleTable::Status status) {
    if (status == HandleTable::Status::BUSY) {
        KLOGE("%s NG - handle %d is in use on another thread", JavaMethodName(method).c_str(),
              handle);
    } else {
        ReportBadHandle(method, handle, HandleTable::Status::UNKNOWN, Kind::NONE, nullptr);
    }
}

void ReportEmbedded(const char* method, jint handle) {
    KLOGE("%s NG - handle %d belongs to its owner and goes with it", JavaMethodName(method).c_str(),
          handle);
}

}  // namespace kesto::jni
