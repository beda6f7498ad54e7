#include <gtest/gtest.h>

#include <GLES2/gl2.h>

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
using test::LogCapture;
using test::ResourceCounters;
using Strings = std::vector<std::string>;

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

}  // namespace
}  // namespace kesto
