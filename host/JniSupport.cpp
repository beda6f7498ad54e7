#include "host/JniSupport.h"

#include <atomic>
#include <cstring>

namespace kesto::host {

namespace {

// java.lang.Class is never unloaded, so its method id stays valid for the process.
std::atomic<jmethodID> g_classGetName{nullptr};

jmethodID ClassGetName(JNIEnv* env) {
    jmethodID method = g_classGetName.load(std::memory_order_acquire);
    if (method != nullptr) {
        return method;
    }
    jclass classClass = env->FindClass("java/lang/Class");
    if (classClass == nullptr) {
        return nullptr;
    }
    method = env->GetMethodID(classClass, "getName", "()Ljava/lang/String;");
    env->DeleteLocalRef(classClass);
    if (method != nullptr) {
        g_classGetName.store(method, std::memory_order_release);
    }
    return method;
}

// 1 when the class is called `dottedName`, 0 when not, -1 on an exception (left pending).
int HasName(JNIEnv* env, jclass cls, jmethodID getName, const char* dottedName) {
    auto name = static_cast<jstring>(env->CallObjectMethod(cls, getName));
    if (env->ExceptionCheck() || name == nullptr) {
        return -1;
    }
    int result = -1;
    const char* chars = env->GetStringUTFChars(name, nullptr);
    if (chars != nullptr) {
        result = std::strcmp(chars, dottedName) == 0 ? 1 : 0;
        env->ReleaseStringUTFChars(name, chars);
    }
    env->DeleteLocalRef(name);
    return result;
}

}  // namespace

bool ClearException(JNIEnv* env) {
    if (!env->ExceptionCheck()) {
        return false;
    }
    env->ExceptionClear();
    return true;
}

ClassLookup FindClassOf(JNIEnv* env, jobject object, const char* dottedName, jclass* found) {
    *found = nullptr;
    jmethodID getName = ClassGetName(env);
    if (getName == nullptr) {
        ClearException(env);
        return ClassLookup::kException;
    }
    jclass cls = env->GetObjectClass(object);
    while (cls != nullptr) {
        const int match = HasName(env, cls, getName, dottedName);
        if (match != 0) {
            if (match < 0) {
                env->DeleteLocalRef(cls);
                ClearException(env);
                return ClassLookup::kException;
            }
            *found = cls;
            return ClassLookup::kFound;
        }
        jclass super = env->GetSuperclass(cls);
        env->DeleteLocalRef(cls);
        cls = super;
    }
    return ClassLookup::kAbsent;
}

}  // namespace kesto::host
