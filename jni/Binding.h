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

// Every native that touches scenes, windows, GL or an environment runs under this one lock, so a
// call from the UI thread while the render thread draws waits for the frame instead of tearing
// the tree. Threads get it in the order they asked: a thread that releases it and asks again at
// once (a render loop) queues behind the waiting ones, which so wait at most for one call.
// Recursive: some natives call others, and an update (BeginUpdate ... EndUpdate) holds it across
// calls, so that a frame on another thread sees all of the update or none of it.
class EngineLock {
  public:
    EngineLock(EngineLock&& other) noexcept : owned_(other.owned_) { other.owned_ = false; }
    EngineLock(const EngineLock&) = delete;
    EngineLock& operator=(const EngineLock&) = delete;
    ~EngineLock();
    // False when the wait gave up (see LockEngine).
    bool owns() const { return owned_; }

  private:
    friend EngineLock LockEngine(int giveUpMillis);
    explicit EngineLock(bool owned) : owned_(owned) {}
    bool owned_;
};

// Takes the engine lock; it also clears the thread's last error, as it starts every locked entry
// point. A wait behind an update left open for seconds logs why; with `giveUpMillis` >= 0 it then
// gives up after that long (owns() false), so a render thread is never stuck behind a forgotten
// EndUpdate.
EngineLock LockEngine(int giveUpMillis = -1);
// An update holds the lock from BeginUpdate to the matching EndUpdate on the same thread.
void BeginUpdate();
// Ends this thread's innermost update; false, with a line, when it has none open. The caller holds
// the lock.
bool EndUpdate(const char* method);

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

// `owner`: the handle of the environment the object belongs to (it goes with it), or 0.
template <class T>
jint Register(T* object, Kind kind, bool embedded = false, jint owner = 0) {
    return Handles().add(static_cast<typename HandleType<T>::Stored*>(object), kind, embedded,
                         owner);
}

// Resolves a handle for destruction and releases it: an embedded object is refused (its owner
// releases it), as are bad handles. Waits while a producer thread is working on the object. True
// when the caller should now delete *out.
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
    uint32_t token;
    if (Handles().hold(handle, true, &token) != HandleTable::Status::FOUND) {
        // Destroyed by another thread meanwhile.
        ReportBadHandle(method, handle, HandleTable::Status::UNKNOWN, kind,
                        &HandleType<T>::Accepts);
        *out = nullptr;
        return false;
    }
    Handles().remove(handle);
    Handles().release(token);
    return true;
}

// Exclusive use of bitmaps and textures for the length of one call. Producer threads fill them
// without the engine lock, so two calls never work on one at once: a call that meets a busy
// object is refused with a line, unless it asks to wait (resets, which producers only delay).
class Hold {
  public:
    Hold() = default;
    ~Hold() {
        for (int i = 0; i < count_; ++i) {
            Handles().release(tokens_[i]);
        }
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    // Resolve, then hold: false, with a line, for a bad handle or a busy object.
    template <class T>
    bool take(const char* method, jint handle, T** out, bool wait = false) {
        if (!Resolve(method, handle, out)) {
            return false;
        }
        for (int i = 0; i < count_; ++i) {
            if (handles_[i] == handle) {
                return true;
            }
        }
        uint32_t token;
        const HandleTable::Status status = Handles().hold(handle, wait, &token);
        if (status != HandleTable::Status::FOUND || count_ == kMaximum) {
            if (status == HandleTable::Status::FOUND) {
                Handles().release(token);
            }
            ReportBusy(method, handle, status);
            *out = nullptr;
            return false;
        }
        tokens_[count_] = token;
        handles_[count_++] = handle;
        return true;
    }

  private:
    static void ReportBusy(const char* method, jint handle, HandleTable::Status status);
    static constexpr int kMaximum = 3;
    uint32_t tokens_[kMaximum] = {};
    jint handles_[kMaximum] = {};
    int count_ = 0;
};

// Java colour and alpha ints: only the low 8 bits count (256 is 0, -1 is 255).
inline unsigned char LowByte(jint value) {
    return static_cast<unsigned char>(value & 255);
}
inline bool IsTrue(jboolean value) {
    return value != JNI_FALSE;
}

}  // namespace kesto::jni
