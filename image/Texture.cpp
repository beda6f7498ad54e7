#include "image/Texture.h"

#include <GLES2/gl2ext.h>

#include "core/Accounting.h"
#include "gl/Environment.h"
#include "platform/Log.h"

KESTO_LOG_TAG("KestoTexture");

namespace kesto {

std::atomic<int32_t>& Texture::GLTexturesCount = g_glTextureCount;
std::atomic<int32_t>& Texture::GLTexturesBytes = g_glTextureBytes;

namespace {

// Packed sizes keep 16 bits a dimension.
constexpr int kMaximumDimension = 0xFFFF;

bool GlFormatOf(int pixelFormat, GLenum* format, GLenum* type) {
    switch (pixelFormat) {
        case PIXEL_FORMAT_RGB565:
            *format = GL_RGB;
            *type = GL_UNSIGNED_SHORT_5_6_5;
            return true;
        case PIXEL_FORMAT_RGBA5551:
            *format = GL_RGBA;
            *type = GL_UNSIGNED_SHORT_5_5_5_1;
            return true;
        case PIXEL_FORMAT_RGB888:
            *format = GL_RGB;
            *type = GL_UNSIGNED_BYTE;
            return true;
        case PIXEL_FORMAT_RGBA8888:
            *format = GL_RGBA;
            *type = GL_UNSIGNED_BYTE;
            return true;
        default:
            return false;
    }
}

void SetFilterAndClamp(GLenum target, GLint filter) {
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

// GL leaves a new texture's contents undefined, and on phones they show whatever the memory held.
// A format the framebuffer cannot take (RGB888 without its extension) stays as GL made it.
void ClearToTransparent(GLuint texture) {
    GLint previousFramebuffer = 0;
    GLfloat previousClear[4] = {};
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &previousFramebuffer);
    glGetFloatv(GL_COLOR_CLEAR_VALUE, previousClear);
    const GLboolean scissor = glIsEnabled(GL_SCISSOR_TEST);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        glDisable(GL_SCISSOR_TEST);
        glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previousFramebuffer));
    glDeleteFramebuffers(1, &framebuffer);
    glClearColor(previousClear[0], previousClear[1], previousClear[2], previousClear[3]);
    if (scissor) {
        glEnable(GL_SCISSOR_TEST);
    }
}

bool FitsPackedSize(int width, int height) {
    return width <= kMaximumDimension && height <= kMaximumDimension;
}

// The packed size slots hold 16 bits a side.
bool PackableSize(const char* what, int width, int height) {
    if (FitsPackedSize(width, height)) {
        return true;
    }
    KLOGE("%s NG - size %dx%d beyond the packed limit %d", what, width, height, kMaximumDimension);
    return false;
}

// Phones stop at 2048 or 4096 texels; GL would refuse the upload without a word and the sprite
// would draw black.
bool FitsContext(int width, int height) {
    GLint limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    if (limit > 0 && (width > limit || height > limit)) {
        KLOGE("texture %dx%d NG - larger than the context's GL_MAX_TEXTURE_SIZE %d", width, height,
              limit);
        return false;
    }
    return true;
}

// GL reads the bitmap's rows at the unpack alignment the upload sets; a bitmap whose recorded row
// length or buffer is shorter than that would be read past its end.
bool FitsBuffer(int width, int height, int format, int scanlineBytes, int bufferBytes) {
    const int64_t pixelBytes = static_cast<int64_t>(width) * BytesPerPixel(format);
    const int64_t alignment = scanlineBytes % 4 != 0 ? 2 : 4;
    const int64_t rowBytes = (pixelBytes + alignment - 1) / alignment * alignment;
    const int64_t reads = height > 0 ? (height - 1) * rowBytes + pixelBytes : 0;
    if (reads <= bufferBytes) {
        return true;
    }
    KLOGE("texture upload NG - a %dx%d bitmap is read as %lld bytes, its buffer holds %d", width,
          height, static_cast<long long>(reads), bufferBytes);
    return false;
}

// Without a current context GL calls do nothing: a name would be counted that was never made, and
// the one it replaces would stay in its context uncounted. A caller on the wrong thread is refused
// before anything is touched. So is one whose context was lost under it (still current here until
// the engine replaces it): a name made there would outlive the context unnoticed.
Context* GlContextCurrent(const char* caller) {
    if (Context* current = Context::Current()) {
        return current;
    }
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) {
        KLOGE("%s NG - no GL context is current on this thread", caller);
    } else {
        KLOGE("%s NG - the GL context current on this thread is not the engine's, or was lost",
              caller);
    }
    return nullptr;
}

// Holds the context found for one GL operation, so that the steps inside it (deleting the old
// name, counting the new one) need not ask EGL again.
class ContextScope {
  public:
    ContextScope(Context** slot, Context* current) : slot_(slot), saved_(*slot) { *slot = current; }
    ~ContextScope() { *slot_ = saved_; }
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

  private:
    Context** slot_;
    Context* saved_;
};

}  // namespace

Texture::Texture(Environment* env) : environment(env) {
    if (environment != nullptr) {
        CountUp(environment->textureCount);
    }
}

Texture::~Texture() {
    unlinkAll();
    deinit();
    glContext_ = nullptr;
    if (environment != nullptr) {
        CountDown(environment->textureCount);
    }
}

bool Texture::init() {
    if (inputBitmapsQueue.init()) {
        return true;
    }
    KLOGE("input bitmaps queue init NG");
    deinit();
    return false;
}

void Texture::deinit() {
    destroyRenderTexture();
    inputBitmapsQueue.deinit();
    inputBitmapInRenderThread.free();
    inputBitmapInRenderThreadValid = false;
    inputNativeBitmap.free();
    inputNativeBitmapValid = false;
    DeleteObject(textureTransform);
    textureTransform = nullptr;
}

void Texture::adoptName(int32_t bytes) {
    GLTexturesCount.fetch_add(1, std::memory_order_relaxed);
    GLTexturesBytes.fetch_add(bytes, std::memory_order_relaxed);
    Context* context = current_ != nullptr ? current_ : Context::Current();
    glContext_ = context != nullptr ? &context->glObjects : nullptr;
    pictureLost_ = false;
    pictureChanged();
}

void Texture::contextGoing() {
    pictureLost_ = pictureLost_ || renderTextureHandle != 0;
    destroyRenderTexture();
    // The name of an external texture is the app's to attach again; until then it draws as any
    // texture without a picture.
    isOESTexture = false;
}

void Texture::recordSize(int width, int height) {
    const int32_t packed =
        static_cast<int32_t>((static_cast<uint32_t>(width) << 16) | (height & 0xFFFF));
    info[INFO_RESERVED] = 0;
    info[INFO_TEXTURE_SIZE] = packed;
    info[INFO_CONTENT_SIZE] = packed;
}

bool Texture::setupByBitmap(Bitmap* bitmap, bool swap) {
    if (bitmap == nullptr || !PackableSize("setupByBitmap", bitmap->width, bitmap->height)) {
        return false;
    }
    if (inputBitmapsQueue.items == nullptr) {
        KLOGE("setupByBitmap NG - the texture's queue is not set up");
        return false;
    }
    auto* item = inputBitmapsQueue.pushBegin();
    if (item == nullptr) {
        ThreadEventQueueLog("push begin when full");
        KLOGE("input bitmap queue full");
        return false;
    }
    if (swap) {
        item->value.swapBitmap(bitmap);
    } else {
        item->value.copyFrom(*bitmap);
    }
    // The size goes in before the item is published: the render thread may take the item the
    // moment pushEnd releases it and uploads with the recorded size.
    recordSize(item->value.width, item->value.height);
    inputBitmapsQueue.pushEnd(item);
    NoteSceneChange();
    return true;
}

bool Texture::setupByBitmap_InRenderThread(Bitmap* bitmap, bool swap) {
    if (bitmap == nullptr ||
        !PackableSize("setupByBitmap_InRenderThread", bitmap->width, bitmap->height)) {
        return false;
    }
    if (swap) {
        inputBitmapInRenderThread.swapBitmap(bitmap);
    } else {
        inputBitmapInRenderThread.copyFrom(*bitmap);
    }
    recordSize(inputBitmapInRenderThread.width, inputBitmapInRenderThread.height);
    inputBitmapInRenderThreadValid = true;
    NoteSceneChange();
    return true;
}

bool Texture::setupByNativeBitmap(NativeBitmap* bitmap, bool swap) {
    if (bitmap == nullptr || !PackableSize("setupByNativeBitmap", bitmap->width, bitmap->height)) {
        return false;
    }
    if (swap) {
        inputNativeBitmap.swapBitmap(bitmap);
    } else {
        inputNativeBitmap.copyFrom(*bitmap);
    }
    recordSize(inputNativeBitmap.width, inputNativeBitmap.height);
    inputNativeBitmapValid = true;
    NoteSceneChange();
    return true;
}

bool Texture::setupByRawBufferAndRealize(const Bitmap::BitmapInfo& bitmapInfo) {
    if (!Bitmap::IsBitmapInfoValid(bitmapInfo) ||
        !FitsPackedSize(bitmapInfo.width, bitmapInfo.height)) {
        KLOGE("setupByRawBufferAndRealize NG - bitmapInfo invalid %d,%d %08X %d %d %p",
              bitmapInfo.width, bitmapInfo.height, bitmapInfo.pixelFormat, bitmapInfo.scanlineBytes,
              bitmapInfo.bufferBytes, bitmapInfo.buffer);
        return false;
    }
    if (inputBitmapInRenderThreadValid) {
        KLOGE("setupByRawBufferAndRealize NG - inputBitmapInRenderThreadValid");
        return false;
    }
    if (inputNativeBitmapValid) {
        KLOGE("setupByRawBufferAndRealize NG - inputNativeBitmapValid");
        return false;
    }
    Context* current = GlContextCurrent("setupByRawBufferAndRealize");
    if (current == nullptr) {
        return false;
    }
    const ContextScope scope(&current_, current);
    recordSize(bitmapInfo.width, bitmapInfo.height);
    const bool realized =
        createRenderTextureImpl(bitmapInfo.width, bitmapInfo.height, bitmapInfo.width,
                                bitmapInfo.height, bitmapInfo.pixelFormat, bitmapInfo.scanlineBytes,
                                bitmapInfo.bufferBytes, bitmapInfo.buffer);
    if (!realized) {
        KLOGE("setupByRawBufferAndRealize NG - createRenderTextureImpl");
    }
    return realized;
}

bool Texture::uploadPending() const {
    return inputBitmapsQueue.hasItem() || inputBitmapInRenderThreadValid || inputNativeBitmapValid;
}

GLuint Texture::realize(bool upload) {
    if (upload) {
        createRenderTexture();
    }
    if (filterPending_ && renderTextureHandle != 0) {
        glBindTexture(GL_TEXTURE_2D, renderTextureHandle);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    }
    filterPending_ = false;
    return renderTextureHandle;
}

void Texture::setFilter(GLint minMagFilter) {
    filterPending_ = filter != minMagFilter && !isOESTexture;
    filter = minMagFilter;
    if (filterPending_) {
        pictureChanged();
    }
}

DrawItem::TextureKind Texture::drawKind() const {
    using Kind = DrawItem::TextureKind;
    if (isOESTexture) {
        return Kind::External;
    }
    return pixelFormat == PIXEL_FORMAT_RGB565     ? Kind::Rgb565
           : pixelFormat == PIXEL_FORMAT_RGBA5551 ? Kind::Rgba5551
                                                  : Kind::Other;
}

bool Texture::createRenderTexture() {
    if (!uploadPending()) {
        return false;
    }
    Context* current = GlContextCurrent("createRenderTexture");
    if (current == nullptr) {
        return false;
    }
    const ContextScope scope(&current_, current);
    // Drain the ring: only the newest queued bitmap survives.
    Bitmap queued;
    while (auto* item = inputBitmapsQueue.popBegin()) {
        queued.swapBitmap(&item->value);
        item->value.free();
        inputBitmapsQueue.popEnd(item);
    }
    if (inputBitmapInRenderThreadValid) {
        queued.swapBitmap(&inputBitmapInRenderThread);
        inputBitmapInRenderThread.free();
        inputBitmapInRenderThreadValid = false;
    }
    NativeBitmap native;
    const bool useNative = inputNativeBitmapValid;
    if (useNative) {
        native.swapBitmap(&inputNativeBitmap);
        inputNativeBitmap.free();
        inputNativeBitmapValid = false;
    }
    destroyRenderTexture();
    const BitmapInfo source = useNative ? native.getBitmapInfo() : queued.getBitmapInfo();
    if (source.pixelFormat == 0) {
        return true;
    }
    // The recorded size is the texture's, as the caller may have set it (a power of two, or
    // smaller than the bitmap: GL then refuses the sub-image and the texture has no contents).
    const bool realized = createRenderTextureImpl(
        textureWidth(), textureHeight(), source.width, source.height, source.pixelFormat,
        source.scanlineBytes, source.bufferBytes, source.buffer);
    if (!realized) {
        KLOGE("createRenderTexture NG");
    }
    return realized;
}

bool Texture::createRenderTextureImpl(int textureWidth, int textureHeight, int bitmapWidth,
                                      int bitmapHeight, int format, int scanlineBytes,
                                      int bufferBytes, unsigned char* pixels) {
    destroyRenderTexture();
    if (!FitsContext(textureWidth, textureHeight) ||
        !FitsBuffer(bitmapWidth, bitmapHeight, format, scanlineBytes, bufferBytes)) {
        return false;
    }
    glGenTextures(1, &renderTextureHandle);
    glBindTexture(GL_TEXTURE_2D, renderTextureHandle);
    SetFilterAndClamp(GL_TEXTURE_2D, filter);
    filterPending_ = false;
    glPixelStorei(GL_UNPACK_ALIGNMENT, scanlineBytes % 4 != 0 ? 2 : 4);
    GLenum glFormat, glType;
    if (!GlFormatOf(format, &glFormat, &glType)) {
        KLOGE("Unsupported pixel format %08X", format);
        destroyRenderTexture();
        return false;
    }
    if (textureWidth == bitmapWidth && textureHeight == bitmapHeight) {
        glTexImage2D(GL_TEXTURE_2D, 0, glFormat, textureWidth, textureHeight, 0, glFormat, glType,
                     pixels);
    } else {
        glTexImage2D(GL_TEXTURE_2D, 0, glFormat, textureWidth, textureHeight, 0, glFormat, glType,
                     nullptr);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, bitmapWidth, bitmapHeight, glFormat, glType,
                        pixels);
    }
    pixelFormat = format;
    textureBytes = bufferBytes;
    adoptName(bufferBytes);
    return true;
}

void Texture::destroyRenderTexture() {
    // Failure paths that generated a name without counting it come through here too, so the
    // count can drop below what was added. The statistics have always shown it this way.
    if (renderTextureHandle != 0) {
        // In another context, or the one that replaced a lost one, the name may be another
        // texture; the texture's own context deletes it when it goes.
        if (glContext_ == nullptr || (current_ != nullptr ? current_ == glContext_->context
                                                          : glContext_->context->isCurrent())) {
            glDeleteTextures(1, &renderTextureHandle);
        }
        glContext_ = nullptr;
        renderTextureHandle = 0;
        pictureChanged();
        GLTexturesCount.fetch_sub(1, std::memory_order_relaxed);
        GLTexturesBytes.fetch_sub(textureBytes, std::memory_order_relaxed);
        textureBytes = 0;
    }
    pixelFormat = 0;
}

bool Texture::realizeBlankTexture(int format, int width, int height) {
    Context* current = GlContextCurrent("realizeBlankTexture");
    if (current == nullptr) {
        return false;
    }
    const ContextScope scope(&current_, current);
    deinit();
    if (!init()) {
        KLOGE("realizeBlankTexture init NG");
        return false;
    }
    // Sizes beyond the packed limit are named as such below.
    if (FitsPackedSize(width, height) && !FitsContext(width, height)) {
        return false;
    }
    glGenTextures(1, &renderTextureHandle);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("realizeBlankTexture NG %08X line:%d", error, 336);
        destroyRenderTexture();
        return false;
    }
    glBindTexture(GL_TEXTURE_2D, renderTextureHandle);
    SetFilterAndClamp(GL_TEXTURE_2D, filter);
    filterPending_ = false;
    glPixelStorei(GL_UNPACK_ALIGNMENT, BytesPerPixel(format) == 4 ? 4 : 2);
    GLenum glFormat, glType;
    const int32_t bytes = BufferBytes(format, width, height);
    if (!GlFormatOf(format, &glFormat, &glType)) {
        KLOGE("Unsupported pixel format %08X", format);
        destroyRenderTexture();
        return false;
    }
    if (bytes < 0 || !FitsPackedSize(width, height)) {
        KLOGE("realizeBlankTexture NG - size %dx%d beyond %d a side, or its byte count overflows",
              width, height, kMaximumDimension);
        destroyRenderTexture();
        return false;
    }
    glTexImage2D(GL_TEXTURE_2D, 0, glFormat, width, height, 0, glFormat, glType, nullptr);
    error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("realizeBlankTexture NG %08X line:%d", error, 401);
        destroyRenderTexture();
        return false;
    }
    ClearToTransparent(renderTextureHandle);
    recordSize(width, height);
    pixelFormat = format;
    textureBytes = bytes;
    adoptName(bytes);
    return true;
}

bool Texture::realizeSubTexture(int x, int y, const Bitmap::BitmapInfo& bitmapInfo) {
    Context* current = GlContextCurrent("realizeSubTexture");
    if (current == nullptr) {
        return false;
    }
    const ContextScope scope(&current_, current);
    if (renderTextureHandle == 0 || bitmapInfo.buffer == nullptr || x < 0 || y < 0 ||
        bitmapInfo.width <= 0 || bitmapInfo.height <= 0) {
        KLOGE(
            "realizeSubTexture - parameter NG, renderTextureHandle:%d bitmap:%p des(%d %d) "
            "bitmap size(%d %d)",
            renderTextureHandle, bitmapInfo.buffer, x, y, bitmapInfo.width, bitmapInfo.height);
        return false;
    }
    if (bitmapInfo.pixelFormat != pixelFormat) {
        KLOGE("realizeSubTexture pixelFormat NG, texture:%X bitmat:%X", pixelFormat,
              bitmapInfo.pixelFormat);
        return false;
    }
    const int width = textureWidth();
    const int height = textureHeight();
    if (width - x < bitmapInfo.width || height - y < bitmapInfo.height) {
        KLOGE(
            "realizeSubTexture texture size is smaller than bitmap NG, texture(%d %d) dest(%d "
            "%d) bitmap(%d %d)",
            width, height, x, y, bitmapInfo.width, bitmapInfo.height);
        return false;
    }
    glBindTexture(GL_TEXTURE_2D, renderTextureHandle);
    glPixelStorei(GL_UNPACK_ALIGNMENT, bitmapInfo.scanlineBytes % 4 != 0 ? 2 : 4);
    GLenum glFormat, glType;
    if (bitmapInfo.pixelFormat == PIXEL_FORMAT_RGB888 ||
        !GlFormatOf(bitmapInfo.pixelFormat, &glFormat, &glType)) {
        KLOGE("Unsupported pixel format %08X", bitmapInfo.pixelFormat);
        destroyRenderTexture();
        return false;
    }
    glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, bitmapInfo.width, bitmapInfo.height, glFormat, glType,
                    bitmapInfo.buffer);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("realizeSubTexture NG %08X", error);
        destroyRenderTexture();
        return false;
    }
    pictureChanged();
    return true;
}

GLuint Texture::createOESTexture() {
    KLOGI("Kesto2_Texture::createOESTexture++");
    Context* current = GlContextCurrent("createOESTexture");
    if (current == nullptr) {
        return 0;
    }
    const ContextScope scope(&current_, current);
    isOESTexture = true;
    destroyRenderTexture();
    glGenTextures(1, &renderTextureHandle);
    glBindTexture(GL_TEXTURE_EXTERNAL_OES, renderTextureHandle);
    SetFilterAndClamp(GL_TEXTURE_EXTERNAL_OES, GL_NEAREST);
    adoptName(0);
    KLOGI("Kesto2_Texture::createOESTexture--");
    return renderTextureHandle;
}

void Texture::setTextureTransform(float m0, float m1, float m2, float m3, float m4, float m5,
                                  float m6, float m7, float m8, float m9, float m10, float m11,
                                  float m12, float m13, float m14, float m15) {
    if (textureTransform == nullptr) {
        textureTransform = NewObject<TextureTransform>();
        if (textureTransform == nullptr) {
            return;
        }
    }
    textureTransform->m[0] = m0;
    textureTransform->m[1] = m1;
    textureTransform->m[2] = m2;
    textureTransform->m[3] = m3;
    textureTransform->m[4] = m4;
    textureTransform->m[5] = m5;
    textureTransform->m[6] = m6;
    textureTransform->m[7] = m7;
    textureTransform->m[8] = m8;
    textureTransform->m[9] = m9;
    textureTransform->m[10] = m10;
    textureTransform->m[11] = m11;
    textureTransform->m[12] = m12;
    textureTransform->m[13] = m13;
    textureTransform->m[14] = m14;
    textureTransform->m[15] = m15;
    pictureChanged();
}

int Texture::CalculateHigherOrEqualPowerOfTwoDimension(int n) {
    if (n > 0) {
        for (int p = 1; p <= 16384; p <<= 1) {
            if (p >= n) {
                return p;
            }
        }
    }
    KLOGE("CalculateHigherOrEqualPowerOfTwoDimension NG %d", n);
    return n > 0 ? n : 0;
}

}  // namespace kesto
