#include "scene/BlurSprite.h"

#include <cmath>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "gl/Renderer.h"
#include "image/Texture.h"
#include "platform/Log.h"
#include "scene/Material.h"
#include "shader/DefaultShader.h"

KESTO_LOG_TAG("KestoBlurSprite");

namespace kesto {

bool BlurSprite::init() {
    if (!Sprite::init(1, true)) {
        KLOGE("init NG - init failed");
        return false;
    }
    return true;
}

void BlurSprite::deinit() {
    destroyBufferTexture();
    Sprite::deinit();
}

bool BlurSprite::setTexture(Context* context, Texture* source, float maximum) {
    if (context == nullptr || source == nullptr || !(maximum > 0.0f)) {
        KLOGE("setTexture NG - context%p texture%p maxBlur%f", static_cast<void*>(context),
              static_cast<void*>(source), maximum);
        return false;
    }
    if (maximum > kMaximumBlur) {
        KLOGE("setTexture NG - maxBlur %f above the limit %f", maximum,
              static_cast<double>(kMaximumBlur));
        return false;
    }
    if (!createBufferTexture(context, source, maximum)) {
        KLOGE("setTexture NG - createBufferTexture failed");
        return false;
    }
    return true;
}

bool BlurSprite::createBufferTexture(Context* context, Texture* source, float maximum) {
    destroyBufferTexture();
    Renderer* renderer = context->renderer;
    if (renderer == nullptr) {
        KLOGE("createBufferTexture NG - failed to get Renderer");
        return false;
    }
    ShaderProgram* blurProgram = context->getShaderProgram(DefaultShader::POST_PROCESS_BLUR_SP);
    if (blurProgram == nullptr) {
        KLOGE("createBufferTexture NG - no postProcessBlurProgram");
        return false;
    }
    Material* material = getLayerMaterial(0);
    if (material == nullptr) {
        KLOGE("createBufferTexture NG - no material");
        return false;
    }
    maxBlur = maximum;
    const int count = static_cast<int>(maximum / 3.0 + 2.0);
    KLOGI("createBufferTexture textureNum:%d", count);
    bufferTextures = NewArray<Texture*>(static_cast<size_t>(count));
    if (bufferTextures == nullptr) {
        KLOGE("createBufferTexture NG - new Texture array");
        destroyBufferTexture();
        return false;
    }
    bufferTextureNum = count;
    material->setShaderProgram(blurProgram);
    material->clearUniformVariable();
    bufferTextures[0] = source;
    sourceTexture = source;

    float width = static_cast<float>(source->textureWidth());
    float height = static_cast<float>(source->textureHeight());
    source->createRenderTexture();
    const char* failure = nullptr;
    bool toggled = false;
    for (int level = 1; level < count; ++level) {
        Texture* texture = NewObject<Texture>(environment);
        bufferTextures[level] = texture;
        if (texture == nullptr) {
            failure = "createBufferTexture NG - new Texture";
            break;
        }
        float step[2];
        if (level < count - 1) {
            step[0] = 3.0f / width;
            step[1] = 3.0f / height;
            width *= 0.5f;
            height *= 0.5f;
        } else {
            const float remainder = std::fmod(maximum, 3.0f);
            step[0] = remainder / width;
            step[1] = remainder / height;
        }
        float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        if (!texture->realizeBlankTexture(source->pixelFormat, static_cast<int>(width),
                                          static_cast<int>(height))) {
            failure = "createBufferTexture NG: realizeBlankTexture failed";
            break;
        }
        toggled = true;
        if (!renderer->toggleRenderToTexture(texture)) {
            failure = "createBufferTexture NG: toggleRenderToTexture failed";
            break;
        }
        if (!material->setUniformVariable("TextureSize", 2, step) ||
            !material->setUniformVariable("BlendColor", 4, white)) {
            failure = "createBufferTexture NG: toggleRenderToTexture failed";
            break;
        }
        DrawItem uniforms;
        material->describeUniforms(&uniforms);
        if (!renderer->postProcess(material->getShaderProgram(), uniforms,
                                   bufferTextures[level - 1])) {
            failure = "createBufferTexture NG: postProcess failed";
            break;
        }
    }
    if (failure != nullptr) {
        KLOGE("%s", failure);
        if (toggled) {
            renderer->endRenderToTexture();  // a failed start may leave it bound
        }
        destroyBufferTexture();
        return false;
    }
    renderer->endRenderToTexture();
    if (!setBlurParameter(context, 0.0f)) {
        KLOGE("createBufferTexture NG: setBlurParameter failed");
        destroyBufferTexture();
        return false;
    }
    return true;
}

bool BlurSprite::setBlurParameter(Context* context, float blur) {
    float x = blur > maxBlur ? maxBlur : blur;
    if (!(x > 0.0f)) {  // NaN too: it would index the chain with garbage
        x = 0.0f;
    }
    const bool atMaximum = x == maxBlur;
    ShaderProgram* program =
        context->getShaderProgram(atMaximum ? DefaultShader::DEFAULT_SP : DefaultShader::BLUR_SP);
    if (program == nullptr) {
        KLOGE("setBlurParameter NG - no program, blur:%f maxBlur:%f", blur, maxBlur);
        return false;
    }
    Material* material = getLayerMaterial(0);
    if (material == nullptr) {
        KLOGE("setBlurParameter NG - no material");
        return false;
    }
    const int index = atMaximum ? bufferTextureNum - 1 : static_cast<int>(x / 3.0);
    if (index >= bufferTextureNum) {
        KLOGE("setBlurParameter NG - textureIndex:%d larger than bufferTextureNum:%d", index,
              bufferTextureNum);
        return false;
    }
    if (bufferTextures == nullptr) {
        KLOGE("setBlurParameter NG - no bufferTextures");
        return false;
    }
    Texture* texture = bufferTextures[index];
    if (texture == nullptr) {
        KLOGE("setBlurParameter NG - the source texture was destroyed");
        return false;
    }
    if (!material->setTexture(0, texture)) {
        KLOGE("setBlurParameter NG - setTexture");
        return false;
    }
    material->setShaderProgram(program);
    material->clearUniformVariable();
    if (atMaximum) {
        return true;  // the last level is drawn plainly
    }
    const float remainder = static_cast<float>(std::fmod(x, 3.0));
    float step[2] = {remainder / texture->textureWidth(), remainder / texture->textureHeight()};
    if (!material->setUniformVariable("TextureSize", 2, step)) {
        KLOGE("setBlurParameter NG: toggleRenderToTexture failed");
        material->setShaderProgram(nullptr);
        material->clearUniformVariable();
        return false;
    }
    return true;
}

void BlurSprite::destroyBufferTexture() {
    if (bufferTextures != nullptr) {
        for (int level = 1; level < bufferTextureNum; ++level) {
            DeleteObject(bufferTextures[level]);
        }
        DeleteArray(bufferTextures);
    }
    bufferTextureNum = 0;
    maxBlur = 0.0f;
    bufferTextures = nullptr;
    sourceTexture = nullptr;
    Material* material = getLayerMaterial(0);
    if (material == nullptr) {
        KLOGE("destroyBufferTexture NG - no material");
        return;
    }
    material->setShaderProgram(nullptr);
    material->clearUniformVariable();
}

}  // namespace kesto
