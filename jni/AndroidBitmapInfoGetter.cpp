#include "jni/AndroidBitmapInfoGetter.h"

#include <android/bitmap.h>

#include <cstdint>

#include "image/PixelFormat.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoABIG");

namespace kesto {

jclass AndroidBitmapInfoGetter::BitmapClass = nullptr;
jmethodID AndroidBitmapInfoGetter::CreateBitmapMethod = nullptr;
jobject AndroidBitmapInfoGetter::ConfigARGB8888 = nullptr;
jobject AndroidBitmapInfoGetter::ConfigRGB565 = nullptr;

namespace {

// Number of the bitmap config in the classic Java numbering, for messages.
int ClassicConfigNumber(int ndkFormat) {
    switch (ndkFormat) {
        case ANDROID_BITMAP_FORMAT_A_8:
            return 2;
        case ANDROID_BITMAP_FORMAT_RGB_565:
            return 4;
        case ANDROID_BITMAP_FORMAT_RGBA_4444:
            return 5;
        case ANDROID_BITMAP_FORMAT_RGBA_8888:
            return 6;
        default:
            return 0;
    }
}

jobject ConfigConstant(JNIEnv* env, const char* name) {
    jclass config = env->FindClass("android/graphics/Bitmap$Config");
    if (config == nullptr) {
        env->ExceptionClear();
        return nullptr;
    }
    jfieldID field = env->GetStaticFieldID(config, name, "Landroid/graphics/Bitmap$Config;");
    jobject value = field != nullptr ? env->GetStaticObjectField(config, field) : nullptr;
    if (value == nullptr) {
        env->ExceptionClear();
        return nullptr;
    }
    return env->NewGlobalRef(value);
}

}  // namespace

bool AndroidBitmapInfoGetter::InitBitmapJNIInfo(JNIEnv* env) {
    if (BitmapClass == nullptr) {
        jclass found = env->FindClass("android/graphics/Bitmap");
        if (found == nullptr) {
            env->ExceptionClear();
            KLOGE("InitBitmapJNIInfo - find Bitmap class NG");
            return false;
        }
        BitmapClass = static_cast<jclass>(env->NewGlobalRef(found));
        KLOGI("InitBitmapJNIInfo - set Bitmap class as global ref.");
    }
    if (CreateBitmapMethod != nullptr && ConfigARGB8888 != nullptr && ConfigRGB565 != nullptr) {
        return true;
    }
    CreateBitmapMethod =
        env->GetStaticMethodID(BitmapClass, "createBitmap",
                               "(IILandroid/graphics/Bitmap$Config;)Landroid/graphics/Bitmap;");
    if (CreateBitmapMethod == nullptr) {
        env->ExceptionClear();
    }
    if (ConfigARGB8888 == nullptr) {
        ConfigARGB8888 = ConfigConstant(env, "ARGB_8888");
    }
    if (ConfigRGB565 == nullptr) {
        ConfigRGB565 = ConfigConstant(env, "RGB_565");
    }
    if (CreateBitmapMethod == nullptr || ConfigARGB8888 == nullptr || ConfigRGB565 == nullptr) {
        KLOGE("BitmapObjectID NG");
        return false;
    }
    return true;
}

bool AndroidBitmapInfoGetter::init(JNIEnv* env, jobject bitmap) {
    if (BitmapClass == nullptr) {
        return false;
    }
    AndroidBitmapInfo info{};
    if (bitmap == nullptr || !env->IsInstanceOf(bitmap, BitmapClass) ||
        AndroidBitmap_getInfo(env, bitmap, &info) != ANDROID_BITMAP_RESULT_SUCCESS ||
        info.width > INT32_MAX || info.height > INT32_MAX || info.stride > INT32_MAX) {
        env->ExceptionClear();
        KLOGE("init() NG - null SkBitmap");
        return false;
    }
    env_ = env;
    bitmap_ = bitmap;
    bound_ = true;
    width_ = static_cast<int>(info.width);
    height_ = static_cast<int>(info.height);
    stride_ = static_cast<int>(info.stride);
    format_ = info.format;
    return true;
}

int AndroidBitmapInfoGetter::getPixelFormat() {
    if (!bound_) {
        return 0;
    }
    switch (format_) {
        case ANDROID_BITMAP_FORMAT_RGB_565:
            return PIXEL_FORMAT_RGB565;
        case ANDROID_BITMAP_FORMAT_RGBA_8888:
            return PIXEL_FORMAT_RGBA8888;
        default:
            KLOGE("Unsupported SkBitmap config. %d", ClassicConfigNumber(format_));
            return 0;
    }
}

int AndroidBitmapInfoGetter::getWidth() const {
    return bound_ ? width_ : 0;
}

int AndroidBitmapInfoGetter::getHeight() const {
    return bound_ ? height_ : 0;
}

int AndroidBitmapInfoGetter::getScanlineBytes() const {
    return bound_ ? stride_ : 0;
}

int AndroidBitmapInfoGetter::getBufferBytes() const {
    if (!bound_) {
        return 0;
    }
    const int64_t bytes = static_cast<int64_t>(stride_) * height_;
    return bytes <= INT32_MAX ? static_cast<int>(bytes) : 0;
}

unsigned char* AndroidBitmapInfoGetter::lockBuffer() {
    if (!bound_) {
        KLOGE("lockBuffer() NG - null SkBitmap");
        return nullptr;
    }
    void* pixels = nullptr;
    if (AndroidBitmap_lockPixels(env_, bitmap_, &pixels) != ANDROID_BITMAP_RESULT_SUCCESS) {
        env_->ExceptionClear();
        KLOGE("lockBuffer() NG - null buffer");
        return nullptr;
    }
    if (pixels == nullptr) {
        KLOGE("lockBuffer() NG - null buffer");
        AndroidBitmap_unlockPixels(env_, bitmap_);
        return nullptr;
    }
    locked_ = static_cast<unsigned char*>(pixels);
    return locked_;
}

void AndroidBitmapInfoGetter::unlockBuffer(unsigned char* buffer) {
    if (!bound_) {
        return;
    }
    if (buffer != locked_) {
        KLOGE("unlockBuffer NG - buffer not match");
        return;
    }
    if (buffer == nullptr) {
        KLOGE("unlockBuffer NG - null buffer");
        return;
    }
    AndroidBitmap_unlockPixels(env_, bitmap_);
    locked_ = nullptr;
}

}  // namespace kesto
