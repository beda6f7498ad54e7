#include <gtest/gtest.h>

#include "core/Accounting.h"
#include "gl/VertexBuffer.h"
#include "scene/Material.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderProgram.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::LogCapture;
using VertexBufferTest = test::GlTest;
using MaterialTest = test::GlTest;

TEST_F(VertexBufferTest, LayoutFollowsTheFlags) {
    VertexBuffer vb(env);
    ASSERT_TRUE(vb.allocateBuffer(3, 4));
    vb.setVertexPosition(2, 1, 2, 3);
    vb.setVertexTextureCoordinates(2, 0.5f, 0.25f);
    EXPECT_EQ(3.0f, vb.getVertexPosition(2)->z);
    EXPECT_EQ(0.25f, vb.getVertexTextureCoordinates(2)->y);
    const float* raw = reinterpret_cast<const float*>(vb.buffer);
    EXPECT_EQ(1.0f, raw[10]);  // x y z u v, interleaved
    EXPECT_EQ(0.5f, raw[13]);

    // Texture coordinates only: the position getter still answers, by the texture bit.
    ASSERT_TRUE(vb.allocateBuffer(2, 4));
    EXPECT_EQ(reinterpret_cast<Vector*>(vb.buffer + 8), vb.getVertexPosition(1));

    ASSERT_TRUE(vb.allocateBuffer(1, 4));
    LogCapture log;
    Vector* dummy = vb.getVertexPosition(0);
    EXPECT_EQ(dummy, vb.getVertexPosition(9));
    EXPECT_EQ(0.0f, dummy->x);
    vb.setVertexPosition(4, 9, 9, 9);
    vb.setVertexTextureCoordinates(0, 9, 9);
    EXPECT_EQ((std::vector<std::string>{"getVertexPosition NG - No position",
                                        "getVertexPosition index NG - 9/4",
                                        "setVertexPosition index NG - 4/4",
                                        "setVertexTextureCoordinates NG - No texture coordinates"}),
              log.messages("VertexBuffer"));
}

TEST_F(VertexBufferTest, GlCopyIsMadeOnceAndDiscardedByEdits) {
    VertexBuffer vb(env);
    ASSERT_TRUE(vb.allocateBuffer(3, 4));
    {
        LogCapture log;
        EXPECT_FALSE(vb.bindGLBuffer(nullptr));
        const std::vector<std::string> messages = log.messages("VertexBuffer");
        ASSERT_EQ(1u, messages.size());
        EXPECT_EQ(0u, messages[0].rfind("bindGLBuffer NG - 00000000 ", 0));
        EXPECT_NE(std::string::npos, messages[0].find(" 80"));
        EXPECT_EQ(0u, vb.glBuffer);
    }
    ASSERT_TRUE(vb.bindGLBuffer(context));
    const GLuint first = vb.glBuffer;
    GLint size = 0;
    glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &size);
    EXPECT_EQ(80, size);
    EXPECT_EQ(1, env->glArrayBufferCount);
    EXPECT_EQ(1, context->vertexBufferCount);
    EXPECT_EQ(80, context->vertexBufferBytes);
    EXPECT_EQ(context, vb.glContext());

    ASSERT_TRUE(vb.bindGLBuffer(context));
    EXPECT_EQ(first, vb.glBuffer) << "no edit, no upload";
    EXPECT_EQ(1, context->vertexBufferRegisterCount);

    vb.setVertexPosition(0, 5, 5, 5);
    EXPECT_EQ(0u, vb.glBuffer);
    EXPECT_FALSE(glIsBuffer(first));
    EXPECT_EQ(0, env->glArrayBufferCount);
    EXPECT_EQ(0, context->vertexBufferCount);
    ASSERT_TRUE(vb.bindGLBuffer(context));
    EXPECT_EQ(2, context->vertexBufferRegisterCount);

    vb.freeBuffer();
    EXPECT_EQ(0, env->glArrayBufferCount);
    EXPECT_EQ(nullptr, vb.buffer);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

TEST_F(MaterialTest, UniformVariablesKeepTheirShape) {
    test::CountersRestored restored;
    Material material;
    float two[2] = {1, 2};
    float three[3] = {1, 2, 3};
    int ints[2] = {1, 2};
    LogCapture log;
    ASSERT_TRUE(material.setUniformVariable("TextureSize", 2, two));
    EXPECT_FALSE(material.setUniformVariable("TextureSize", 3, three));
    EXPECT_FALSE(material.setUniformVariable("TextureSize", 2, ints));
    EXPECT_FALSE(material.setUniformVariable("Odd", 1, static_cast<Material::UniformType>(7), two));
    EXPECT_FALSE(material.setUniformVariable("TextureSize", 5, two));
    EXPECT_TRUE(material.setUniformVariable("Empty", 0, two));
    EXPECT_EQ(2, material.uniformVariables.count);
    const std::vector<std::string> messages = log.messages("KestoMaterial");
    ASSERT_EQ(4u, messages.size());
    EXPECT_EQ("setUniformVariable NG - num doesn't match. old num: 2 new num:3", messages[0]);
    EXPECT_EQ("setUniformVariable NG - type doesn't match. old type: 1 new type:0", messages[1]);
    EXPECT_EQ("setUniformVariable NG - unknow", messages[2]);
    EXPECT_EQ(0u, messages[3].rfind("setUniformVariable NG - parameter NG, name:", 0));
    material.clearUniformVariable();
    EXPECT_EQ(0, material.uniformVariables.count);
}

TEST_F(MaterialTest, UpdateWritesInOrderAndStopsAtTheFirstMissingName) {
    ShaderProgram* blur = context->getShaderProgram(DefaultShader::BLUR_SP);
    ASSERT_NE(nullptr, blur);
    const GLuint program = blur->glProgram;
    Material material;
    float size[2] = {0.25f, 0.5f};
    float colour[4] = {0.1f, 0.2f, 0.3f, 0.4f};
    ASSERT_TRUE(material.setUniformVariable("TextureSize", 2, size));
    ASSERT_TRUE(material.setUniformVariable("Missing", 1, size));
    ASSERT_TRUE(material.setUniformVariable("BlendColor", 4, colour));
    {
        LogCapture log;
        EXPECT_FALSE(material.updateUniformVariable(program));
        char expected[96];
        std::snprintf(expected, sizeof expected,
                      "updateUniformVariable NG - null location, program:%u name:Missing", program);
        EXPECT_TRUE(log.has("KestoMaterial", 'E', expected));
    }
    GLfloat read[4] = {};
    glGetUniformfv(program, glGetUniformLocation(program, "TextureSize"), read);
    EXPECT_EQ(0.5f, read[1]) << "written before the failure";
    glGetUniformfv(program, glGetUniformLocation(program, "BlendColor"), read);
    EXPECT_NE(0.4f, read[3]) << "never reached";

    Material good;
    ASSERT_TRUE(good.setUniformVariable("BlendColor", 4, colour));
    ASSERT_TRUE(good.setUniformVariable("TextureSize", 0, size));  // looked up, writes nothing
    ASSERT_TRUE(good.updateUniformVariable(program));
    glGetUniformfv(program, glGetUniformLocation(program, "BlendColor"), read);
    EXPECT_EQ(0.4f, read[3]);
    EXPECT_NE(-1, good.uniformVariables.tail->value.location);

    LogCapture log;
    EXPECT_FALSE(good.updateUniformVariable(0));
    EXPECT_TRUE(log.has("KestoMaterial", 'E', "updateUniformVariable NG - program is null"));
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

}  // namespace
}  // namespace kesto
