#include "host/ExternalImage.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2ext.h>

namespace kesto::host {

ExternalImage::ExternalImage(int width, int height, const uint8_t* rgba) {
    auto createImage =
        reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
    if (createImage == nullptr || eglGetCurrentContext() == EGL_NO_CONTEXT) {
        return;
    }
    glGenTextures(1, &texture_);
    glBindTexture(GL_TEXTURE_2D, texture_);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    display_ = eglGetCurrentDisplay();
    const EGLint attributes[] = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_IMAGE_PRESERVED_KHR, EGL_TRUE,
                                 EGL_NONE};
    EGLImageKHR image = createImage(
        display_, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
        reinterpret_cast<EGLClientBuffer>(static_cast<uintptr_t>(texture_)), attributes);
    image_ = image == EGL_NO_IMAGE_KHR ? nullptr : image;
}

ExternalImage::~ExternalImage() {
    auto destroyImage =
        reinterpret_cast<PFNEGLDESTROYIMAGEKHRPROC>(eglGetProcAddress("eglDestroyImageKHR"));
    if (image_ != nullptr && destroyImage != nullptr) {
        destroyImage(display_, image_);
    }
    if (texture_ != 0) {
        glDeleteTextures(1, &texture_);
    }
}

bool ExternalImage::attachTo(GLuint externalTexture) const {
    auto targetTexture = reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
        eglGetProcAddress("glEGLImageTargetTexture2DOES"));
    if (image_ == nullptr || targetTexture == nullptr) {
        return false;
    }
    glBindTexture(GL_TEXTURE_EXTERNAL_OES, externalTexture);
    targetTexture(GL_TEXTURE_EXTERNAL_OES, image_);
    return glGetError() == GL_NO_ERROR;
}

}  // namespace kesto::host
