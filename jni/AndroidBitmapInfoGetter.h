// Reads a Java android.graphics.Bitmap in place: its description in the engine's terms and its
// pixels pinned between lockBuffer and unlockBuffer. One lives for one native call.
#pragma once

#include <jni.h>

namespace kesto {

class AndroidBitmapInfoGetter {
  public:
    // Cached once per process: the Bitmap class, Bitmap.createBitmap and the two configs
    // snapshots are made in.
    static jclass BitmapClass;
    static jmethodID CreateBitmapMethod;
    static jobject ConfigARGB8888;
    static jobject ConfigRGB565;

    static bool InitBitmapJNIInfo(JNIEnv* env);

    bool init(JNIEnv* env, jobject bitmap);
    // 0, with a message, for configs other than RGB_565 and ARGB_8888.
    int getPixelFormat();
    int getWidth() const;
    int getHeight() const;
    int getScanlineBytes() const;
    // Row bytes times height; 0 when it would not fit 32 bits.
    int getBufferBytes() const;
    unsigned char* lockBuffer();
    // Only the address lockBuffer returned unlocks.
    void unlockBuffer(unsigned char* buffer);

  private:
    JNIEnv* env_ = nullptr;
    jobject bitmap_ = nullptr;
    bool bound_ = false;
    int width_ = 0;
    int height_ = 0;
    int stride_ = 0;
    int format_ = 0;
    unsigned char* locked_ = nullptr;
};

}  // namespace kesto
