// The built-in GLSL library every context registers: eleven sources, their registration names, the
// seven program names and the attribute and sampler arrays the programs are registered with.
//
// The uniform, attribute and sampler names inside the sources are the ones the renderer, the
// materials and the blur effect look up, so the texts must not change.
#pragma once

namespace kesto::DefaultShader {

extern const char* DEFAULT_VERTEX_SHADER;
extern const char* DEFAULT_FRAGMENT_SHADER;
extern const char* NO_TEXTURE_VERTEX_SHADER;
extern const char* NO_TEXTURE_FRAGMENT_SHADER;
// Positions arrive in clip space: full-screen post-processing quads.
extern const char* NO_TRANSFORM_VERTEX_SHADER;
extern const char* BLUR_FRAGMENT_SHADER;
extern const char* OES_TEXTURE_VERTEXT_SHADER;
// Needs GL_OES_EGL_image_external.
extern const char* OES_TEXTURE_FRAGMENT_SHADER;
// Batched meshes: positions arrive in eye space, the colour per vertex.
extern const char* BATCH_VERTEX_SHADER;
extern const char* BATCH_FRAGMENT_SHADER;
extern const char* BATCH_NO_TEXTURE_FRAGMENT_SHADER;

// Shader names, in registration order.
constexpr const char* DEFAULT_VS = "_KESTO_DEFAULT_VS";
constexpr const char* DEFAULT_FS = "_KESTO_DEFAULT_FS";
constexpr const char* NO_TEXTURE_VS = "_KESTO_NO_TEXTURE_VS";
constexpr const char* NO_TEXTURE_FS = "_KESTO_NO_TEXTURE_FS";
constexpr const char* NO_TRANSFORM_VS = "_KESTO_NO_TRANSFORM_VS";
constexpr const char* BLUR_FS = "_KESTO_BLUR_FS";
constexpr const char* OES_TEXTURE_VS = "_KESTO_OES_TEXTURE_VS";
constexpr const char* OES_TEXTURE_FS = "_KESTO_OES_TEXTURE_FS";
constexpr const char* BATCH_VS = "_KESTO_BATCH_VS";
constexpr const char* BATCH_FS = "_KESTO_BATCH_FS";
constexpr const char* BATCH_NO_TEXTURE_FS = "_KESTO_BATCH_NO_TEXTURE_FS";

// Program names, in registration order.
constexpr const char* DEFAULT_SP = "_KESTO_DEFAULT_SP";
constexpr const char* NO_TEXTURE_SP = "_KESTO_NO_TEXTURE_SP";
constexpr const char* POST_PROCESS_BLUR_SP = "_KESTO_POST_PROCESS_BLUR_SP";
constexpr const char* BLUR_SP = "_KESTO_BLUR_SP";
// The shader manager gives a program whose name starts with these 21 characters the
// texture-matrix flag.
constexpr const char* OES_TEXTURE_SP = "_KESTO_OES_TEXTURE_SP";
constexpr int OES_TEXTURE_SP_PREFIX_LENGTH = 21;
constexpr const char* BATCH_SP = "_KESTO_BATCH_SP";
constexpr const char* BATCH_NO_TEXTURE_SP = "_KESTO_BATCH_NO_TEXTURE_SP";

// Null-terminated name arrays; a name's position is its attribute index or texture unit.
extern const char* POSITION_TEXCOORD_ATTRIBUTES[];
extern const char* POSITION_ATTRIBUTES[];
extern const char* POSITION_TEXCOORD_COLOR_ATTRIBUTES[];
extern const char* SAMPLER0_SAMPLERS[];

}  // namespace kesto::DefaultShader
