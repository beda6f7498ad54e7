#include "shader/DefaultShader.h"

namespace kesto::DefaultShader {

// One literal per statement for reading; the texts themselves have no line breaks except the one
// after the extension directive of the external-texture fragment shader.

const char* DEFAULT_VERTEX_SHADER =
    "attribute vec4 position;"
    "attribute vec2 texCoord;"
    "varying vec2 vTexCoord;"
    "uniform mat4 ProjectionMatrix;"
    "uniform mat4 ModelViewMatrix;"
    "void main(){"
    "gl_Position = ProjectionMatrix * ModelViewMatrix * position;"
    "vTexCoord = texCoord;}";

const char* DEFAULT_FRAGMENT_SHADER =
    "precision mediump float;"
    "varying vec2 vTexCoord;"
    "uniform sampler2D Sampler0;"
    "uniform vec4 BlendColor;"
    "void main(){"
    "gl_FragColor = texture2D(Sampler0, vTexCoord) * BlendColor;}";

const char* NO_TEXTURE_VERTEX_SHADER =
    "attribute vec4 position;"
    "uniform mat4 ProjectionMatrix;"
    "uniform mat4 ModelViewMatrix;"
    "void main(){"
    "gl_Position = ProjectionMatrix * ModelViewMatrix * position;}";

const char* NO_TEXTURE_FRAGMENT_SHADER =
    "precision mediump float;"
    "uniform vec4 BlendColor;"
    "void main(){"
    "gl_FragColor = BlendColor;}";

const char* NO_TRANSFORM_VERTEX_SHADER =
    "attribute vec4 position;"
    "attribute vec2 texCoord;"
    "varying vec2 vTexCoord;"
    "void main(){"
    "gl_Position = position;"
    "vTexCoord = texCoord;}";

const char* BLUR_FRAGMENT_SHADER =
    "precision mediump float;"
    "varying vec2 vTexCoord;"
    "uniform sampler2D Sampler0;"
    "uniform vec4 BlendColor;"
    "uniform vec2 TextureSize;"
    "void main(){"
    "vec4 finalResult = texture2D(Sampler0, vTexCoord+vec2(0.25, 0.083333)*TextureSize.xy);"
    "finalResult += texture2D(Sampler0, vTexCoord+vec2(-0.416666, 0.75)*TextureSize.xy);"
    "finalResult += texture2D(Sampler0, vTexCoord+vec2(0.75, 0.416666)*TextureSize.xy);"
    "finalResult += texture2D(Sampler0, vTexCoord+vec2(0.583333, -0.75)*TextureSize.xy);"
    "finalResult += texture2D(Sampler0, vTexCoord+vec2(-0.75, -0.416666)*TextureSize.xy);"
    "gl_FragColor = finalResult * 0.2 * BlendColor;}";

const char* OES_TEXTURE_VERTEXT_SHADER =
    "attribute vec4 position;"
    "attribute vec2 texCoord;"
    "varying vec2 vTexCoord;"
    "uniform mat4 ProjectionMatrix;"
    "uniform mat4 ModelViewMatrix;"
    "uniform mat4 TextureMatrix;"
    "void main() {"
    "gl_Position = ProjectionMatrix * ModelViewMatrix * position;"
    "vTexCoord = vec2(TextureMatrix * vec4(texCoord[0], 1.0-texCoord[1], 1.0, 1.0));}";

const char* OES_TEXTURE_FRAGMENT_SHADER =
    "#extension GL_OES_EGL_image_external : require\n"
    "precision mediump float;"
    "varying vec2 vTexCoord;"
    "uniform samplerExternalOES Sampler0;"
    "uniform vec4 BlendColor;"
    "void main() {"
    "  gl_FragColor = texture2D(Sampler0, vTexCoord) * BlendColor;}";

const char* BATCH_VERTEX_SHADER =
    "attribute vec4 position;"
    "attribute vec2 texCoord;"
    "attribute vec4 color;"
    "varying vec2 vTexCoord;"
    "varying vec4 vColor;"
    "uniform mat4 ProjectionMatrix;"
    "void main(){"
    "gl_Position = ProjectionMatrix * position;"
    "vTexCoord = texCoord;"
    "vColor = color;}";

const char* BATCH_FRAGMENT_SHADER =
    "precision mediump float;"
    "varying vec2 vTexCoord;"
    "varying vec4 vColor;"
    "uniform sampler2D Sampler0;"
    "void main(){"
    "gl_FragColor = texture2D(Sampler0, vTexCoord) * vColor;}";

const char* BATCH_NO_TEXTURE_FRAGMENT_SHADER =
    "precision mediump float;"
    "varying vec4 vColor;"
    "void main(){"
    "gl_FragColor = vColor;}";

const char* POSITION_TEXCOORD_ATTRIBUTES[] = {"position", "texCoord", nullptr};
const char* POSITION_ATTRIBUTES[] = {"position", nullptr};
const char* POSITION_TEXCOORD_COLOR_ATTRIBUTES[] = {"position", "texCoord", "color", nullptr};
const char* SAMPLER0_SAMPLERS[] = {"Sampler0", nullptr};

}  // namespace kesto::DefaultShader
