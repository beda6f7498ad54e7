// The NDK's bitmap functions for host android.graphics.Bitmap objects.
//
// They read these private fields of host/java/android/graphics/Bitmap.java: mWidth, mHeight
// (int), mConfig (Bitmap.Config, by ordinal: ALPHA_8, RGB_565, ARGB_4444, ARGB_8888), mBuffer
// (direct java.nio.ByteBuffer with the pixels, null once recycled and unlocked), mRecycled
// (boolean) and mLockCount (int). Lock counts change only under the bitmap's monitor, which
// Bitmap.recycle() also holds.
#include <android/bitmap.h>

#include <atomic>
#include <cstdint>

#include "host/JniSupport.h"

namespace {

using kesto::host::ClassLookup;
using kesto::host::ClearException;

struct ConfigFormat {
    int32_t format;
    uint32_t bytesPerPixel;
};

// Indexed by Bitmap.Config ordinal.
constexpr ConfigFormat kConfigFormats[] = {
    {ANDROID_BITMAP_FORMAT_A_8, 1},
    {ANDROID_BITMAP_FORMAT_RGB_565, 2},
    {ANDROID_BITMAP_FORMAT_RGBA_4444, 2},
    {ANDROID_BITMAP_FORMAT_RGBA_8888, 4},
};

struct BitmapFields {
    jfieldID width;
    jfieldID height;
    jfieldID config;
    jfieldID buffer;
    jfieldID recycled;
    jfieldID lockCount;
};

struct FieldName {
    jfieldID BitmapFields::*member;
    const char* name;
    const char* signature;
};

constexpr FieldName kFieldNames[] = {
    {&BitmapFields::width, "mWidth", "I"},
    {&BitmapFields::height, "mHeight", "I"},
    {&BitmapFields::config, "mConfig", "Landroid/graphics/Bitmap$Config;"},
    {&BitmapFields::buffer, "mBuffer", "Ljava/nio/ByteBuffer;"},
    {&BitmapFields::recycled, "mRecycled", "Z"},
    {&BitmapFields::lockCount, "mLockCount", "I"},
};

// java.lang.Enum is never unloaded, so its method id stays valid for the process.
std::atomic<jmethodID> g_enumOrdinal{nullptr};

jmethodID EnumOrdinal(JNIEnv* env) {
    jmethodID method = g_enumOrdinal.load(std::memory_order_acquire);
    if (method != nullptr) {
        return method;
    }
    jclass enumClass = env->FindClass("java/lang/Enum");
    if (enumClass == nullptr) {
        return nullptr;
    }
    method = env->GetMethodID(enumClass, "ordinal", "()I");
    env->DeleteLocalRef(enumClass);
    if (method != nullptr) {
        g_enumOrdinal.store(method, std::memory_order_release);
    }
    return method;
}

// Checks the arguments and finds the fields; an ANDROID_BITMAP_RESULT_* code. A pending
// exception on entry belongs to the caller and is left alone (no JNI call is allowed then);
// those raised here are cleared.
int Resolve(JNIEnv* env, jobject bitmap, BitmapFields* fields) {
    if (env == nullptr || bitmap == nullptr) {
        return ANDROID_BITMAP_RESULT_BAD_PARAMETER;
    }
    if (env->ExceptionCheck()) {
        return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
    }
    jclass bitmapClass = nullptr;
    switch (kesto::host::FindClassOf(env, bitmap, "android.graphics.Bitmap", &bitmapClass)) {
        case ClassLookup::kFound:
            break;
        case ClassLookup::kAbsent:
            return ANDROID_BITMAP_RESULT_BAD_PARAMETER;
        case ClassLookup::kException:
            return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
    }
    for (const FieldName& field : kFieldNames) {
        fields->*field.member = env->GetFieldID(bitmapClass, field.name, field.signature);
        if (fields->*field.member == nullptr) {
            env->DeleteLocalRef(bitmapClass);
            ClearException(env);
            return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
        }
    }
    env->DeleteLocalRef(bitmapClass);
    return ANDROID_BITMAP_RESULT_SUCCESS;
}

// The bitmap's config as an index into kConfigFormats, or -1 (exception cleared).
int ConfigIndex(JNIEnv* env, jobject bitmap, const BitmapFields& fields) {
    jmethodID ordinal = EnumOrdinal(env);
    if (ordinal == nullptr) {
        ClearException(env);
        return -1;
    }
    jobject config = env->GetObjectField(bitmap, fields.config);
    if (config == nullptr) {
        return -1;
    }
    const jint index = env->CallIntMethod(config, ordinal);
    env->DeleteLocalRef(config);
    if (ClearException(env) || index < 0 ||
        index >= static_cast<jint>(sizeof(kConfigFormats) / sizeof(kConfigFormats[0]))) {
        return -1;
    }
    return index;
}

// Holds the bitmap's monitor for one scope.
class Monitor {
  public:
    Monitor(JNIEnv* env, jobject object) : env_(env), object_(object) {
        entered_ = env->MonitorEnter(object) == JNI_OK;
        if (!entered_) {
            ClearException(env);
        }
    }
    ~Monitor() {
        if (entered_) {
            env_->MonitorExit(object_);
        }
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;
    bool entered() const { return entered_; }

  private:
    JNIEnv* env_;
    jobject object_;
    bool entered_ = false;
};

}  // namespace

extern "C" {

int AndroidBitmap_getInfo(JNIEnv* env, jobject jbitmap, AndroidBitmapInfo* info) {
    if (info == nullptr) {
        return ANDROID_BITMAP_RESULT_BAD_PARAMETER;
    }
    BitmapFields fields;
    const int resolved = Resolve(env, jbitmap, &fields);
    if (resolved != ANDROID_BITMAP_RESULT_SUCCESS) {
        return resolved;
    }
    const int config = ConfigIndex(env, jbitmap, fields);
    if (config < 0) {
        return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
    }
    const jint width = env->GetIntField(jbitmap, fields.width);
    const jint height = env->GetIntField(jbitmap, fields.height);
    if (width <= 0 || height <= 0) {
        return ANDROID_BITMAP_RESULT_BAD_PARAMETER;
    }
    info->width = static_cast<uint32_t>(width);
    info->height = static_cast<uint32_t>(height);
    // Cannot overflow: Bitmap.createBitmap refuses byte counts beyond an int.
    info->stride = static_cast<uint32_t>(width) * kConfigFormats[config].bytesPerPixel;
    info->format = kConfigFormats[config].format;
    info->flags = 0;
    return ANDROID_BITMAP_RESULT_SUCCESS;
}

int AndroidBitmap_lockPixels(JNIEnv* env, jobject jbitmap, void** addrPtr) {
    BitmapFields fields;
    const int resolved = Resolve(env, jbitmap, &fields);
    if (resolved != ANDROID_BITMAP_RESULT_SUCCESS) {
        return resolved;
    }
    Monitor monitor(env, jbitmap);
    if (!monitor.entered()) {
        return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
    }
    if (env->GetBooleanField(jbitmap, fields.recycled)) {
        return ANDROID_BITMAP_RESULT_ALLOCATION_FAILED;
    }
    jobject buffer = env->GetObjectField(jbitmap, fields.buffer);
    void* pixels = buffer != nullptr ? env->GetDirectBufferAddress(buffer) : nullptr;
    if (buffer != nullptr) {
        env->DeleteLocalRef(buffer);
    }
    if (pixels == nullptr) {
        return ANDROID_BITMAP_RESULT_ALLOCATION_FAILED;
    }
    env->SetIntField(jbitmap, fields.lockCount, env->GetIntField(jbitmap, fields.lockCount) + 1);
    if (addrPtr != nullptr) {
        *addrPtr = pixels;
    }
    return ANDROID_BITMAP_RESULT_SUCCESS;
}

int AndroidBitmap_unlockPixels(JNIEnv* env, jobject jbitmap) {
    BitmapFields fields;
    const int resolved = Resolve(env, jbitmap, &fields);
    if (resolved != ANDROID_BITMAP_RESULT_SUCCESS) {
        return resolved;
    }
    Monitor monitor(env, jbitmap);
    if (!monitor.entered()) {
        return ANDROID_BITMAP_RESULT_JNI_EXCEPTION;
    }
    const jint locks = env->GetIntField(jbitmap, fields.lockCount);
    if (locks <= 0) {
        return ANDROID_BITMAP_RESULT_BAD_PARAMETER;
    }
    env->SetIntField(jbitmap, fields.lockCount, locks - 1);
    // recycle() left the memory to the last lock holder.
    if (locks == 1 && env->GetBooleanField(jbitmap, fields.recycled)) {
        env->SetObjectField(jbitmap, fields.buffer, nullptr);
    }
    return ANDROID_BITMAP_RESULT_SUCCESS;
}

}  // extern "C"
