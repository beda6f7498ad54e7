// On Android an external (OES) texture is fed by an image stream. On the desktop this stands in
// for it: RGBA pixels become an EGL image that the external texture then samples.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>

namespace kesto::host {

class ExternalImage {
  public:
    // Needs a current GLES2 context offering EGL_KHR_gl_texture_2D_image and
    // GL_OES_EGL_image_external. `rgba` holds width * height pixels, first row first.
    ExternalImage(int width, int height, const uint8_t* rgba);
    ~ExternalImage();
    ExternalImage(const ExternalImage&) = delete;
    ExternalImage& operator=(const ExternalImage&) = delete;

    bool valid() const { return image_ != nullptr; }
    // Makes `externalTexture` (a name bound as GL_TEXTURE_EXTERNAL_OES) sample this image.
    bool attachTo(GLuint externalTexture) const;

  private:
    GLuint texture_ = 0;
    void* display_ = nullptr;
    void* image_ = nullptr;
};

}  // namespace kesto::host
