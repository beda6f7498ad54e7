#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdio>
#include <string>
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
using test::GlTest;
using test::LogCapture;
using test::ResourceCounters;

constexpr char kBrokenSource[] = "void main(){ nonsense }";
constexpr char kNoModelViewVertex[] =
    "attribute vec4 position;uniform mat4 ProjectionMatrix;"
    "void main(){gl_Position = ProjectionMatrix * position;}";

::testing::AssertionResult NoGlError() {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "GL error " << std::hex << error;
}

std::vector<float> Uniform(GLuint program, GLint location, int count) {
    std::vector<float> values(count);
    glGetUniformfv(program, location, values.data());
    return values;
}

std::vector<float> Values(const Matrix& matrix) {
    return std::vector<float>(matrix.m, matrix.m + 16);
}

// One tag's messages, each ended by a line break.
std::string Messages(LogCapture& log, const char* tag) {
    std::string text;
    for (const std::string& message : log.messages(tag)) {
        text += message + "\n";
    }
    return text;
}

std::string Pointer(const void* pointer) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
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

using ShaderTest = GlTest;

TEST_F(ShaderTest, CompileReplacesAndDestroyReleasesTheGlShader) {
    const ResourceCounters before = ResourceCounters::Now();
    Shader shader;
    EXPECT_EQ(1, ResourceCounters::Now()["Shader"] - before["Shader"]);
    EXPECT_EQ(0u, shader.glShader);
    LogCapture log;
    ASSERT_TRUE(shader.createVertexShader(DEFAULT_VERTEX_SHADER));
    EXPECT_EQ(GLenum(GL_VERTEX_SHADER), shader.type);
    EXPECT_TRUE(glIsShader(shader.glShader));
    ASSERT_TRUE(shader.createFragmentShader(DEFAULT_FRAGMENT_SHADER));
    EXPECT_EQ(GLenum(GL_FRAGMENT_SHADER), shader.type);
    EXPECT_EQ(1, ResourceCounters::Now()["GLShader"] - before["GLShader"]);
    EXPECT_TRUE(NoGlError());
    shader.destroy();
    shader.destroy();
    EXPECT_EQ(0u, shader.glShader);
    EXPECT_EQ(0u, shader.type);
    EXPECT_EQ(before["GLShader"], ResourceCounters::Now()["GLShader"]);
    EXPECT_EQ((std::vector<std::string>{"Shader glDeleteShader.", "Shader glDeleteShader."}),
              log.messages("KestoShader"));
}

TEST_F(ShaderTest, FailedCompileLogsTheInfoLogAndLeavesNothing) {
    const int32_t glShaders = Shader::GLShadersCount;
    Shader shader;
    LogCapture log;
    EXPECT_FALSE(shader.create(GL_FRAGMENT_SHADER, kBrokenSource));
    EXPECT_TRUE(NoGlError());
    EXPECT_EQ(0u, shader.glShader);
    EXPECT_EQ(glShaders, Shader::GLShadersCount);
    EXPECT_FALSE(shader.create(GL_TEXTURE_2D, DEFAULT_FRAGMENT_SHADER));
    EXPECT_TRUE(NoGlError());
    shader.logShaderInfoLog();  // nothing to log without a GL shader
    EXPECT_EQ(0u, shader.glShader);
    EXPECT_EQ(0u, shader.type);
    EXPECT_EQ(glShaders, Shader::GLShadersCount);
    EXPECT_EQ((std::vector<std::string>{"glCompileShader NG", "ShaderInfoLog:",
                                        "Shader glDeleteShader.", "glCreateShader NG - 00000500"}),
              log.messages("KestoShader"));
    const std::string text = log.text();
    const size_t infoLog = text.find("ShaderInfoLog:\n");
    ASSERT_NE(std::string::npos, infoLog);
    EXPECT_NE(std::string::npos, text.find("error", infoLog)) << text;
}

using ShaderProgramTest = GlTest;

TEST_F(ShaderProgramTest, BuildsAndSetsTheDefaultUniformsOnFirstUse) {
    const ResourceCounters before = ResourceCounters::Now();
    LinkedProgram p(DEFAULT_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    const GLuint program = p.program.glProgram;
    EXPECT_EQ(1, ResourceCounters::Now()["GLProgram"] - before["GLProgram"]);
    GLint current = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    EXPECT_EQ(GLint(program), current);
    EXPECT_EQ(&p.vertex, p.program.vertexShader);
    EXPECT_EQ(&p.fragment, p.program.fragmentShader);
    EXPECT_EQ(-1, p.program.projectionMatrixLocation);
    EXPECT_EQ(-1, p.program.blendColorLocation);

    EXPECT_TRUE(p.program.setupTextureLocation(3, "Sampler0"));
    GLint unit = -1;
    glGetUniformiv(program, glGetUniformLocation(program, "Sampler0"), &unit);
    EXPECT_EQ(3, unit);
    Matrix projection;
    projection.setAsTranslation(1, 2, 3);
    Matrix modelView;
    modelView.setAsScale(2, 3, 4);
    EXPECT_TRUE(p.program.setProjectionMatrix(projection));
    EXPECT_EQ(glGetUniformLocation(program, "BlendColor"), p.program.blendColorLocation);
    EXPECT_TRUE(p.program.setModelViewMatrixMatrix(modelView));
    EXPECT_TRUE(p.program.setBlendColor(0.25f, 0.5f, 0.75f, 1));
    EXPECT_TRUE(p.program.setTextureMatrixLocation(projection));  // no such uniform: ignored
    EXPECT_EQ(-1, p.program.textureMatrixLocation);
    EXPECT_TRUE(NoGlError());
    EXPECT_EQ(Values(projection), Uniform(program, p.program.projectionMatrixLocation, 16));
    EXPECT_EQ(Values(modelView), Uniform(program, p.program.modelViewMatrixLocation, 16));
    EXPECT_EQ((std::vector<float>{0.25f, 0.5f, 0.75f, 1}),
              Uniform(program, p.program.blendColorLocation, 4));

    LogCapture log;
    EXPECT_FALSE(p.program.setupTextureLocation(0, "Nothing"));
    EXPECT_TRUE(log.has("KestoSP", 'E', "setupTextureLocation NG - null location, name:Nothing"));
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
    EXPECT_TRUE(NoGlError());
    program.destroy();
    vertex.destroy();
    const std::string badParameter = "setupTextureLocation parameter NG - texture name: ";
    const char* refusals = R"(attachShader NG - null program
detachShader NG - null program
bindAttribLocation NG - null program
link NG - null program
useProgram NG - null program
setupTextureLocation NG - null program
setupDefaultUniformLocation NG - null program
setProjectionMatrix NG - null program
setModelViewMatrixMatrix NG - null program
setBlendColor NG - null program
setTextureMatrix NG - null program
attachShader NG - null shader
attachShader NG - null gl shader
attachShader NG - illegal shader type 00000DE1
detachShader NG - null shader
ShaderProgram glDeleteProgram.
)";
    EXPECT_EQ(badParameter + Pointer(sampler) + " bindingNum:-1\n" + badParameter +
                  Pointer(nullptr) + " bindingNum:0\n" + refusals,
              Messages(log, "KestoSP"));
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
    std::vector<GLuint> names(attached, attached + count);
    std::vector<GLuint> expected{other.glShader, p.fragment.glShader};
    std::sort(names.begin(), names.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, names) << "the first vertex shader must be detached";

    p.fragment.destroy();
    p.program.detachShader(&p.fragment);
    EXPECT_EQ(nullptr, p.program.fragmentShader);
    EXPECT_TRUE(NoGlError());
    p.program.destroy();
    other.destroy();
    EXPECT_EQ((std::vector<std::string>{
                  "ShaderProgram glDetachShader.", "detachShader NG - null gl shader",
                  "ShaderProgram glDetachShader.", "ShaderProgram glDeleteProgram."}),
              log.messages("KestoSP"));
}

TEST_F(ShaderProgramTest, FailedLinkKeepsTheProgramForItsOwner) {
    const ResourceCounters before = ResourceCounters::Now();
    LogCapture log;
    // The fragment stage reads a varying that this vertex stage never writes.
    LinkedProgram p(NO_TEXTURE_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    EXPECT_FALSE(p.ok);
    EXPECT_TRUE(NoGlError());
    EXPECT_NE(0u, p.program.glProgram);
    EXPECT_EQ(1, ResourceCounters::Now()["GLProgram"] - before["GLProgram"]);
    EXPECT_EQ((std::vector<std::string>{"glGetProgramiv NG", "ProgramInfoLog:"}),
              log.messages("KestoSP"));
    const std::string text = log.text();
    const size_t infoLog = text.find("ProgramInfoLog:\n");
    ASSERT_NE(std::string::npos, infoLog);
    EXPECT_NE('\n', text[infoLog + 16]) << "empty program info log";
}

TEST_F(ShaderProgramTest, WithoutModelViewEverySetterLooksUpAgainAndFails) {
    LinkedProgram p(kNoModelViewVertex, NO_TEXTURE_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    Matrix matrix;
    LogCapture log;
    EXPECT_FALSE(p.program.setProjectionMatrix(matrix));
    EXPECT_FALSE(p.program.setModelViewMatrixMatrix(matrix));
    EXPECT_FALSE(p.program.setTextureMatrixLocation(matrix));
    // The failed look-ups stored the blend colour, so this one needs none.
    EXPECT_NE(-1, p.program.blendColorLocation);
    EXPECT_TRUE(p.program.setBlendColor(0, 0.5f, 1, 1));
    EXPECT_TRUE(NoGlError());
    EXPECT_EQ((std::vector<float>{0, 0.5f, 1, 1}),
              Uniform(p.program.glProgram, p.program.blendColorLocation, 4));
    ASSERT_NE(-1, p.program.projectionMatrixLocation);
    const std::string lookUp = "setupDefaultUniformLocation NG - null location (" +
                               std::to_string(p.program.projectionMatrixLocation) + " -1)";
    EXPECT_EQ((std::vector<std::string>{lookUp, "setProjectionMatrix NG - null location", lookUp,
                                        "setModelViewMatrixMatrix NG - null location", lookUp,
                                        "setTextureMatrix NG - null location"}),
              log.messages("KestoSP"));
}

TEST_F(ShaderProgramTest, TextureMatrixNeedsTheFlagAndSurvivesDestroy) {
    LinkedProgram p(OES_TEXTURE_VERTEXT_SHADER, DEFAULT_FRAGMENT_SHADER);
    ASSERT_TRUE(p.ok);
    const GLuint program = p.program.glProgram;
    const GLint location = glGetUniformLocation(program, "TextureMatrix");
    ASSERT_NE(-1, location);
    Matrix texture;
    texture.setAsScale(0.5f, 2, 1);

    EXPECT_TRUE(p.program.setTextureMatrixLocation(texture));
    EXPECT_EQ(-1, p.program.textureMatrixLocation);
    EXPECT_EQ(std::vector<float>(16, 0.0f), Uniform(program, location, 16));
    p.program.blendColorLocation = -1;  // shows whether the next call looks up again
    EXPECT_TRUE(p.program.setTextureMatrixLocation(texture));
    EXPECT_NE(-1, p.program.blendColorLocation);

    p.program.textureMatrixFlag = 1;
    EXPECT_TRUE(p.program.setTextureMatrixLocation(texture));
    EXPECT_EQ(location, p.program.textureMatrixLocation);
    EXPECT_EQ(Values(texture), Uniform(program, location, 16));
    EXPECT_TRUE(NoGlError());

    p.program.destroy();
    EXPECT_EQ(0u, p.program.glProgram);
    EXPECT_EQ(-1, p.program.projectionMatrixLocation);
    EXPECT_EQ(-1, p.program.modelViewMatrixLocation);
    EXPECT_EQ(-1, p.program.blendColorLocation);
    EXPECT_EQ(location, p.program.textureMatrixLocation);
    EXPECT_EQ(1, p.program.textureMatrixFlag);
}

}  // namespace
}  // namespace kesto
