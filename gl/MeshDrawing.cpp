// Renderer::renderMesh and Renderer::drawBatch: draw items and batches into GL calls.
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <cstring>
#include <initializer_list>

#include "gl/Context.h"
#include "gl/Renderer.h"
#include "platform/Log.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderManager.h"
#include "shader/ShaderProgram.h"

KESTO_LOG_TAG("KestoRender");

namespace kesto {

namespace {

// Attribute indices the shader manager's programs use for "position" and "texCoord".
constexpr GLuint kPositionAttribute = 0;
constexpr GLuint kTexCoordAttribute = 1;
constexpr GLuint kColorAttribute = 2;

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
        DefaultShader::DEFAULT_SP,     DefaultShader::NO_TEXTURE_SP,
        DefaultShader::OES_TEXTURE_SP, DefaultShader::BLUR_SP,
        DefaultShader::BATCH_SP,       DefaultShader::BATCH_NO_TEXTURE_SP};
    // A failed build is not remembered: the next draw asks again, as a lookup would. So is a
    // program a context loss took: the lookup builds it again into the same object.
    if (builtInPrograms_[which] == nullptr || builtInPrograms_[which]->glProgram == 0) {
        builtInPrograms_[which] = context->getShaderProgram(kNames[which]);
    }
    return builtInPrograms_[which];
}

void Renderer::renderMesh(DrawItem& item) {
    const float alpha = item.alpha;
    if (alpha == 0.0f || item.vertices == nullptr) {
        return;
    }
    VertexBuffer& vertices = *item.vertices;
    if (!vertices.bindGLBuffer(context)) {
        return;
    }
    item.realizeTexture(item.mayUpload);
    const GLuint textureName = item.texture;
    const bool external = item.textureKind == DrawItem::TextureKind::External;
    glBindBuffer(GL_ARRAY_BUFFER, vertices.glBuffer);

    ShaderProgram* program = item.program;
    if (program != nullptr && program->glProgram == 0 && context->shaderManager != nullptr) {
        program = context->shaderManager->revive(program);
    }
    if (item.program == nullptr) {
        program = builtInProgram(external           ? PROGRAM_OES_TEXTURE
                                 : textureName != 0 ? PROGRAM_DEFAULT
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
        setBlend(BlendMode::Straight);
        SetTransforms(program, projectionMatrix, modelViewMatrix);
        if (item.textureKind != DrawItem::TextureKind::None) {
            // Until the stream sets one, the texture transform is the identity.
            Matrix transform;
            if (item.textureTransform != nullptr) {
                std::memcpy(transform.m, item.textureTransform, sizeof transform.m);
            }
            program->setTextureMatrixLocation(transform);
        }
        program->setBlendColor(1.0f, 1.0f, 1.0f, alpha);
        SetVertexPointers(vertices, true);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_EXTERNAL_OES, textureName);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
        CountDraw(1, vertexCount, true);
        glDisableVertexAttribArray(kPositionAttribute);
        glDisableVertexAttribArray(kTexCoordAttribute);
        setBlend(BlendMode::Off);
        return;
    }

    if (program == builtInProgram(PROGRAM_NO_TEXTURE)) {
        // Drawn in the material's colour, not premultiplied, with whatever blend state the
        // previous draw left.
        SetTransforms(program, projectionMatrix, modelViewMatrix);
        program->setBlendColor(item.red, item.green, item.blue, alpha);
        if (!WriteUniforms(item, program)) {
            return;
        }
        SetVertexPointers(vertices, false);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
        CountDraw(1, vertexCount, false);
        glDisableVertexAttribArray(kPositionAttribute);
        return;
    }

    SetTransforms(program, projectionMatrix, modelViewMatrix);
    if (!WriteUniforms(item, program)) {
        return;
    }
    const BlendMode blend = TexturedBlend(item);
    float colour[4];
    TexturedColour(item, blend, colour);
    program->setBlendColor(colour[0], colour[1], colour[2], colour[3]);
    setBlend(blend);
    SetVertexPointers(vertices, true);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textureName);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, vertexCount);
    CountDraw(1, vertexCount, true);
    glDisableVertexAttribArray(kTexCoordAttribute);
    glDisableVertexAttribArray(kPositionAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

bool Renderer::WriteUniforms(const DrawItem& item, ShaderProgram* program) {
    if (item.writeUniforms != nullptr &&
        !item.writeUniforms(item.uniformSource, program->glProgram)) {
        KLOGE("RenderMesh NG - updateUniformVariable failed program:%p handle:%d",
              static_cast<void*>(program), program->glProgram);
        return false;
    }
    return true;
}

BlendMode Renderer::TexturedBlend(const DrawItem& item) {
    if (item.textureKind == DrawItem::TextureKind::Rgb565 && item.alpha == 1.0f &&
        item.rgbOperation == 0) {
        return BlendMode::Off;
    }
    // One bit of alpha: straight alpha blending; everything else is premultiplied.
    return item.textureKind == DrawItem::TextureKind::Rgba5551 ? BlendMode::Straight
                                                               : BlendMode::Premultiplied;
}

void Renderer::TexturedColour(const DrawItem& item, BlendMode blend, float colour[4]) {
    const float alpha = item.alpha;
    const bool tint = item.rgbOperation == 1;
    if (blend == BlendMode::Off) {
        colour[0] = colour[1] = colour[2] = colour[3] = 1.0f;
    } else if (blend == BlendMode::Straight) {
        colour[0] = tint ? item.red : 1.0f;
        colour[1] = tint ? item.green : 1.0f;
        colour[2] = tint ? item.blue : 1.0f;
        colour[3] = alpha;
    } else if (tint) {
        colour[0] = alpha * item.red;
        colour[1] = alpha * item.green;
        colour[2] = alpha * item.blue;
        colour[3] = alpha;
    } else {
        colour[0] = colour[1] = colour[2] = colour[3] = alpha;
    }
}

void Renderer::setBlend(BlendMode mode) {
    switch (mode) {
        case BlendMode::Inherit:
            break;
        case BlendMode::Off:
            glDisable(GL_BLEND);
            blend.enabled = false;
            break;
        case BlendMode::Straight:
            glEnable(GL_BLEND);
            glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            blend = BlendState{true, mode};
            break;
        case BlendMode::Premultiplied:
            glEnable(GL_BLEND);
            glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
            blend = BlendState{true, mode};
            break;
    }
}

void Renderer::setBlendState(BlendState state) {
    if (state.function != BlendMode::Inherit) {
        setBlend(state.function);
    }
    if (!state.enabled) {
        setBlend(BlendMode::Off);
    } else if (!blend.enabled) {
        glEnable(GL_BLEND);
        blend.enabled = true;
    }
}

Renderer::BlendState Renderer::blendAfter(const DrawItem& item, bool textured, BlendState before,
                                          bool* inherits) {
    // As renderMesh picks its path.
    *inherits = false;
    const bool external = item.textureKind == DrawItem::TextureKind::External;
    ShaderProgram* program = item.program;
    if (program != nullptr ? program->textureMatrixFlag == 1 : external) {
        return textured ? BlendState{false, BlendMode::Straight} : before;
    }
    // The remembered program only: looking one up would build it, and this runs without GL.
    if (program != nullptr ? program == builtInPrograms_[PROGRAM_NO_TEXTURE] : !textured) {
        *inherits = true;
        return before;
    }
    const BlendMode mode = TexturedBlend(item);
    return mode == BlendMode::Off ? BlendState{false, before.function} : BlendState{true, mode};
}

void Renderer::CountDraw(int meshes, int vertexCount, bool textured) {
    stats.meshes += meshes;
    ++stats.drawCalls;
    stats.vertices += vertexCount;
    if (textured) {
        ++stats.textureBinds;
    }
}

void Renderer::drawBatch(const BatchDraw& batch) {
    if (batch.program == nullptr || batch.indexCount == 0) {
        return;
    }
    const bool textured = batch.program == builtInProgram(PROGRAM_BATCH);
    GLint& projection = batchProjectionLocations_[textured ? 0 : 1];
    batch.program->useProgram();
    if (projection == -1) {
        projection = glGetUniformLocation(batch.program->glProgram, "ProjectionMatrix");
    }
    glUniformMatrix4fv(projection, 1, GL_FALSE, projectionMatrix.m);
    for (GLuint* buffer : {&streamVertexBuffer, &streamIndexBuffer}) {
        if (*buffer == 0) {
            glGenBuffers(1, buffer);
        }
    }
    // A new data store each time: the driver need not wait for the previous draw to finish.
    glBindBuffer(GL_ARRAY_BUFFER, streamVertexBuffer);
    glBufferData(GL_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(batch.vertexCount) * kBatchVertexFloats * sizeof(float),
                 batch.vertices, GL_STREAM_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, streamIndexBuffer);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(batch.indexCount) * sizeof(uint16_t), batch.indices,
                 GL_STREAM_DRAW);
    setBlend(batch.blend);
    constexpr GLsizei kStride = kBatchVertexFloats * sizeof(float);
    glEnableVertexAttribArray(kPositionAttribute);
    glEnableVertexAttribArray(kTexCoordAttribute);
    glEnableVertexAttribArray(kColorAttribute);
    glVertexAttribPointer(kPositionAttribute, 3, GL_FLOAT, GL_FALSE, kStride, BufferOffset(0));
    glVertexAttribPointer(kTexCoordAttribute, 2, GL_FLOAT, GL_FALSE, kStride, BufferOffset(12));
    glVertexAttribPointer(kColorAttribute, 4, GL_FLOAT, GL_FALSE, kStride, BufferOffset(20));
    if (textured) {
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, batch.texture);
    }
    glDrawElements(GL_TRIANGLES, batch.indexCount, GL_UNSIGNED_SHORT, nullptr);
    CountDraw(batch.meshCount, batch.vertexCount, textured);
    ++stats.batches;
    glDisableVertexAttribArray(kColorAttribute);
    glDisableVertexAttribArray(kTexCoordAttribute);
    glDisableVertexAttribArray(kPositionAttribute);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

}  // namespace kesto
