// Native methods of com.xol.kesto2.Kesto2 that create and fill textures from engine bitmaps,
// native bitmaps and Java bitmaps, take window snapshots and render into textures.
#include <android/bitmap.h>
#include <jni.h>

#include <GLES2/gl2.h>

#include <cstring>

#include "core/Accounting.h"
#include "draw/Window.h"
#include "gl/Context.h"
#include "gl/Environment.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "jni/AndroidBitmapInfoGetter.h"
#include "jni/Binding.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/NativeWindow.h"

KESTO_LOG_TAG("KestoJNI");

using namespace kesto;
using namespace kesto::jni;

namespace {

int ElapsedSince(int64_t start) {
    return static_cast<int>(uptimeMillis() - start);
}

// A Java bitmap's description; the buffer is filled in once locked.
BitmapInfo DescribeJavaBitmap(AndroidBitmapInfoGetter& getter) {
    return BitmapInfo{getter.getPixelFormat(),   getter.getWidth(), getter.getHeight(),
                      getter.getScanlineBytes(), nullptr,           getter.getBufferBytes()};
}

}  // namespace

KESTO_NATIVE(jboolean, Texture_1SetupByAndroidBitmapAndRealize)
(JNIEnv* env, jclass, jint handle, jobject javaBitmap);

// --- Engine bitmaps ------------------------------------------------------------------------------

KESTO_NATIVE(jboolean, Bitmap_1Set)(JNIEnv* env, jclass type, jint handle, jobject javaBitmap) {
    ClearLastError();  // a lock-free entry point
    // A texture handle plus one: upload the Java bitmap to that texture instead.
    if (handle % 4 == 1) {
        return Java_com_xol_kesto2_Kesto2_Texture_1SetupByAndroidBitmapAndRealize(
            env, type, handle - 1, javaBitmap);
    }
    if (handle == 0 || javaBitmap == nullptr) {
        return JNI_FALSE;
    }
    Bitmap* bitmap;
    Hold hold;
    if (!hold.take(__func__, handle, &bitmap)) {
        return JNI_FALSE;
    }
    AndroidBitmapInfoGetter getter;
    if (!getter.init(env, javaBitmap)) {
        KLOGE("Get android bitmap info NG.");
        return JNI_FALSE;
    }
    BitmapInfo info = DescribeJavaBitmap(getter);
    info.buffer = getter.lockBuffer();
    if (info.buffer == nullptr) {
        KLOGE("Bitmap_Set - lock buffer NG");
        return JNI_FALSE;
    }
    const bool set =
        Bitmap::IsBitmapInfoValid(info) &&
        bitmap->setBitmap(info.pixelFormat, info.width, info.height, info.buffer, info.bufferBytes);
    getter.unlockBuffer(info.buffer);
    if (!set) {
        KLOGE("Bitmap_Set setBitmap NG");
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Bitmap_1SetAndConvert)
(JNIEnv* env, jclass, jint handle, jobject javaBitmap, jint pixelFormat, jint width, jint height,
 jint edges) {
    ClearLastError();  // a lock-free entry point
    Bitmap* bitmap;
    Hold hold;
    if (javaBitmap == nullptr || !hold.take(__func__, handle, &bitmap)) {
        return JNI_FALSE;
    }
    AndroidBitmapInfoGetter getter;
    if (!getter.init(env, javaBitmap)) {
        KLOGE("Bitmap_SetAndConvert - Get android bitmap info NG.");
        return JNI_FALSE;
    }
    BitmapInfo source = DescribeJavaBitmap(getter);
    if (source.pixelFormat == 0) {
        KLOGE("Bitmap_SetAndConvert - Invalid android bitmap pixel format. Image size:%d,%d",
              source.width, source.height);
        return JNI_FALSE;
    }
    if (source.width < 1 || source.height < 1) {
        KLOGE("Bitmap_SetAndConvert - Invalid android bitmap size. %d %d", source.width,
              source.height);
        return JNI_FALSE;
    }
    const int targetWidth = width != 0 ? width : source.width;
    const int targetHeight = height != 0 ? height : source.height;
    const int targetFormat = pixelFormat == 0                       ? source.pixelFormat
                             : pixelFormat == PIXEL_FORMAT_RGBA5551 ? PIXEL_FORMAT_RGB565
                                                                    : pixelFormat;
    Bitmap converted;
    if (!converted.allocateBitmap(targetFormat, targetWidth, targetHeight)) {
        KLOGE("Bitmap_SetAndConvert - Allocate dest bitmap NG.");
        return JNI_FALSE;
    }
    source.buffer = getter.lockBuffer();
    if (source.buffer == nullptr) {
        KLOGE("Bitmap_SetAndConvert - lock buffer NG");
        return JNI_FALSE;
    }
    BitmapInfo target = converted.getBitmapInfo();
    const bool convertedOk = Bitmap::ConvertBitmap(source, &target);
    getter.unlockBuffer(source.buffer);
    // Conversion is not implemented, so this is where the method always ends.
    if (!convertedOk) {
        KLOGE("Bitmap_SetAndConvert ConvertBitmap NG");
        return JNI_FALSE;
    }
    if (pixelFormat == PIXEL_FORMAT_RGBA5551) {
        Bitmap withAlpha;
        if (!withAlpha.allocateBitmap(PIXEL_FORMAT_RGBA5551, targetWidth, targetHeight)) {
            KLOGE("Bitmap_SetAndConvert allocate 5551 bitmap NG");
            return JNI_FALSE;
        }
        BitmapInfo alphaInfo = withAlpha.getBitmapInfo();
        if (!Bitmap::ConvertPixelFormatFromRGB565ToRGBA5551(converted.getBitmapInfo(),
                                                            &alphaInfo)) {
            KLOGE("Bitmap_SetAndConvert convert to 5551 NG");
            return JNI_FALSE;
        }
        converted.swapBitmap(&withAlpha);
    }
    if (edges != 0 && !converted.addTransparentBordersForAntiAliasing(edges)) {
        KLOGE("Bitmap_SetAndConvert add transparent borders NG");
        return JNI_FALSE;
    }
    bitmap->swapBitmap(&converted);
    return JNI_TRUE;
}

// --- Textures ----------------------------------------------------------------------------------

KESTO_NATIVE(jint, CreateTexture)(JNIEnv*, jclass, jint environmentHandle) {
    const auto engine = LockEngine();
    Environment* environment;
    if (!Resolve(__func__, environmentHandle, &environment)) {
        return 0;
    }
    Texture* texture = NewObject<Texture>(environment);
    if (texture == nullptr) {
        KLOGE("new Texture NG");
        return 0;
    }
    if (!texture->init()) {
        KLOGE("Texture init NG");
        DeleteObject(texture);
        return 0;
    }
    const jint handle = Register(texture, Kind::TEXTURE, false, environmentHandle);
    if (handle == 0) {
        DeleteObject(texture);
    }
    return handle;
}

KESTO_NATIVE(void, DestroyTexture)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Texture* texture;
    if (Unregister(__func__, handle, &texture)) {
        DeleteObject(texture);
    }
}

KESTO_NATIVE(jint, Texture_1SetupOESTexture)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    KLOGI("Kesto2_Texture_1SetupOESTexture+");
    Texture* texture;
    return Resolve(__func__, handle, &texture) ? static_cast<jint>(texture->createOESTexture()) : 0;
}

KESTO_NATIVE(jboolean, Texture_1SetOESTextureTransform)
(JNIEnv*, jclass, jint handle, jfloat m0, jfloat m1, jfloat m2, jfloat m3, jfloat m4, jfloat m5,
 jfloat m6, jfloat m7, jfloat m8, jfloat m9, jfloat m10, jfloat m11, jfloat m12, jfloat m13,
 jfloat m14, jfloat m15) {
    const auto engine = LockEngine();
    KLOGI("Kesto2_Texture_1SetOESTextureTransform+");
    Texture* texture;
    if (!Resolve(__func__, handle, &texture)) {
        return JNI_FALSE;
    }
    texture->setTextureTransform(m0, m1, m2, m3, m4, m5, m6, m7, m8, m9, m10, m11, m12, m13, m14,
                                 m15);
    KLOGI("Kesto2_Texture_1SetOESTextureTransform-");
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Texture_1SetupByBitmap)
(JNIEnv*, jclass, jint textureHandle, jint bitmapHandle, jboolean swap) {
    ClearLastError();  // a lock-free entry point
    // Any thread, without the engine lock: the hand-over queue is the synchronisation. Holding
    // both objects keeps a second producer and the texture's destruction or reset out meanwhile.
    Texture* texture;
    Bitmap* bitmap;
    Hold hold;
    return hold.take(__func__, textureHandle, &texture) &&
           hold.take(__func__, bitmapHandle, &bitmap) &&
           texture->setupByBitmap(bitmap, IsTrue(swap));
}

KESTO_NATIVE(jboolean, Texture_1SetupByBitmap_1InRenderThread)
(JNIEnv*, jclass, jint textureHandle, jint bitmapHandle, jboolean swap) {
    const auto engine = LockEngine();
    Texture* texture;
    Bitmap* bitmap;
    Hold hold;
    return Resolve(__func__, textureHandle, &texture) &&
           hold.take(__func__, bitmapHandle, &bitmap) &&
           texture->setupByBitmap_InRenderThread(bitmap, IsTrue(swap));
}

KESTO_NATIVE(jboolean, Texture_1SetupByNativeBitmap)
(JNIEnv*, jclass, jint textureHandle, jint bitmapHandle, jboolean swap) {
    const auto engine = LockEngine();
    Texture* texture;
    NativeBitmap* bitmap;
    Hold hold;
    return Resolve(__func__, textureHandle, &texture) &&
           hold.take(__func__, bitmapHandle, &bitmap) &&
           texture->setupByNativeBitmap(bitmap, IsTrue(swap));
}

KESTO_NATIVE(jboolean, Texture_1SetupByNativeBitmapAndRealize)
(JNIEnv*, jclass, jint textureHandle, jint bitmapHandle) {
    const auto engine = LockEngine();
    Texture* texture;
    NativeBitmap* bitmap;
    Hold hold;
    return Resolve(__func__, textureHandle, &texture) &&
           hold.take(__func__, bitmapHandle, &bitmap) &&
           texture->setupByRawBufferAndRealize(bitmap->getBitmapInfo());
}

KESTO_NATIVE(jboolean, Texture_1SetupByAndroidBitmapAndRealize)
(JNIEnv* env, jclass, jint handle, jobject javaBitmap) {
    const auto engine = LockEngine();
    Texture* texture;
    if (javaBitmap == nullptr || !Resolve(__func__, handle, &texture)) {
        return JNI_FALSE;
    }
    AndroidBitmapInfoGetter getter;
    if (!getter.init(env, javaBitmap)) {
        KLOGE("Texture_SetupByAndroidBitmapAndRealize NG - Get android bitmap info.");
        return JNI_FALSE;
    }
    BitmapInfo info = DescribeJavaBitmap(getter);
    info.buffer = getter.lockBuffer();
    if (info.buffer == nullptr) {
        KLOGE("Texture_SetupByAndroidBitmapAndRealize - lock buffer NG");
        return JNI_FALSE;
    }
    const bool realized =
        Bitmap::IsBitmapInfoValid(info) && texture->setupByRawBufferAndRealize(info);
    getter.unlockBuffer(info.buffer);
    if (!realized) {
        KLOGE("Texture_SetupByAndroidBitmapAndRealize setupByRawBufferAndRealize NG");
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Texture_1Realize)(JNIEnv*, jclass, jint handle) {
    const auto engine = LockEngine();
    Texture* texture;
    return Resolve(__func__, handle, &texture) && texture->createRenderTexture();
}

KESTO_NATIVE(void, Texture_1RecordInfo)(JNIEnv*, jclass, jint handle, jint index, jint value) {
    const auto engine = LockEngine();
    Texture* texture;
    if (!Resolve(__func__, handle, &texture)) {
        return;
    }
    if (static_cast<uint32_t>(index) >= 3) {
        KLOGE("Texture_RecordInfo NG - error index %d/%d", index, 3);
        return;
    }
    texture->info[index] = value;
}

KESTO_NATIVE(jint, Texture_1QueryInfo)(JNIEnv*, jclass, jint handle, jint index) {
    const auto engine = LockEngine();
    Texture* texture;
    if (!Resolve(__func__, handle, &texture)) {
        return 0;
    }
    if (static_cast<uint32_t>(index) >= 3) {
        KLOGE("Texture_QueryInfo NG - error index %d/%d", index, 3);
        return 0;
    }
    return texture->info[index];
}

KESTO_NATIVE(jboolean, Texture_1RealizeBlankTexture)
(JNIEnv*, jclass, jint handle, jint pixelFormat, jint width, jint height) {
    const auto engine = LockEngine();
    Texture* texture = nullptr;
    // The queue is set up anew: a producer queuing into it is waited for.
    Hold hold;
    if (handle != 0 && !hold.take(__func__, handle, &texture, true)) {
        return JNI_FALSE;
    }
    // Sizes the packed size slots cannot hold, or whose byte count overflows, are refused here,
    // before the texture gives up what it has.
    if (texture == nullptr || width < 1 || height < 1 || width > 0xFFFF || height > 0xFFFF ||
        BufferBytes(pixelFormat, width, height) < 0) {
        KLOGE("Texture RealizeBlankTexture NG, texture:%d width:%d height:%d", handle, width,
              height);
        return JNI_FALSE;
    }
    if (!texture->realizeBlankTexture(pixelFormat, width, height)) {
        KLOGE("Texture realizeBlankTexture NG");
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Texture_1RealizeSubTexture)
(JNIEnv* env, jclass, jint handle, jint desX, jint desY, jobject javaBitmap, jint srcX, jint srcY,
 jint srcWidth, jint srcHeight) {
    const auto engine = LockEngine();
    Texture* texture = nullptr;
    if (handle != 0 && !Resolve(__func__, handle, &texture)) {
        return JNI_FALSE;
    }
    if (texture == nullptr || javaBitmap == nullptr || desX < 0 || desY < 0 || srcX < 0 ||
        srcY < 0 || srcWidth < 1 || srcHeight < 1) {
        KLOGE(
            "Texture_RealizeSubTexture - Parameter NG. texture:%d bitmap:%d des(%d %d) src(%d "
            "%d) srcWidth:%d srcHeight:%d",
            handle, javaBitmap != nullptr, desX, desY, srcX, srcY, srcWidth, srcHeight);
        return JNI_FALSE;
    }
    AndroidBitmapInfoGetter getter;
    if (!getter.init(env, javaBitmap)) {
        KLOGE("Texture_RealizeSubTexture - Get android bitmap info NG.");
        return JNI_FALSE;
    }
    const BitmapInfo whole = DescribeJavaBitmap(getter);
    // Subtractions cannot overflow: every value here is non-negative.
    if (srcWidth > whole.width - srcX || srcHeight > whole.height - srcY) {
        KLOGE(
            "Texture_RealizeSubTexture - specified size(%d, %d, %d, %d) is larger than "
            "bitmap(%d, %d)",
            srcX, srcY, srcWidth, srcHeight, whole.width, whole.height);
        return JNI_FALSE;
    }
    const int bytesPerPixel = BytesPerPixel(whole.pixelFormat);
    BitmapInfo part{whole.pixelFormat, srcWidth,
                    srcHeight,         ScanlineBytes(whole.pixelFormat, srcWidth),
                    nullptr,           BufferBytes(whole.pixelFormat, srcWidth, srcHeight)};
    unsigned char* locked = getter.lockBuffer();
    if (locked == nullptr) {
        KLOGE("Texture_RealizeSubTexture - lock buffer NG");
        return JNI_FALSE;
    }
    uint8_t* copy = nullptr;
    if (srcX == 0 && srcWidth == whole.width) {
        // Whole rows: the texture reads straight from the Java bitmap.
        part.buffer = locked + static_cast<size_t>(srcY) * whole.scanlineBytes;
    } else {
        // An unsupported format has no bytes: the empty copy then fails the validity check.
        copy = part.bufferBytes >= 0 ? NewRawArray<uint8_t>(static_cast<size_t>(part.bufferBytes))
                                     : nullptr;
        if (copy == nullptr) {
            KLOGE("Texture_RealizeSubTexture - new bitmap NG");
            getter.unlockBuffer(locked);
            return JNI_FALSE;
        }
        for (int row = 0; row < srcHeight; ++row) {
            std::memcpy(copy + static_cast<size_t>(row) * part.scanlineBytes,
                        locked + static_cast<size_t>(srcY + row) * whole.scanlineBytes +
                            static_cast<size_t>(srcX) * bytesPerPixel,
                        static_cast<size_t>(srcWidth) * bytesPerPixel);
        }
        part.buffer = copy;
    }
    const bool realized =
        Bitmap::IsBitmapInfoValid(part) && texture->realizeSubTexture(desX, desY, part);
    getter.unlockBuffer(locked);
    DeleteArray(copy);
    if (!realized) {
        KLOGE("Texture_RealizeSubTexture realizeSubTexture NG");
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

namespace {

// A Java ARGB colour as one pixel of `format`; false for formats a frame cannot be drawn in.
bool BorderPixel(int format, uint32_t color, uint32_t* pixel) {
    switch (format) {
        case PIXEL_FORMAT_RGB565:
            *pixel = ((color & 0xF80000) >> 8) | ((color & 0xFC00) >> 5) | ((color >> 3) & 0x1F);
            return true;
        case PIXEL_FORMAT_RGBA8888:
            // Bytes in memory R, G, B, A.
            *pixel = ((color >> 16) & 0xFF) | ((color & 0xFF) << 16) | (color & 0xFF00) |
                     (color & 0xFF000000);
            return true;
        case PIXEL_FORMAT_RGBA5551:
            // All or nothing: opaque black when any channel shows, else fully transparent.
            *pixel =
                ((color & 0xF80000) || (color & 0xF800) || (color & 0xF8) || (color & 0xFF000000))
                    ? 1
                    : 0;
            return true;
        default:
            return false;
    }
}

// Fills a strip with one pixel value: the first row pixel by pixel, the rest copies of it.
void FillStrip(Bitmap* strip, uint32_t pixel) {
    const int bytesPerPixel = BytesPerPixel(strip->pixelFormat);
    uint8_t value[4];
    for (int i = 0; i < 4; ++i) {
        value[i] = static_cast<uint8_t>(pixel >> (8 * i));
    }
    for (int x = 0; x < strip->width; ++x) {
        std::memcpy(strip->buffer + x * bytesPerPixel, value, bytesPerPixel);
    }
    for (int row = 1; row < strip->height; ++row) {
        std::memcpy(strip->buffer + row * strip->scanlineBytes, strip->buffer,
                    strip->scanlineBytes);
    }
}

}  // namespace

KESTO_NATIVE(jboolean, Texture_1RealizeBorder)
(JNIEnv*, jclass, jint handle, jint x, jint y, jint width, jint height, jint thickness,
 jint color) {
    const auto engine = LockEngine();
    Texture* texture = nullptr;
    if (handle != 0 && !Resolve(__func__, handle, &texture)) {
        return JNI_FALSE;
    }
    if (texture == nullptr || thickness <= 0 || x < 0 || y < 0 || width <= 0 || height < 1 ||
        thickness > width || thickness > height) {
        KLOGE(
            "Texture_RealizeBorder - parameter NG. texture:%d des:(%d %d) border size:(%d %d) "
            "thickness:%d",
            handle, x, y, width, height, thickness);
        return JNI_FALSE;
    }
    texture->createRenderTexture();
    const int textureWidth = texture->textureWidth();
    const int textureHeight = texture->textureHeight();
    if (width > textureWidth - x || height > textureHeight - y) {
        KLOGE(
            "Texture_RealizeBorder - texture size is smaller than bitmap NG, texture(%d, %d) "
            "dest(%d, %d) bitmap(%d, %d)",
            textureWidth, textureHeight, x, y, width, height);
        return JNI_FALSE;
    }
    const int format = texture->pixelFormat;
    Bitmap topBottom, leftRight;
    if (!topBottom.allocateBitmap(format, width, thickness)) {
        KLOGE("Texture_RealizeBorder - new topBottomBitmap NG");
        return JNI_FALSE;
    }
    // A frame only two thicknesses tall has no sides: that strip is empty and found invalid.
    const int sideHeight = height - 2 * thickness;
    if (sideHeight > 0 && !leftRight.allocateBitmap(format, thickness, sideHeight)) {
        KLOGE("Texture_RealizeBorder - new leftRightBitmap NG");
        return JNI_FALSE;
    }
    const BitmapInfo sides =
        sideHeight > 0
            ? leftRight.getBitmapInfo()
            : BitmapInfo{format,  thickness, sideHeight, ScanlineBytes(format, thickness),
                         nullptr, 0};
    if (!Bitmap::IsBitmapInfoValid(topBottom.getBitmapInfo()) ||
        !Bitmap::IsBitmapInfoValid(sides)) {
        KLOGE("Texture_RealizeBorder - bitmap invalid NG");
        return JNI_FALSE;
    }
    uint32_t pixel;
    if (!BorderPixel(format, static_cast<uint32_t>(color), &pixel)) {
        KLOGE("Texture_RealizeBorder - Invalid pixelFormat");
        return JNI_FALSE;
    }
    FillStrip(&topBottom, pixel);
    FillStrip(&leftRight, pixel);
    const bool drawn =
        texture->realizeSubTexture(x, y, topBottom.getBitmapInfo()) &&
        texture->realizeSubTexture(x, y + height - thickness, topBottom.getBitmapInfo()) &&
        texture->realizeSubTexture(x, y + thickness, leftRight.getBitmapInfo()) &&
        texture->realizeSubTexture(x + width - thickness, y + thickness, leftRight.getBitmapInfo());
    if (!drawn) {
        KLOGE("Texture_RealizeBorder - realizeSubTexture NG");
        return JNI_FALSE;
    }
    return JNI_TRUE;
}

// --- Window snapshots and rendering into textures ----------------------------------------------

KESTO_NATIVE(jobject, Window_1NativeGetSnapshot)
(JNIEnv* env, jclass, jint handle, jint x, jint y, jint width, jint height) {
    const auto engine = LockEngine();
    const int64_t start = uptimeMillis();
    if (handle == 0) {
        KLOGE("Window_GetSnapshot: window is null");
        return nullptr;
    }
    Window* window;
    if (!Resolve(__func__, handle, &window)) {
        return nullptr;
    }
    if (window->context == nullptr) {
        KLOGE("Window_GetSnapshot: context is null");
        return nullptr;
    }
    window->prepareToRead();
    if (x == 0 && y == 0 && width == 0 && height == 0) {
        width = window->width;
        height = window->height;
    } else if (x < 0 || y < 0 || width < 1 || height < 1) {
        KLOGE("Window_GetSnapshot NG: (x, y, width, height) = (%d, %d, %d, %d)", x, y, width,
              height);
        return nullptr;
    }
    if (width > window->width - x || height > window->height - y) {
        KLOGE(
            "Window_GetSnapshot: Rect larger than surface. Rect(x, y, width, height) = (%d, %d, "
            "%d, %d). surface(%d, %d)",
            x, y, width, height, window->width, window->height);
        return nullptr;
    }
    // A window bound with a size larger than its surface has no pixels past the surface's edge:
    // GL would read whatever memory lies there.
    if (window->nativeWindow != nullptr) {
        const int32_t surfaceWidth = ANativeWindow_getWidth(window->nativeWindow);
        const int32_t surfaceHeight = ANativeWindow_getHeight(window->nativeWindow);
        if (surfaceWidth > 0 && surfaceHeight > 0 &&
            (width > surfaceWidth - x || height > surfaceHeight - y)) {
            KLOGE(
                "Window_GetSnapshot NG - Rect(x, y, width, height) = (%d, %d, %d, %d) reaches "
                "beyond the surface's own size (%d, %d)",
                x, y, width, height, surfaceWidth, surfaceHeight);
            return nullptr;
        }
    }
    const Context* context = window->context;
    const bool rgb565 = context->redSize == 5 && context->greenSize == 6 && context->blueSize == 5;
    const bool rgb888 = context->redSize == 8 && context->greenSize == 8 && context->blueSize == 8;
    if (!rgb565 && !rgb888) {
        KLOGE("Window_GetSnapshot: only support RGB565, RGB888, RGBA8888");
        return nullptr;
    }
    // The whole of a window without a surface has no pixels, so no pixel memory either.
    if (width < 1 || height < 1) {
        KLOGE("Window_GetSnapshot: dataptr = null");
        return nullptr;
    }
    const int bytesPerPixel = rgb565 ? 2 : 4;
    const int rowBytes = width * bytesPerPixel;
    // Setting the unpack alignment here is how the engine has always done it; reads follow the
    // pack alignment, so rows are spaced by that (whatever it is) to stay inside the buffer.
    glPixelStorei(GL_UNPACK_ALIGNMENT, rgb565 ? 2 : 4);
    GLint packAlignment = 4;
    glGetIntegerv(GL_PACK_ALIGNMENT, &packAlignment);
    const int readRowBytes = (rowBytes + packAlignment - 1) / packAlignment * packAlignment;
    uint8_t* pixels = NewRawArray<uint8_t>(static_cast<size_t>(readRowBytes) * height);
    if (pixels == nullptr) {
        KLOGE("Window_GetSnapshot: alloc buffer NG");
        return nullptr;
    }
    if (rgb565) {
        glReadPixels(x, y, width, height, GL_RGB, GL_UNSIGNED_SHORT_5_6_5, pixels);
    } else {
        glReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    }
    jobject config =
        rgb565 ? AndroidBitmapInfoGetter::ConfigRGB565 : AndroidBitmapInfoGetter::ConfigARGB8888;
    jobject snapshot = AndroidBitmapInfoGetter::BitmapClass != nullptr
                           ? env->CallStaticObjectMethod(
                                 AndroidBitmapInfoGetter::BitmapClass,
                                 AndroidBitmapInfoGetter::CreateBitmapMethod, width, height, config)
                           : nullptr;
    if (snapshot == nullptr || env->ExceptionCheck()) {
        env->ExceptionClear();
        KLOGE("Window_GetSnapshot GraphicsJNI::createBitmap failed");
        DeleteArray(pixels);
        return nullptr;
    }
    void* target = nullptr;
    if (AndroidBitmap_lockPixels(env, snapshot, &target) != ANDROID_BITMAP_RESULT_SUCCESS ||
        target == nullptr) {
        env->ExceptionClear();
        KLOGE("Window_GetSnapshot: dataptr = null");
        DeleteArray(pixels);
        return nullptr;
    }
    AndroidBitmapInfo targetInfo{};
    AndroidBitmap_getInfo(env, snapshot, &targetInfo);
    // GL reads bottom up; bitmaps hold the top row first.
    for (int row = 0; row < height; ++row) {
        std::memcpy(static_cast<uint8_t*>(target) + static_cast<size_t>(row) * targetInfo.stride,
                    pixels + static_cast<size_t>(height - 1 - row) * readRowBytes, rowBytes);
    }
    AndroidBitmap_unlockPixels(env, snapshot);
    DeleteArray(pixels);
    KLOGI("Window_GetSnapshot time:%d", ElapsedSince(start));
    return snapshot;
}

KESTO_NATIVE(jboolean, Window_1NativeRenderPartialSceneToTexture)
(JNIEnv*, jclass, jint windowHandle, jint textureHandle, jint part, jint x, jint y, jint width,
 jint height, jboolean flag) {
    const auto engine = LockEngine();
    const int64_t start = uptimeMillis();
    if (windowHandle == 0) {
        KLOGE("Window_RenderPartialSceneToTexture: window is null");
        return JNI_FALSE;
    }
    if (textureHandle == 0) {
        KLOGE("Window_RenderPartialSceneToTexture: texture is null");
        return JNI_FALSE;
    }
    Window* window;
    Texture* texture;
    if (!Resolve(__func__, windowHandle, &window) || !Resolve(__func__, textureHandle, &texture)) {
        return JNI_FALSE;
    }
    if (x == 0 && y == 0 && width == 0 && height == 0) {
        width = window->width;
        height = window->height;
    } else if (width < 1 || height < 1) {
        KLOGE("Window_RenderPartialSceneToTexture: rect NG width %d, height %d", width, height);
        return JNI_FALSE;
    }
    if (!window->renderToTexture(texture, part, x, y, width, height, IsTrue(flag))) {
        KLOGE("Window_RenderPartialSceneToTexture: renderToTexture failed");
        return JNI_FALSE;
    }
    KLOGI("Window_RenderPartialSceneToTexture time:%d", ElapsedSince(start));
    return JNI_TRUE;
}

KESTO_NATIVE(jboolean, Window_1NativeRenderOESTextureToTexture)
(JNIEnv*, jclass, jint windowHandle, jint sourceHandle, jint targetHandle, jfloat left, jfloat top,
 jfloat right, jfloat bottom) {
    const auto engine = LockEngine();
    const int64_t start = uptimeMillis();
    const struct {
        jint handle;
        const char* message;
    } required[] = {{windowHandle, "Window_RenderOESTextureToTexture: window is null"},
                    {sourceHandle, "Window_RenderOESTextureToTexture: textureSrc is null"},
                    {targetHandle, "Window_RenderOESTextureToTexture: textureDes is null"}};
    for (const auto& argument : required) {
        if (argument.handle == 0) {
            KLOGE("%s", argument.message);
            return JNI_FALSE;
        }
    }
    Window* window;
    Texture* source;
    Texture* target;
    if (!Resolve(__func__, windowHandle, &window) || !Resolve(__func__, sourceHandle, &source) ||
        !Resolve(__func__, targetHandle, &target)) {
        return JNI_FALSE;
    }
    if (!window->renderOESTextureToTexture(source, target, left, top, right, bottom)) {
        KLOGE("Window_RenderOESTextureToTexture: renderOESTextureToTexture failed");
        return JNI_FALSE;
    }
    KLOGI("Window_RenderOESTextureToTexture time:%d", ElapsedSince(start));
    return JNI_TRUE;
}
