// Renderer members that draw into a texture: the cached framebuffer object, the render-to-texture
// switch and the full-screen post-processing pass.
#include <GLES2/gl2.h>

#include <cstring>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "gl/Renderer.h"
#include "platform/Log.h"
#include "shader/ShaderProgram.h"

KESTO_LOG_TAG("KestoRender");

namespace kesto {

namespace {

// The quad's buffers are larger than their data; the padding is zero and never drawn.
constexpr GLsizeiptr kPositionBufferBytes = 192;
constexpr GLsizeiptr kTexCoordBufferBytes = 128;
constexpr GLsizeiptr kIndexBufferBytes = 64;

bool CreateStaticBuffer(GLuint* name, GLenum target, GLsizeiptr bytes, const void* data,
                        GLsizeiptr dataBytes, int line) {
    uint8_t padded[kPositionBufferBytes] = {};
    std::memcpy(padded, data, static_cast<size_t>(dataBytes));
    glGenBuffers(1, name);
    glBindBuffer(target, *name);
    glBufferData(target, bytes, padded, GL_STATIC_DRAW);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("createPostProcessBuffers NG %08X line:%d", error, line);
        return false;
    }
    return true;
}

}  // namespace

GLuint Renderer::getFramebufferObject(int width, int height) {
    if (width < 1 || height < 1) {
        KLOGE("getFramebufferObject NG (width, height) = (%d, %d)", width, height);
        return 0;
    }
    if (framebufferWidth >= width && framebufferHeight >= height && framebuffer != 0) {
        return framebuffer;
    }
    destroyFramebufferObject();
    GLuint newFramebuffer = 0;
    GLuint newRenderbuffer = 0;
    glGenFramebuffers(1, &newFramebuffer);
    glGenRenderbuffers(1, &newRenderbuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, newFramebuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, newRenderbuffer);
    // A placeholder only: toggleRenderToTexture attaches a texture before anything is drawn.
    GLenum format = 0;
    if (context->redSize == 8 && context->greenSize == 8 && context->blueSize == 8) {
        format = GL_RGBA4;
    } else if (context->redSize == 5 && context->greenSize == 6 && context->blueSize == 5) {
        format = GL_RGB565;
    } else {
        KLOGE("getFramebufferObject NG: only support RGB565, RGB888, RGBA8888");
    }
    if (format != 0) {
        glRenderbufferStorage(GL_RENDERBUFFER, format, width, height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                                  newRenderbuffer);
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR) {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            framebuffer = newFramebuffer;
            renderbuffer = newRenderbuffer;
            framebufferWidth = width;
            framebufferHeight = height;
            return framebuffer;
        }
        KLOGE("getFramebufferObject NG %08X line:%d", error, 777);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    framebuffer = newFramebuffer;
    renderbuffer = newRenderbuffer;
    destroyFramebufferObject();
    return 0;
}

void Renderer::destroyFramebufferObject() {
    // The names stay: the zero size alone makes the cache miss.
    if (framebuffer != 0) {
        glDeleteFramebuffers(1, &framebuffer);
    }
    if (renderbuffer != 0) {
        glDeleteRenderbuffers(1, &renderbuffer);
    }
    framebufferWidth = 0;
    framebufferHeight = 0;
}

void Renderer::endRenderToTexture() {
    flushSink(FrameStats::BREAK_TARGET);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    destroyFramebufferObject();
}

bool Renderer::toggleRenderToTexture(TextureSource* texture) {
    flushSink(FrameStats::BREAK_TARGET);
    const int width = texture->textureWidth();
    const int height = texture->textureHeight();
    const GLuint target = getFramebufferObject(width, height);
    if (target == 0) {
        KLOGE("toggleRenderToTexture NG framebuffer is 0 line:%d", 825);
        return false;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, target);
    const GLuint handle = texture->realize(true);
    if (handle == 0) {
        KLOGE("toggleRenderToTexture NG createRenderTexture failed");
        // Every failed start leaves the window's framebuffer bound, as a finished render does.
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        destroyFramebufferObject();
        return false;
    }
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, handle, 0);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        KLOGE("toggleRenderToTexture glCheckFramebufferStatus is %x, texture %d", status, handle);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        destroyFramebufferObject();
        return false;
    }
    setViewport(0, 0, width, height);
    texture->pictureChanged();
    return true;
}

bool Renderer::createPostProcessBuffers() {
    static const GLfloat kPositions[] = {-1, -1, 0, -1, 1, 0, 1, -1, 0, 1, 1, 0};
    static const GLfloat kTexCoords[] = {0, 0, 0, 1, 1, 0, 1, 1};
    static const GLuint kIndices[] = {0, 2, 1, 3};
    destroyPostProcessBuffers();
    const bool created =
        CreateStaticBuffer(&postProcessPositionBuffer, GL_ARRAY_BUFFER, kPositionBufferBytes,
                           kPositions, sizeof kPositions, 875) &&
        CreateStaticBuffer(&postProcessTexCoordBuffer, GL_ARRAY_BUFFER, kTexCoordBufferBytes,
                           kTexCoords, sizeof kTexCoords, 887) &&
        CreateStaticBuffer(&postProcessIndexBuffer, GL_ELEMENT_ARRAY_BUFFER, kIndexBufferBytes,
                           kIndices, sizeof kIndices, 899);
    if (!created) {
        destroyPostProcessBuffers();
    }
    return created;
}

void Renderer::destroyPostProcessBuffers() {
    for (GLuint* buffer :
         {&postProcessPositionBuffer, &postProcessTexCoordBuffer, &postProcessIndexBuffer}) {
        if (*buffer != 0) {
            glDeleteBuffers(1, buffer);
            *buffer = 0;
        }
    }
}

bool Renderer::postProcess(ShaderProgram* program, const DrawItem& uniforms,
                           const TextureSource* source) {
    flushSink(FrameStats::BREAK_BLUR);
    const GLuint sourceName = source != nullptr ? source->currentName() : 0;
    if (uniforms.uniformSource == nullptr || sourceName == 0) {
        KLOGE("postProcess NG - material:%p srcTexture:%p ", uniforms.uniformSource,
              static_cast<const void*>(source));
        if (source != nullptr) {
            KLOGE("textureHandle:%d", sourceName);
        }
        return false;
    }
    if (postProcessPositionBuffer == 0 && postProcessTexCoordBuffer == 0 &&
        postProcessIndexBuffer == 0 && !createPostProcessBuffers()) {
        KLOGE("postProcess NG - createPostProcessBuffers failed");
        return false;
    }
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glBindBuffer(GL_ARRAY_BUFFER, postProcessPositionBuffer);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindBuffer(GL_ARRAY_BUFFER, postProcessTexCoordBuffer);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, postProcessIndexBuffer);
    GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("postProcess NG %08X line:%d", error, 962);
        return false;
    }
    if (program == nullptr) {
        KLOGE("postProcess NG - program is null");
        return false;
    }
    program->useProgram();
    error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("postProcess NG %08X line:%d", error, 978);
        return false;
    }
    if (uniforms.writeUniforms != nullptr &&
        !uniforms.writeUniforms(uniforms.uniformSource, program->glProgram)) {
        KLOGE("postProcess NG - updateUniformVariable failed program:%p handle:%d",
              static_cast<void*>(program), program->glProgram);
        return false;
    }
    glClear(GL_COLOR_BUFFER_BIT);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, sourceName);
    glDrawElements(GL_TRIANGLE_STRIP, 4, GL_UNSIGNED_INT, nullptr);
    glDisableVertexAttribArray(1);
    glDisableVertexAttribArray(0);
    error = glGetError();
    if (error != GL_NO_ERROR) {
        KLOGE("postProcess NG %08X line:%d", error, 1002);
        return false;
    }
    return true;
}

}  // namespace kesto
