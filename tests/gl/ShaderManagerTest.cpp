#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/Accounting.h"
#include "gl/Context.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderManager.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using namespace DefaultShader;
using test::LogCapture;
using test::ResourceCounters;
using Strings = std::vector<std::string>;

constexpr char kBrokenSource[] = "void main(){ nonsense }";

// The lines logged under `tag`, or under any tag, as "tag priority message".
Strings Lines(LogCapture& log, const char* tag = nullptr) {
    Strings lines;
    for (const test::LogLine& line : log.lines()) {
        if (tag == nullptr || line.tag == tag) {
            lines.push_back(line.tag + " " + line.priority + " " + line.message);
        }
    }
    return lines;
}

TEST(DefaultShaderTest, SourcesAreTheExactTexts) {
    const std::pair<const char*, size_t> sources[] = {
        {DEFAULT_VERTEX_SHADER, 224},      {DEFAULT_FRAGMENT_SHADER, 170},
        {NO_TEXTURE_VERTEX_SHADER, 156},   {NO_TEXTURE_FRAGMENT_SHADER, 87},
        {NO_TRANSFORM_VERTEX_SHADER, 128}, {BLUR_FRAGMENT_SHADER, 600},
        {OES_TEXTURE_VERTEXT_SHADER, 310}, {OES_TEXTURE_FRAGMENT_SHADER, 229},
    };
    for (const auto& [source, length] : sources) {
        EXPECT_EQ(length, std::strlen(source)) << source;
        const bool oes = source == OES_TEXTURE_FRAGMENT_SHADER;
        EXPECT_EQ(oes ? 46 : std::string::npos, std::string(source).find('\n')) << source;
    }
    EXPECT_EQ("precision mediump float;", std::string(OES_TEXTURE_FRAGMENT_SHADER + 47, 24));
    EXPECT_EQ(21u, std::strlen(OES_TEXTURE_SP));
}

// A manager of its own on the fixture's context, so registration starts from scratch; deleting it
// must give back every GL object and allocation it made.
class ShaderManagerTest : public test::GlTest {
  protected:
    void SetUp() override {
        GlTest::SetUp();
        before = ResourceCounters::Now();
        manager = NewObject<ShaderManager>();
        ASSERT_NE(nullptr, manager);
    }
    void TearDown() override {
        DeleteObject(manager);
        EXPECT_EQ(before, ResourceCounters::Now());
        GlTest::TearDown();
    }
    int32_t Grown(const char* counter) const {
        return ResourceCounters::Now()[counter] - before[counter];
    }
    void RegisterDefaults(const char* vertex, const char* fragment) {
        ASSERT_TRUE(manager->registerVertexShader("V", vertex));
        ASSERT_TRUE(manager->registerFragmentShader("F", fragment));
    }

    ResourceCounters before{};
    ShaderManager* manager = nullptr;
};

TEST_F(ShaderManagerTest, BuiltInProgramsBuildOnFirstRequestAndShareShaders) {
    ASSERT_TRUE(Context::RegisterBuiltInShaders(manager));
    EXPECT_EQ(0, Grown("GLShader"));
    for (const char* name :
         {DEFAULT_SP, NO_TEXTURE_SP, POST_PROCESS_BLUR_SP, BLUR_SP, OES_TEXTURE_SP}) {
        ShaderProgram* program = manager->getShaderProgram(name);
        ASSERT_NE(nullptr, program) << name;
        GLint current = 0;
        glGetIntegerv(GL_CURRENT_PROGRAM, &current);
        EXPECT_EQ(GLint(program->glProgram), current) << name;
        EXPECT_EQ(program, manager->getShaderProgram(name)) << name;
    }
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    // Two of the eight shaders serve two programs each.
    EXPECT_EQ(8, Grown("GLShader"));
    EXPECT_EQ(8, Grown("Shader"));
    EXPECT_EQ(5, Grown("GLProgram"));

    // Programs go first, so every detach finds its shader still alive.
    LogCapture log;
    DeleteObject(manager);
    manager = nullptr;
    Strings expected;
    for (int i = 0; i < 5; ++i) {
        expected.insert(expected.end(), 2, "KestoSP I ShaderProgram glDetachShader.");
        expected.push_back("KestoSP I ShaderProgram glDeleteProgram.");
    }
    expected.insert(expected.end(), 8, "KestoShader I Shader glDeleteShader.");
    EXPECT_EQ(expected, Lines(log));
}

TEST_F(ShaderManagerTest, RegistrationCopiesAndRefusesDuplicates) {
    LogCapture log;
    EXPECT_TRUE(manager->registerVertexShader("V", DEFAULT_VERTEX_SHADER));
    EXPECT_FALSE(manager->registerVertexShader("V", kBrokenSource));
    EXPECT_FALSE(manager->registerFragmentShader("V", DEFAULT_FRAGMENT_SHADER));
    EXPECT_TRUE(manager->registerFragmentShader("v", DEFAULT_FRAGMENT_SHADER));
    // Program names live apart from shader names.
    EXPECT_TRUE(
        manager->registerShaderProgram("V", "V", "v", POSITION_TEXCOORD_ATTRIBUTES, nullptr));
    EXPECT_FALSE(manager->registerShaderProgram("V", "V", "v", nullptr, nullptr));
    EXPECT_FALSE(manager->registerShader(nullptr, DEFAULT_VERTEX_SHADER, GL_VERTEX_SHADER));
    EXPECT_FALSE(manager->registerShader("S", nullptr, GL_VERTEX_SHADER));
    EXPECT_EQ(2, manager->shaders.count);
    EXPECT_EQ(1, manager->programs.count);
    const char* source = manager->shaders.head->value.source;
    EXPECT_STREQ(DEFAULT_VERTEX_SHADER, source);
    EXPECT_NE(DEFAULT_VERTEX_SHADER, source);
    EXPECT_NE(nullptr, manager->getShaderProgram("V")) << "the first source must win";
    EXPECT_EQ((Strings{"KestoSM E registerShaderProgram NG - program V already exists",
                       "KestoSM E registerShader NG - new dataName",
                       "KestoSM E registerShader NG - new dataSrc"}),
              Lines(log));
}

TEST_F(ShaderManagerTest, SamplersAreListedOnlyWithoutAttributes) {
    const char* attributes[] = {"position", "texCoord", nullptr};
    const char* samplers[] = {"Sampler0", "Sampler1", nullptr};
    // Besides the manager: a list node for the record and for every name listed, and an array for
    // every name copied. The attributes are listed, the samplers are not, not even without them.
    ASSERT_TRUE(manager->registerShaderProgram("A", "V", "F", attributes, samplers));
    EXPECT_EQ(1 + 3, Grown("new"));
    EXPECT_EQ(3 + 2, Grown("new[]"));
    ASSERT_TRUE(manager->registerShaderProgram("B", "V", "F", nullptr, samplers));
    EXPECT_EQ(4 + 1, Grown("new"));
    EXPECT_EQ(5 + 3, Grown("new[]"));

    const ResourceCounters listed = ResourceCounters::Now();
    List<const char*> names;
    LogCapture log;
    EXPECT_FALSE(manager->setupNameList(names, nullptr));
    EXPECT_TRUE(manager->setupNameList(names, samplers));
    EXPECT_EQ(2, names.count);
    manager->destroyNameList(names);
    EXPECT_EQ(0, names.count);
    EXPECT_EQ(listed, ResourceCounters::Now());
    EXPECT_EQ(Strings{"KestoSM E setupNameList NG - name Array is null"}, Lines(log));
}

TEST_F(ShaderManagerTest, FailedBuildsReleaseWhatTheyMadeAndRetry) {
    // Registered before its shaders: names are resolved only when the program is built.
    ASSERT_TRUE(manager->registerShaderProgram("P", "V", "BAD", POSITION_ATTRIBUTES, nullptr));
    ASSERT_TRUE(manager->registerShaderProgram("M", "NOPE", "F", POSITION_ATTRIBUTES, nullptr));
    ASSERT_TRUE(manager->registerShaderProgram("L", "V", "F", POSITION_ATTRIBUTES, nullptr));
    // F reads a varying that V never writes: both compile, they do not link.
    RegisterDefaults(NO_TEXTURE_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    ASSERT_TRUE(manager->registerFragmentShader("BAD", kBrokenSource));
    LogCapture log;
    for (int attempt = 0; attempt < 2; ++attempt) {
        for (const char* name : {"P", "M", "L", static_cast<const char*>(nullptr), "UNKNOWN"}) {
            EXPECT_EQ(nullptr, manager->getShaderProgram(name));
        }
    }
    EXPECT_EQ(nullptr, manager->getShader(nullptr));
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ(2, Grown("GLShader")) << "V and F stay compiled";
    EXPECT_EQ(0, Grown("GLProgram"));
    EXPECT_EQ(0, Grown("Program"));
    EXPECT_EQ(2, log.count("KestoShader", 'E', "glCompileShader NG"));
    Strings expected;
    for (int attempt = 0; attempt < 2; ++attempt) {
        expected.insert(
            expected.end(),
            {"KestoSM E getShader - createShader NG name:BAD, src:void main(){ nonsense }",
             "KestoSM E getShaderProgram - getShader NG, type: fragment",
             "KestoSM E getShader NG - can't find shader name: NOPE",
             "KestoSM E getShaderProgram - getShader NG, type: vertex",
             "KestoSM E getShaderProgram link NG",
             "KestoSM E getShaderProgram NG - shader program name is null",
             "KestoSM E getShaderProgram NG - can't find shader program name: UNKNOWN"});
    }
    expected.push_back("KestoSM E getShader NG - shader name is null");
    EXPECT_EQ(expected, Lines(log, "KestoSM"));
}

TEST_F(ShaderManagerTest, TextureMatrixFlagFollowsTheNamePrefix) {
    RegisterDefaults(DEFAULT_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    for (const char* name :
         {"_KESTO_OES_TEXTURE_SP", "_KESTO_OES_TEXTURE_SP_2", "_KESTO_OES_TEXTURE_S",
          "X_KESTO_OES_TEXTURE_SP", "_kesto_oes_texture_sp"}) {
        ASSERT_TRUE(manager->registerShaderProgram(name, "V", "F", nullptr, nullptr));
        ShaderProgram* program = manager->getShaderProgram(name);
        ASSERT_NE(nullptr, program) << name;
        EXPECT_EQ(std::strncmp(name, "_KESTO_OES_TEXTURE_SP", 21) == 0 ? 1 : 0,
                  program->textureMatrixFlag)
            << name;
    }
}

TEST_F(ShaderManagerTest, AttributesAreBoundOnlyAfterTheLink) {
    RegisterDefaults(DEFAULT_VERTEX_SHADER, DEFAULT_FRAGMENT_SHADER);
    const char* reversed[] = {"texCoord", "position", nullptr};
    ASSERT_TRUE(manager->registerShaderProgram("P", "V", "F", reversed, nullptr));
    ASSERT_TRUE(manager->registerShaderProgram("Q", "V", "F", nullptr, nullptr));
    const GLuint bound = manager->getShaderProgram("P")->glProgram;
    const GLuint unbound = manager->getShaderProgram("Q")->glProgram;
    // In force: what the link chose on its own, the same as for a program without bindings.
    EXPECT_EQ(glGetAttribLocation(unbound, "position"), glGetAttribLocation(bound, "position"));
    EXPECT_EQ(glGetAttribLocation(unbound, "texCoord"), glGetAttribLocation(bound, "texCoord"));
    glLinkProgram(bound);  // the recorded bindings show on the next link
    EXPECT_EQ(0, glGetAttribLocation(bound, "texCoord"));
    EXPECT_EQ(1, glGetAttribLocation(bound, "position"));
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
}

TEST_F(ShaderManagerTest, SamplerListBindsTextureUnitsInOrder) {
    RegisterDefaults(
        NO_TEXTURE_VERTEX_SHADER,
        "precision mediump float;uniform sampler2D A;uniform sampler2D B;"
        "void main(){gl_FragColor = texture2D(A, vec2(0.0)) + texture2D(B, vec2(0.0));}");
    // Registration never lists samplers beside attributes; fill the lists directly to reach the
    // binding step.
    const char* samplers[] = {"A", "B", nullptr};
    const char* missing[] = {"A", "C", nullptr};
    ASSERT_TRUE(manager->registerShaderProgram("P", "V", "F", nullptr, nullptr));
    ASSERT_TRUE(manager->setupNameList(manager->programs.tail->value.samplerNames, samplers));
    ASSERT_TRUE(manager->registerShaderProgram("Q", "V", "F", nullptr, nullptr));
    ASSERT_TRUE(manager->setupNameList(manager->programs.tail->value.samplerNames, missing));

    const GLuint program = manager->getShaderProgram("P")->glProgram;
    for (GLint unit : {0, 1}) {
        GLint bound = -1;
        glGetUniformiv(program, glGetUniformLocation(program, samplers[unit]), &bound);
        EXPECT_EQ(unit, bound) << samplers[unit];
    }
    LogCapture log;
    EXPECT_EQ(nullptr, manager->getShaderProgram("Q"));
    EXPECT_EQ(nullptr, manager->programs.tail->value.program);
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    EXPECT_EQ(1, Grown("GLProgram"));
    EXPECT_EQ((Strings{"KestoSP E setupTextureLocation NG - null location, name:C",
                       "KestoSM E getShaderProgram setupTextureLocation NG",
                       "KestoSP I ShaderProgram glDetachShader.",
                       "KestoSP I ShaderProgram glDetachShader.",
                       "KestoSP I ShaderProgram glDeleteProgram."}),
              Lines(log));
}

}  // namespace
}  // namespace kesto
