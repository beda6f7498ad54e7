// Renderer::renderMesh: turns one mesh and its material into GL calls.
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <cstring>

#include "gl/Context.h"
#include "gl/Renderer.h"
#include "image/Texture.h"
#include "platform/Log.h"
#include "scene/Material.h"
#include "scene/Mesh.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderProgram.h"

KESTO_LOG_TAG("KestoRender");

namespace kesto {

namespace {

// Attribute indices the shader manager's programs use for "position" and "texCoord".
constexpr GLuint kPositionAttribute = 0;
constexpr GLuint kTexCoordAttribute = 1;

const void* BufferOffset(int32_t offset) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(offset));
}

void SetVertexPointers(const VertexBuffer& vertices, bool withTextureCoordinates) {
    glEnableVertexAttribArray(kPositionAttribute);
    if (withTextureCoordinates) {
        glEnableVertexAttribArray(kTexCoordAttribute);
    }
    glVertexAttribPointer(kPositionAttribute, 3, GL_FLOAT, GL_FALSE, vertices.stride,
                          BufferOffset(vertices.positionOffset));
    if (withTextureCoordinates) {
        glVertexAttribPointer(kTexCoordAttribute, 2, GL_FLOAT, GL_FALSE, vertices.stride,
                              BufferOffset(vertices.texCoordOffset));
    }
}

void SetTransforms(ShaderProgram* program, const Matrix& projection, const Matrix& modelView) {
    program->useProgram();
    program->setProjectionMatrix(projection);
    program->setModelViewMatrixMatrix(modelView);
}

}  // namespace

ShaderProgram* Renderer::builtInProgram(int which) {
    static const char* const kNames[PROGRAM_COUNT] = {
        DefaultShader::DEFAULT_SP, DefaultShader::NO_TEXTURE_SP, DefaultShader::OES_TEXTURE_SP};
    // A failed build is not remembered: the next draw asks again, as a lookup would.
    if (builtInPrograms_[which] == nullptr) {
        builtInPrograms_[which] = context->getShaderProgram(kNames[which]);
    }
    return builtInPrograms_[which];
}

void Renderer::renderMesh(Mesh* mesh) {
    if (mesh == nullptr || mesh->material == nullptr) {
        return;
    }
    Material* material = mesh->material;
    const float alpha = currentGroupAlpha * material->alpha;
    if (alpha == 0.0f) {
        return;
    }
    VertexBuffer& vertices = mesh->vertexBuffer;
    if (!vertices.bindGLBuffer(context)) {
        return;
    }
    Texture* texture = material->texture;
    if (texture != nullptr && !texture->isOESTexture) {
        texture->createRenderTexture();
    }
    const GLuint textureName = texture != nullptr ? texture->renderTextureHandle : 0;
    glBindBuffer(GL_ARRAY_BUFFER, vertices.glBuffer);

    ShaderProgram* program = material->shaderProgram;
    if (program == nullptr) {
        program = builtInProgram((texture != nullptr && texture->isOESTexture) ? PROGRAM_OES_TEXTURE
                                 : textureName != 0                            ? PROGRAM_DEFAULT
                                                    : PROGRAM_NO_TEXTURE);
    }
    if (program == nullptr) {
        KLOGE("RenderMesh NG program == null");
        return;
    }
    const GLsizei vertexCount = static_cast<GLsizei>(vertices.vertexCount);

    if (program->textureMatrixFlag == 1) {
        if (textureName == 0) {
            KLOGE("RenderMesh OES Texture is null");
            return;
        }
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        SetTransforms(program, projectionMatrix, modelViewMatrix);
        if (texture != nullptr) {
            // Until the stream sets one, the texture transform is the identity.
            Matrix transform;
            if (texture->textureTransform != nullptr) {
                std::memcpy(transform.m, texture->textureTransform->m, sizeof transform.m);
            }
            program->setTextureMatrixLocation(transform);
        }
        program->setBlendColor(1.0f, 1.0f, 1.0f, alpha);
        SetVertexPointers(vertices, true);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_EXTERNAL_OES, textureName);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
        glDisableVertexAttribArray(kPositionAttribute);
        glDisableVertexAttribArray(kTexCoordAttribute);
        glDisable(GL_BLEND);
        return;
    }

    if (program == builtInProgram(PROGRAM_NO_TEXTURE)) {
        // Drawn in the material's colour, not premultiplied, with whatever blend state the
        // previous draw left.
        SetTransforms(program, projectionMatrix, modelViewMatrix);
        program->setBlendColor(material->red, material->green, material->blue, alpha);
        if (!material->updateUniformVariable(program->glProgram)) {
            KLOGE("RenderMesh NG - updateUniformVariable failed program:%p handle:%d",
                  static_cast<void*>(program), program->glProgram);
            return;
        }
        SetVertexPointers(vertices, false);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
        glDisableVertexAttribArray(kPositionAttribute);
        return;
    }

    SetTransforms(program, projectionMatrix, modelViewMatrix);
    if (!material->updateUniformVariable(program->glProgram)) {
        KLOGE("RenderMesh NG - updateUniformVariable failed program:%p handle:%d",
              static_cast<void*>(program), program->glProgram);
        return;
    }
    const bool tint = material->rgbOperation == 1;
    const int32_t format = texture != nullptr ? texture->pixelFormat : 0;
    if (format == PIXEL_FORMAT_RGB565 && alpha == 1.0f && material->rgbOperation == 0) {
        program->setBlendColor(1.0f, 1.0f, 1.0f, 1.0f);
        glDisable(GL_BLEND);
    } else if (format == PIXEL_FORMAT_RGBA5551) {
        // One bit of alpha: straight alpha blending.
        if (tint) {
            program->setBlendColor(material->red, material->green, material->blue, alpha);
        } else {
            program->setBlendColor(1.0f, 1.0f, 1.0f, alpha);
        }
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    } else {
        // Premultiplied alpha.
        if (tint) {
            program->setBlendColor(alpha * material->red, alpha * material->green,
                                   alpha * material->blue, alpha);
        } else {
            program->setBlendColor(alpha, alpha, alpha, alpha);
        }
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    }
    SetVertexPointers(vertices, true);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textureName);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
    glDisableVertexAttribArray(kTexCoordAttribute);
    glDisableVertexAttribArray(kPositionAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

}  // namespace kesto
