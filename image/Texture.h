// The engine's GL texture. Pixels arrive queued from any thread, handed over on the render thread,
// as a native bitmap, or from a raw buffer uploaded at once; the render thread uploads what is
// pending in createRenderTexture. Also a blank render target, sub-image updates, or an external
// OES texture with a texture-coordinate transform.
#pragma once

#include <GLES2/gl2.h>

#include <atomic>
#include <cstdint>

#include "core/Link.h"
#include "gl/Context.h"
#include "gl/DrawItem.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/ThreadEventQueue.h"

namespace kesto {

class Environment;

// Materials and blur sprites link to textures; a destroyed texture unlinks them.
class Texture final : public LinkTarget, public TextureSource {
  private:
    // The context the GL texture was made in is going, or was lost: the picture goes with it.
    void contextGoing();

  public:
    // Sizes are packed (width << 16) | height.
    enum InfoSlot { INFO_RESERVED = 0, INFO_TEXTURE_SIZE = 1, INFO_CONTENT_SIZE = 2 };

    Environment* environment;
    ThreadEventQueue<Bitmap> inputBitmapsQueue;
    Bitmap inputBitmapInRenderThread;
    bool inputBitmapInRenderThreadValid = false;
    NativeBitmap inputNativeBitmap;
    bool inputNativeBitmapValid = false;
    GLuint renderTextureHandle = 0;
    int32_t pixelFormat = 0;
    int32_t textureBytes = 0;
    // Written by producer threads too.
    std::atomic<int32_t> info[3] = {};
    bool isOESTexture = false;
    // GL_LINEAR or GL_NEAREST, for magnifying and minifying alike.
    GLint filter = GL_LINEAR;
    // Texture-coordinate transform of an external texture; zero until set.
    struct TextureTransform {
        float m[16];
    };
    TextureTransform* textureTransform = nullptr;

    static std::atomic<int32_t>& GLTexturesCount;
    static std::atomic<int32_t>& GLTexturesBytes;

    explicit Texture(Environment* env);
    ~Texture();
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    // A second init fails and leaves the texture deinitialised.
    bool init();
    void deinit();

    // Any thread. At most two bitmaps wait; a third is refused.
    bool setupByBitmap(Bitmap* bitmap, bool swap);
    bool setupByBitmap_InRenderThread(Bitmap* bitmap, bool swap);
    bool setupByNativeBitmap(NativeBitmap* bitmap, bool swap);
    bool setupByRawBufferAndRealize(const Bitmap::BitmapInfo& bitmapInfo);

    // Uploads the pending source of highest precedence: native, then render-thread, then the
    // newest queued bitmap. False, keeping the current texture, when nothing is pending.
    bool createRenderTexture();
    // The bitmap goes to the texture's origin; a larger texture keeps the rest undefined. Callers
    // have checked that a GL context is current.
    bool createRenderTextureImpl(int textureWidth, int textureHeight, int bitmapWidth,
                                 int bitmapHeight, int format, int scanlineBytes, int bufferBytes,
                                 unsigned char* pixels);
    void destroyRenderTexture();
    // Discards everything pending, then makes a transparent texture to render into.
    bool realizeBlankTexture(int format, int width, int height);
    // A failed update destroys the whole texture.
    bool realizeSubTexture(int x, int y, const Bitmap::BitmapInfo& bitmapInfo);
    GLuint createOESTexture();
    // Applied to every upload from now on, and to the current picture when next drawn: it needs no
    // current context.
    void setFilter(GLint minMagFilter);
    void setTextureTransform(float m0, float m1, float m2, float m3, float m4, float m5, float m6,
                             float m7, float m8, float m9, float m10, float m11, float m12,
                             float m13, float m14, float m15);

    // Unsigned: a width from 0x8000 up sets the packed value's sign bit.
    int textureWidth() const override {
        return static_cast<int>(static_cast<uint32_t>(info[INFO_TEXTURE_SIZE].load()) >> 16);
    }
    int textureHeight() const override { return info[INFO_TEXTURE_SIZE].load() & 0xFFFF; }

    // How the device layer draws it. Realising an external texture uploads nothing.
    GLuint realize(bool upload) override;
    bool uploadPending() const override;
    GLuint currentName() const override { return renderTextureHandle; }
    DrawItem::TextureKind drawKind() const override;

    // Whether the picture went with a lost context and nothing has replaced it, uploaded or
    // queued, since: the texture draws untextured until someone supplies it again.
    bool isLost() const { return pictureLost_ && !uploadPending(); }

    static int CalculateHigherOrEqualPowerOfTwoDimension(int n);

  private:
    void recordSize(int width, int height);
    // A new GL texture: counted, and linked to the context current now, which made it.
    void adoptName(int32_t bytes);

    bool filterPending_ = false;
    bool pictureLost_ = false;
    // The engine's context current during a GL operation of the texture, else null.
    Context* current_ = nullptr;
    WatchedLink<ContextObjects, Texture, &Texture::contextGoing> glContext_{this};
};

}  // namespace kesto
