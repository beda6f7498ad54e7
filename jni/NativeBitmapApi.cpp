// The Native_* functions of com.xol.kesto2.NativeBitmap: plain functions with JNI-shaped
// signatures, registered by JNI_OnLoad when that class is present.
#include <jni.h>

#include <cstdint>
#include <cstring>
#include <new>

#include "image/NativeBitmap.h"
#include "jni/Binding.h"
#include "platform/Log.h"

using namespace kesto;
using namespace kesto::jni;

namespace {

// This class logs at debug priority without the level mask...
void Debug(const char* message) {
    __android_log_print(ANDROID_LOG_DEBUG, "SNATIVEBITMAP", "%s", message);
}

// ...except the copy's refusals: error priority through the mask, without a tag.
LogTag g_untagged{nullptr, {LOG_MASK_UNREAD}};
#define KLOGE_UNTAGGED(...) LogError(g_untagged, __VA_ARGS__)

// Held for the rest of the call: native bitmaps are filled on worker threads without the engine
// lock, and one bitmap in two calls at once is refused.
NativeBitmap* Find(Hold& hold, const char* method, jint handle) {
    NativeBitmap* bitmap = nullptr;
    hold.take(method, handle, &bitmap);
    return bitmap;
}

}  // namespace

extern "C" {

JNIEXPORT jint JNICALL Native_createBitmap(JNIEnv*, jobject) {
    ClearLastError();
    NativeBitmap* bitmap = new (std::nothrow) NativeBitmap();
    if (bitmap == nullptr) {
        Debug("Native_createBitmap NG");
        return 0;
    }
    const jint handle = Register(bitmap, Kind::NATIVE_BITMAP);
    if (handle == 0) {
        Debug("Native_createBitmap NG");
        delete bitmap;
        return 0;
    }
    g_newNBmpCount.fetch_add(1, std::memory_order_relaxed);
    return handle;
}

JNIEXPORT void JNICALL Native_destroyBitmap(JNIEnv*, jobject, jint handle) {
    ClearLastError();
    NativeBitmap* bitmap;
    if (Unregister(__func__, handle, &bitmap)) {
        bitmap->free();
        delete bitmap;
        g_newNBmpCount.fetch_sub(1, std::memory_order_relaxed);
    }
}

JNIEXPORT void JNICALL Native_clearBitmap(JNIEnv*, jobject, jint handle) {
    ClearLastError();
    Hold hold;
    if (NativeBitmap* bitmap = Find(hold, __func__, handle)) {
        bitmap->free();
    }
}

JNIEXPORT void JNICALL Native_swapBitmap(JNIEnv*, jobject, jint a, jint b) {
    ClearLastError();
    Hold hold;
    NativeBitmap* first = Find(hold, __func__, a);
    NativeBitmap* second = first != nullptr ? Find(hold, __func__, b) : nullptr;
    if (second != nullptr) {
        first->swapBitmap(second);
    }
}

JNIEXPORT jboolean JNICALL Native_copyFromBitmap(JNIEnv*, jobject, jint destination, jint source) {
    ClearLastError();
    Hold hold;
    NativeBitmap* to = Find(hold, __func__, destination);
    NativeBitmap* from = to != nullptr ? Find(hold, __func__, source) : nullptr;
    return from != nullptr && to->copyFrom(*from);
}

JNIEXPORT jint JNICALL Native_getBitmapWidth(JNIEnv*, jobject, jint handle) {
    ClearLastError();
    Hold hold;
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    return bitmap != nullptr ? bitmap->width : 0;
}

JNIEXPORT jint JNICALL Native_getBitmapHeight(JNIEnv*, jobject, jint handle) {
    ClearLastError();
    Hold hold;
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    return bitmap != nullptr ? bitmap->height : 0;
}

JNIEXPORT jint JNICALL Native_getBitmapBufferBytes(JNIEnv*, jobject, jint handle) {
    ClearLastError();
    Hold hold;
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    return bitmap != nullptr ? bitmap->bufferBytes : 0;
}

JNIEXPORT jbyteArray JNICALL Native_getBitmapBuffer(JNIEnv* env, jobject, jint handle) {
    ClearLastError();
    Hold hold;
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    if (bitmap == nullptr || bitmap->bufferBytes == 0 || bitmap->buffer == nullptr) {
        return nullptr;
    }
    jbyteArray bytes = env->NewByteArray(bitmap->bufferBytes);
    if (bytes == nullptr) {
        env->ExceptionClear();
        return nullptr;
    }
    env->SetByteArrayRegion(bytes, 0, bitmap->bufferBytes,
                            reinterpret_cast<const jbyte*>(bitmap->buffer));
    return bytes;
}

// The destination is a native address passed as 32 bits; a 64-bit process zero-extends it.
JNIEXPORT jboolean JNICALL Native_copyBitmapBuffer(JNIEnv*, jobject, jint handle, jint destination,
                                                   jint length) {
    ClearLastError();
    Hold hold;
    if (handle == 0) {
        KLOGE_UNTAGGED("[NativeBitmap][Native_getBitmapBuffer] bitmap handle is 0");
        return JNI_FALSE;
    }
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    if (bitmap == nullptr) {
        return JNI_FALSE;
    }
    if (bitmap->buffer == nullptr) {
        KLOGE_UNTAGGED("[NativeBitmap][Native_getBitmapBuffer] sourceBuffer is 0");
        return JNI_FALSE;
    }
    if (length != bitmap->bufferBytes) {
        KLOGE_UNTAGGED(
            "[NativeBitmap][Native_getBitmapBuffer] Request lenth is wrong. BufferLen:%d, "
            "RequestLen:%d",
            bitmap->bufferBytes, length);
        return JNI_FALSE;
    }
    // The one address that is certainly not the caller's memory.
    if (destination == 0) {
        KLOGE_UNTAGGED("[NativeBitmap][Native_getBitmapBuffer] destination is 0");
        return JNI_FALSE;
    }
    void* target =
        reinterpret_cast<void*>(static_cast<uintptr_t>(static_cast<uint32_t>(destination)));
    std::memcpy(target, bitmap->buffer, static_cast<size_t>(bitmap->bufferBytes));
    return JNI_TRUE;
}

// Fills a native bitmap from Java: format, size and pixels laid out with the engine's
// even-rounded rows (the rules of setBitmap).
JNIEXPORT jboolean JNICALL Native_setBitmap(JNIEnv* env, jobject, jint handle, jint pixelFormat,
                                            jint width, jint height, jbyteArray pixels) {
    ClearLastError();
    Hold hold;
    NativeBitmap* bitmap = Find(hold, __func__, handle);
    if (bitmap == nullptr || pixels == nullptr) {
        return JNI_FALSE;
    }
    const jsize length = env->GetArrayLength(pixels);
    jbyte* bytes = env->GetByteArrayElements(pixels, nullptr);
    if (bytes == nullptr) {
        env->ExceptionClear();
        return JNI_FALSE;
    }
    const bool set = bitmap->setBitmap(pixelFormat, width, height,
                                       reinterpret_cast<unsigned char*>(bytes), length);
    env->ReleaseByteArrayElements(pixels, bytes, JNI_ABORT);
    return set;
}

JNIEXPORT jint JNICALL Native_getBitmapCount(JNIEnv*, jobject) {
    ClearLastError();
    return NativeBitmap::BitmapCount.load(std::memory_order_relaxed);
}

JNIEXPORT void JNICALL Native_printResourceLog(JNIEnv*, jobject) {
    ClearLastError();
    __android_log_print(ANDROID_LOG_DEBUG, "SNATIVEBITMAP",
                        "NativeBitmap count:%d size:%d, new count:%d, new array count:%d",
                        NativeBitmap::BitmapCount.load(std::memory_order_relaxed),
                        NativeBitmap::BitmapBytes.load(std::memory_order_relaxed),
                        g_newNBmpCount.load(std::memory_order_relaxed),
                        g_newNBmpArrayCount.load(std::memory_order_relaxed));
}

// Registers the Native_* functions as the static natives of com.xol.kesto2.NativeBitmap, when an
// application ships that class; without it the library loads all the same.
JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void*) {
    JNIEnv* env = nullptr;
    if (vm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_1_6) != JNI_OK) {
        return JNI_ERR;
    }
    jclass type = env->FindClass("com/xol/kesto2/NativeBitmap");
    if (type == nullptr) {
        env->ExceptionClear();
        return JNI_VERSION_1_6;
    }
    static const JNINativeMethod kMethods[] = {
        {const_cast<char*>("Native_createBitmap"), const_cast<char*>("()I"),
         reinterpret_cast<void*>(Native_createBitmap)},
        {const_cast<char*>("Native_destroyBitmap"), const_cast<char*>("(I)V"),
         reinterpret_cast<void*>(Native_destroyBitmap)},
        {const_cast<char*>("Native_clearBitmap"), const_cast<char*>("(I)V"),
         reinterpret_cast<void*>(Native_clearBitmap)},
        {const_cast<char*>("Native_swapBitmap"), const_cast<char*>("(II)V"),
         reinterpret_cast<void*>(Native_swapBitmap)},
        {const_cast<char*>("Native_copyFromBitmap"), const_cast<char*>("(II)Z"),
         reinterpret_cast<void*>(Native_copyFromBitmap)},
        {const_cast<char*>("Native_getBitmapWidth"), const_cast<char*>("(I)I"),
         reinterpret_cast<void*>(Native_getBitmapWidth)},
        {const_cast<char*>("Native_getBitmapHeight"), const_cast<char*>("(I)I"),
         reinterpret_cast<void*>(Native_getBitmapHeight)},
        {const_cast<char*>("Native_getBitmapBufferBytes"), const_cast<char*>("(I)I"),
         reinterpret_cast<void*>(Native_getBitmapBufferBytes)},
        {const_cast<char*>("Native_getBitmapBuffer"), const_cast<char*>("(I)[B"),
         reinterpret_cast<void*>(Native_getBitmapBuffer)},
        {const_cast<char*>("Native_copyBitmapBuffer"), const_cast<char*>("(III)Z"),
         reinterpret_cast<void*>(Native_copyBitmapBuffer)},
        {const_cast<char*>("Native_setBitmap"), const_cast<char*>("(IIII[B)Z"),
         reinterpret_cast<void*>(Native_setBitmap)},
        {const_cast<char*>("Native_getBitmapCount"), const_cast<char*>("()I"),
         reinterpret_cast<void*>(Native_getBitmapCount)},
        {const_cast<char*>("Native_printResourceLog"), const_cast<char*>("()V"),
         reinterpret_cast<void*>(Native_printResourceLog)},
    };
    if (env->RegisterNatives(type, kMethods, sizeof kMethods / sizeof kMethods[0]) != JNI_OK) {
        env->ExceptionClear();
    }
    env->DeleteLocalRef(type);
    return JNI_VERSION_1_6;
}

}  // extern "C"
