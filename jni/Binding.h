// Exported name of a native method of com.xol.kesto2.Kesto2.
#define KESTO_NATIVE(returnType, method) \
    extern "C" JNIEXPORT returnType JNICALL Java_com_xol_kesto2_Kesto2_##method

// Helpers shared by the exported native methods: handle resolution with the binding's refusal
// messages, registration of new objects, and the JNI value conversions.
#pragma once

#include <jni.h>

#include "core/Accounting.h"
#include "jni/HandleTable.h"

namespace kesto::jni {

// One error line naming the method and the refused value. `method` may be the exported name
// (__func__); it is reported as the Java method's name.
void ReportBadHandle(const char* method, jint handle, HandleTable::Status status, Kind found,
                     bool (*accepts)(Kind));

// The refusal to destroy an object that belongs to another one.
void ReportEmbedded(const char* method, jint handle);

// Resolves `handle` for `method`: 0 gives false quietly, a stale, unknown or wrong-kind handle
// gives false with one error line; nothing else is touched either way.
template <class T>
bool Resolve(const char* method, jint handle, T** out) {
    void* object;
    Kind kind;
    bool embedded;
    const HandleTable::Status status =
        Handles().find(handle, &HandleType<T>::Accepts, &object, &kind, &embedded);
    if (status != HandleTable::Status::FOUND) {
        *out = nullptr;
        if (status != HandleTable::Status::NONE) {
            ReportBadHandle(method, handle, status, kind, &HandleType<T>::Accepts);
        }
        return false;
    }
    *out = static_cast<T*>(static_cast<typename HandleType<T>::Stored*>(object));
    return true;
}

template <class T>
jint Register(T* object, Kind kind, bool embedded = false) {
    return Handles().add(static_cast<typename HandleType<T>::Stored*>(object), kind, embedded);
}

// Resolves a handle for destruction and releases it: an embedded object is refused (its owner
// releases it), as are bad handles. True when the caller should now delete *out.
template <class T>
bool Unregister(const char* method, jint handle, T** out) {
    if (!Resolve(method, handle, out)) {
        return false;
    }
    void* object;
    Kind kind;
    bool embedded;
    Handles().find(handle, &HandleType<T>::Accepts, &object, &kind, &embedded);
    if (embedded) {
        ReportEmbedded(method, handle);
        *out = nullptr;
        return false;
    }
    Handles().remove(handle);
    return true;
}

// Java colour and alpha ints: only the low 8 bits count (256 is 0, -1 is 255).
inline unsigned char LowByte(jint value) {
    return static_cast<unsigned char>(value & 255);
}
inline bool IsTrue(jboolean value) {
    return value != JNI_FALSE;
}

}  // namespace kesto::jni
