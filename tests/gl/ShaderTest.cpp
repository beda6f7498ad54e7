#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "core/Matrix.h"
#include "shader/DefaultShader.h"
#include "shader/Shader.h"
#include "shader/ShaderProgram.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using namespace DefaultShader;
using test::LogCapture;
using test::ResourceCounters;
using Strings = std::vector<std::string>;

std::vector<float> Uniform(GLuint program, GLint location, int count) {
    std::vector<float> values(count);
    glGetUniformfv(program, location, values.data());
    return values;
}

std::vector<float> Values(const Matrix& matrix) {
    return std::vector<float>(matrix.m, matrix.m + 16);
}

// Two freshly compiled stages linked and made current; everything released at scope exit.
struct LinkedProgram {
    Shader vertex;
    Shader fragment;
    ShaderProgram program;
    bool ok;

    LinkedProgram(const char* vertexSource, const char* fragmentSource)
        : ok(vertex.createVertexShader(vertexSource) &&
             fragment.createFragmentShader(fragmentSource) && program.create() &&
             program.attachShader(&vertex) && program.attachShader(&fragment) && program.link() &&
             program.useProgram()) {}
    ~LinkedProgram() {
        program.destroy();
        vertex.destroy();
        fragment.destroy();
    }
};

using ShaderTest = test::GlTest;

TEST_F(ShaderTest, CompileReplacesFailsCleanlyAndDestroyReleases) {
    const ResourceCounters before = ResourceCounters::Now();
    Shader shader;
    EXPECT_EQ(1, ResourceCounters::Now()["Shader"] - before["Shader"]);
    LogCapture log;
    ASSERT_TRUE(shader.createVertexShader(DEFAULT_VERTEX_SHADER));
    EXPECT_EQ(GLenum(GL_VERTEX_SHADER), shader.type);
    ASSERT_TRUE(shader.createFragmentShader(DEFAULT_FRAGMENT_SHADER));
    EXPECT_EQ(GLenum(GL_FRAGMENT_SHADER), shader.type);
    shader.destroy();
    shader.destroy();
    EXPECT_EQ(0u, shader.type);
    EXPECT_EQ(before["GLShader"], ResourceCounters::Now()["GLShader"]);

    EXPECT_FALSE(shader.create(GL_FRAGMENT_SHADER, "void main(){ nonsense }"));
    EXPECT_FALSE(shader.create(GL_TEXTURE_2D, DEFAULT_FRAGMENT_SHADER));
    shader.logShaderInfoLog();  // nothing to log without a GL shader
    EXPECT_EQ(before["GLShader"], ResourceCounters::Now()["GLShader"]);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ((Strings{"Shader glDeleteShader.", "Shader glDeleteShader.", "glCompileShader NG",
                       "ShaderInfoLog:", "Shader glDeleteShader.", "glCreateShader NG - 00000500"}),
              log.messages("KestoShader"));
    const std::string text = log.text();
    const size_t infoLog = text.find("ShaderInfoLog:\n");
    ASSERT_NE(std::string::npos, infoLog);
    EXPECT_NE(std::string::npos, text.find("error", infoLog)) << text;
}

using ShaderProgramTest = test::GlTest;

TEST_F(ShaderProgramTest, LooksUpUniformsOnFirstUseAndSetsThem) {
    LinkedProgram p(OES_TEXTURE_VERTEXT_SHADER, DEFAULT_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    ShaderProgram& sp = p.program;
    const GLuint program = sp.glProgram;
    EXPECT_TRUE(sp.setupTextureLocation(3, "Sampler0"));
    GLint unit = -1;
    glGetUniformiv(program, glGetUniformLocation(program, "Sampler0"), &unit);
    EXPECT_EQ(3, unit);
    Matrix projection, modelView, texture;
    projection.setAsTranslation(1, 2, 3);
    modelView.setAsScale(2, 3, 4);
    texture.setAsScale(0.5f, 2, 1);
    EXPECT_TRUE(sp.setProjectionMatrix(projection));
    EXPECT_TRUE(sp.setModelViewMatrixMatrix(modelView));
    EXPECT_TRUE(sp.setBlendColor(0.25f, 0.5f, 0.75f, 1));

    // Without the flag the texture matrix is never found, so every call looks up again; the
    // cleared blend colour location shows it.
    const GLint textureLocation = glGetUniformLocation(program, "TextureMatrix");
    ASSERT_NE(-1, textureLocation);
    sp.blendColorLocation = -1;
    EXPECT_TRUE(sp.setTextureMatrixLocation(texture));
    EXPECT_EQ(-1, sp.textureMatrixLocation);
    EXPECT_NE(-1, sp.blendColorLocation);
    sp.textureMatrixFlag = 1;
    EXPECT_TRUE(sp.setTextureMatrixLocation(texture));
    EXPECT_EQ(textureLocation, sp.textureMatrixLocation);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ(Values(projection), Uniform(program, sp.projectionMatrixLocation, 16));
    EXPECT_EQ(Values(modelView), Uniform(program, sp.modelViewMatrixLocation, 16));
    EXPECT_EQ(Values(texture), Uniform(program, textureLocation, 16));
    EXPECT_EQ((std::vector<float>{0.25f, 0.5f, 0.75f, 1}),
              Uniform(program, sp.blendColorLocation, 4));

    LogCapture log;
    EXPECT_FALSE(sp.setupTextureLocation(0, "Nothing"));
    EXPECT_TRUE(log.has("KestoSP", 'E', "setupTextureLocation NG - null location, name:Nothing"));
    // The texture-matrix location and flag describe the kind of program, so they survive.
    sp.destroy();
    EXPECT_EQ(
        std::make_tuple(-1, -1, -1, textureLocation, 1),
        std::make_tuple(sp.projectionMatrixLocation, sp.modelViewMatrixLocation,
                        sp.blendColorLocation, sp.textureMatrixLocation, sp.textureMatrixFlag));
}

TEST_F(ShaderProgramTest, RefusesWhatItCannotUse) {
    ShaderProgram program;
    Shader empty;
    Shader vertex;
    ASSERT_TRUE(vertex.createVertexShader(DEFAULT_VERTEX_SHADER));
    Matrix matrix;
    const char* sampler = "Sampler0";
    LogCapture log;
    EXPECT_FALSE(program.setupTextureLocation(-1, sampler));
    EXPECT_FALSE(program.setupTextureLocation(0, nullptr));
    EXPECT_FALSE(program.attachShader(&vertex));
    program.detachShader(&vertex);
    EXPECT_FALSE(program.bindAttribLocation(0, "position"));
    EXPECT_FALSE(program.link());
    EXPECT_FALSE(program.useProgram());
    EXPECT_FALSE(program.setupTextureLocation(0, sampler));
    EXPECT_FALSE(program.setupDefaultUniformLocation());
    EXPECT_FALSE(program.setProjectionMatrix(matrix));
    EXPECT_FALSE(program.setModelViewMatrixMatrix(matrix));
    EXPECT_FALSE(program.setBlendColor(1, 1, 1, 1));
    EXPECT_FALSE(program.setTextureMatrixLocation(matrix));
    program.logProgramInfoLog();
    ASSERT_TRUE(program.create());
    EXPECT_FALSE(program.attachShader(nullptr));
    EXPECT_FALSE(program.attachShader(&empty));
    vertex.type = GL_TEXTURE_2D;
    EXPECT_FALSE(program.attachShader(&vertex));
    vertex.type = GL_VERTEX_SHADER;
    program.detachShader(nullptr);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    program.destroy();
    vertex.destroy();
    char named[32], none[32];
    std::snprintf(named, sizeof named, "%p", static_cast<const void*>(sampler));
    std::snprintf(none, sizeof none, "%p", static_cast<void*>(nullptr));
    const std::string badParameter = "setupTextureLocation parameter NG - texture name: ";
    EXPECT_EQ(
        (Strings{badParameter + named + " bindingNum:-1", badParameter + none + " bindingNum:0",
                 "attachShader NG - null program", "detachShader NG - null program",
                 "bindAttribLocation NG - null program", "link NG - null program",
                 "useProgram NG - null program", "setupTextureLocation NG - null program",
                 "setupDefaultUniformLocation NG - null program",
                 "setProjectionMatrix NG - null program",
                 "setModelViewMatrixMatrix NG - null program", "setBlendColor NG - null program",
                 "setTextureMatrix NG - null program", "attachShader NG - null shader",
                 "attachShader NG - null gl shader",
                 "attachShader NG - illegal shader type 00000DE1", "detachShader NG - null shader",
                 "ShaderProgram glDeleteProgram."}),
        log.messages("KestoSP"));
}

TEST_F(ShaderProgramTest, KeepsOneShaderPerStageAndForgetsDeletedOnes) {
    LinkedProgram p(DEFAULT_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    Shader other;
    ASSERT_TRUE(other.createVertexShader(NO_TEXTURE_VERTEX_SHADER));
    LogCapture log;
    EXPECT_TRUE(p.program.attachShader(&other));
    EXPECT_EQ(&other, p.program.vertexShader);
    GLuint attached[4] = {};
    GLsizei count = 0;
    glGetAttachedShaders(p.program.glProgram, 4, &count, attached);
    const GLuint expected[] = {other.glShader, p.fragment.glShader};
    EXPECT_TRUE(std::is_permutation(expected, expected + 2, attached, attached + count))
        << "the first vertex shader must be detached";

    p.fragment.destroy();
    p.program.detachShader(&p.fragment);
    EXPECT_EQ(nullptr, p.program.fragmentShader);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    p.program.destroy();
    other.destroy();
    EXPECT_EQ((Strings{"ShaderProgram glDetachShader.", "detachShader NG - null gl shader",
                       "ShaderProgram glDetachShader.", "ShaderProgram glDeleteProgram."}),
              log.messages("KestoSP"));
}

TEST_F(ShaderProgramTest, FailedLinkKeepsTheProgramForItsOwner) {
    const ResourceCounters before = ResourceCounters::Now();
    LogCapture log;
    // The fragment stage reads a varying that this vertex stage never writes.
    LinkedProgram p(NO_TEXTURE_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ(1, ResourceCounters::Now()["GLProgram"] - before["GLProgram"]);
    EXPECT_EQ((Strings{"glGetProgramiv NG", "ProgramInfoLog:"}), log.messages("KestoSP"));
    const std::string text = log.text();
    const size_t infoLog = text.find("ProgramInfoLog:\n");
    ASSERT_NE(std::string::npos, infoLog);
    EXPECT_NE('\n', text[infoLog + 16]) << "empty program info log";
}

TEST_F(ShaderProgramTest, WithoutModelViewEverySetterLooksUpAgainAndFails) {
    LinkedProgram p(
        "attribute vec4 position;uniform mat4 ProjectionMatrix;"
        "void main(){gl_Position = ProjectionMatrix * position;}",
        NO_TEXTURE_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    Matrix matrix;
    LogCapture log;
    EXPECT_FALSE(p.program.setProjectionMatrix(matrix));
    EXPECT_FALSE(p.program.setModelViewMatrixMatrix(matrix));
    EXPECT_FALSE(p.program.setTextureMatrixLocation(matrix));
    // The failed look-ups stored the blend colour, so this one needs none.
    EXPECT_TRUE(p.program.setBlendColor(0, 0.5f, 1, 1));
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ((std::vector<float>{0, 0.5f, 1, 1}),
              Uniform(p.program.glProgram, p.program.blendColorLocation, 4));
    ASSERT_NE(-1, p.program.projectionMatrixLocation);
    const std::string lookUp = "setupDefaultUniformLocation NG - null location (" +
                               std::to_string(p.program.projectionMatrixLocation) + " -1)";
    EXPECT_EQ((Strings{lookUp, "setProjectionMatrix NG - null location", lookUp,
                       "setModelViewMatrixMatrix NG - null location", lookUp,
                       "setTextureMatrix NG - null location"}),
              log.messages("KestoSP"));
}

}  // namespace
}  // namespace kesto
