#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/Accounting.h"
#include "shader/DefaultShader.h"
#include "shader/ShaderManager.h"
#include "tests/support/GlFixture.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using namespace DefaultShader;
using test::GlTest;
using test::LogCapture;
using test::ResourceCounters;

constexpr char kBrokenSource[] = "void main(){ nonsense }";

::testing::AssertionResult NoGlError() {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "GL error " << std::hex << error;
}

TEST(DefaultShaderTest, SourcesAreTheExactTexts) {
    const std::vector<std::pair<const char*, size_t>> sources = {
        {DEFAULT_VERTEX_SHADER, 224},      {DEFAULT_FRAGMENT_SHADER, 170},
        {NO_TEXTURE_VERTEX_SHADER, 156},   {NO_TEXTURE_FRAGMENT_SHADER, 87},
        {NO_TRANSFORM_VERTEX_SHADER, 128}, {BLUR_FRAGMENT_SHADER, 600},
        {OES_TEXTURE_VERTEXT_SHADER, 310}, {OES_TEXTURE_FRAGMENT_SHADER, 229},
    };
    for (const auto& [source, length] : sources) {
        EXPECT_EQ(length, std::strlen(source)) << source;
        const std::string text = source;
        const bool oes = source == OES_TEXTURE_FRAGMENT_SHADER;
        EXPECT_EQ(oes ? 46 : std::string::npos, text.find('\n')) << source;
    }
    EXPECT_EQ(std::string("precision mediump float;"),
              std::string(OES_TEXTURE_FRAGMENT_SHADER + 47, 24));
    EXPECT_EQ(21u, std::strlen(OES_TEXTURE_SP));
}

// A manager of its own on the fixture's context, so registration starts from scratch; deleting it
// must give back every GL object and allocation it made.
class ShaderManagerTest : public GlTest {
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
    const std::pair<const char*, const char*> shaders[] = {
        {DEFAULT_VS, DEFAULT_VERTEX_SHADER},
        {DEFAULT_FS, DEFAULT_FRAGMENT_SHADER},
        {NO_TEXTURE_VS, NO_TEXTURE_VERTEX_SHADER},
        {NO_TEXTURE_FS, NO_TEXTURE_FRAGMENT_SHADER},
        {NO_TRANSFORM_VS, NO_TRANSFORM_VERTEX_SHADER},
        {BLUR_FS, BLUR_FRAGMENT_SHADER},
        {OES_TEXTURE_VS, OES_TEXTURE_VERTEXT_SHADER},
        {OES_TEXTURE_FS, OES_TEXTURE_FRAGMENT_SHADER},
    };
    for (const auto& [name, source] : shaders) {
        const bool vertex = name[std::strlen(name) - 2] == 'V';
        ASSERT_TRUE(vertex ? manager->registerVertexShader(name, source)
                           : manager->registerFragmentShader(name, source));
    }
    const struct {
        const char* name;
        const char* vertex;
        const char* fragment;
        const char** attributes;
        const char** samplers;
        int attributeCount;
    } programs[] = {
        {DEFAULT_SP, DEFAULT_VS, DEFAULT_FS, POSITION_TEXCOORD_ATTRIBUTES, SAMPLER0_SAMPLERS, 2},
        {NO_TEXTURE_SP, NO_TEXTURE_VS, NO_TEXTURE_FS, POSITION_ATTRIBUTES, nullptr, 1},
        {POST_PROCESS_BLUR_SP, NO_TRANSFORM_VS, BLUR_FS, POSITION_TEXCOORD_ATTRIBUTES,
         SAMPLER0_SAMPLERS, 2},
        {BLUR_SP, DEFAULT_VS, BLUR_FS, POSITION_TEXCOORD_ATTRIBUTES, SAMPLER0_SAMPLERS, 2},
        {OES_TEXTURE_SP, OES_TEXTURE_VS, OES_TEXTURE_FS, POSITION_TEXCOORD_ATTRIBUTES, nullptr, 2},
    };
    for (const auto& p : programs) {
        ASSERT_TRUE(
            manager->registerShaderProgram(p.name, p.vertex, p.fragment, p.attributes, p.samplers));
    }
    EXPECT_EQ(0, Grown("GLShader"));

    auto* record = manager->programs.head;
    for (const auto& p : programs) {
        ASSERT_NE(nullptr, record);
        EXPECT_EQ(p.attributeCount, record->value.attributeNames.count) << p.name;
        EXPECT_EQ(0, record->value.samplerNames.count) << p.name;
        record = record->next;

        ShaderProgram* program = manager->getShaderProgram(p.name);
        ASSERT_NE(nullptr, program) << p.name;
        EXPECT_TRUE(NoGlError()) << p.name;
        GLint linked = 0;
        GLint current = 0;
        glGetProgramiv(program->glProgram, GL_LINK_STATUS, &linked);
        glGetIntegerv(GL_CURRENT_PROGRAM, &current);
        EXPECT_EQ(GL_TRUE, linked) << p.name;
        EXPECT_EQ(GLint(program->glProgram), current) << p.name;
        EXPECT_EQ(p.name == OES_TEXTURE_SP ? 1 : 0, program->textureMatrixFlag) << p.name;
        EXPECT_EQ(program, manager->getShaderProgram(p.name)) << p.name;
    }
    EXPECT_EQ(8, Grown("GLShader"));
    EXPECT_EQ(8, Grown("Shader"));
    EXPECT_EQ(5, Grown("GLProgram"));
    EXPECT_EQ(manager->getShaderProgram(DEFAULT_SP)->vertexShader,
              manager->getShaderProgram(BLUR_SP)->vertexShader);
    EXPECT_EQ(manager->getShaderProgram(POST_PROCESS_BLUR_SP)->fragmentShader,
              manager->getShaderProgram(BLUR_SP)->fragmentShader);
    // Post-processing draws in clip space: it has no matrices to set.
    ShaderProgram* postProcess = manager->getShaderProgram(POST_PROCESS_BLUR_SP);
    ASSERT_TRUE(postProcess->useProgram());
    EXPECT_FALSE(postProcess->setProjectionMatrix(Matrix()));
    EXPECT_TRUE(postProcess->setBlendColor(1, 1, 1, 1));
    EXPECT_TRUE(NoGlError());

    // Programs go first, so every detach finds its shader still alive.
    LogCapture log;
    DeleteObject(manager);
    manager = nullptr;
    std::vector<std::string> order;
    for (const auto& line : log.lines()) {
        EXPECT_NE('E', line.priority) << line.message;
        if (order.empty() || order.back() != line.tag) {
            order.push_back(line.tag);
        }
    }
    EXPECT_EQ((std::vector<std::string>{"KestoSP", "KestoShader"}), order);
    EXPECT_EQ(5, log.count("KestoSP", 'I', "ShaderProgram glDeleteProgram."));
    EXPECT_EQ(8, log.count("KestoShader", 'I', "Shader glDeleteShader."));
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
    const ShaderManager::ShaderData& first = manager->shaders.head->value;
    EXPECT_STREQ(DEFAULT_VERTEX_SHADER, first.source);
    EXPECT_NE(DEFAULT_VERTEX_SHADER, first.source);
    EXPECT_EQ(GLenum(GL_VERTEX_SHADER), first.type);
    EXPECT_NE(nullptr, manager->getShaderProgram("V")) << "the first source must win";
    EXPECT_EQ((std::vector<std::string>{"registerShaderProgram NG - program V already exists",
                                        "registerShader NG - new dataName",
                                        "registerShader NG - new dataSrc"}),
              log.messages("KestoSM"));
}

TEST_F(ShaderManagerTest, SamplersAreListedOnlyWithoutAttributes) {
    const char* attributes[] = {"position", "texCoord", nullptr};
    const char* samplers[] = {"Sampler0", "Sampler1", nullptr};
    const ResourceCounters start = ResourceCounters::Now();
    ASSERT_TRUE(manager->registerShaderProgram("A", "V", "F", attributes, samplers));
    // One list node per record and name, one array per name copy.
    EXPECT_EQ(3, ResourceCounters::Now()["new"] - start["new"]);
    EXPECT_EQ(5, ResourceCounters::Now()["new[]"] - start["new[]"]);
    ASSERT_TRUE(manager->registerShaderProgram("B", "V", "F", nullptr, samplers));
    const auto& a = manager->programs.head->value;
    const auto& b = manager->programs.tail->value;
    ASSERT_EQ(2, a.attributeNames.count);
    EXPECT_EQ(0, a.samplerNames.count);
    EXPECT_STREQ("position", a.attributeNames.head->value);
    EXPECT_STREQ("texCoord", a.attributeNames.tail->value);
    EXPECT_NE(attributes[0], a.attributeNames.head->value);
    EXPECT_EQ(0, b.attributeNames.count);
    EXPECT_EQ(0, b.samplerNames.count);

    const ResourceCounters listed = ResourceCounters::Now();
    List<const char*> names;
    LogCapture log;
    EXPECT_FALSE(manager->setupNameList(names, nullptr));
    EXPECT_TRUE(manager->setupNameList(names, samplers));
    EXPECT_EQ(2, names.count);
    manager->destroyNameList(names);
    EXPECT_EQ(0, names.count);
    EXPECT_EQ(listed, ResourceCounters::Now());
    EXPECT_EQ((std::vector<std::string>{"setupNameList NG - name Array is null"}),
              log.messages("KestoSM"));
}

TEST_F(ShaderManagerTest, FailedBuildsReleaseWhatTheyMadeAndRetry) {
    // Registered before its shaders: names are resolved only when the program is built.
    ASSERT_TRUE(manager->registerShaderProgram("P", "V", "BAD", POSITION_ATTRIBUTES, nullptr));
    ASSERT_TRUE(manager->registerShaderProgram("M", "NOPE", "F", POSITION_ATTRIBUTES, nullptr));
    ASSERT_TRUE(manager->registerShaderProgram("L", "V", "F", POSITION_ATTRIBUTES, nullptr));
    ASSERT_TRUE(manager->registerVertexShader("V", NO_TEXTURE_VERTEX_SHADER));
    ASSERT_TRUE(manager->registerFragmentShader("BAD", kBrokenSource));
    // Reads a varying the vertex stage never writes: compiles, does not link.
    ASSERT_TRUE(manager->registerFragmentShader("F", DEFAULT_FRAGMENT_SHADER));
    LogCapture log;
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(nullptr, manager->getShaderProgram("P"));
        EXPECT_EQ(nullptr, manager->getShaderProgram("M"));
        EXPECT_EQ(nullptr, manager->getShaderProgram("L"));
        EXPECT_TRUE(NoGlError());
    }
    EXPECT_EQ(nullptr, manager->getShaderProgram(nullptr));
    EXPECT_EQ(nullptr, manager->getShaderProgram("UNKNOWN"));
    EXPECT_EQ(nullptr, manager->getShader(nullptr));
    for (auto* node = manager->programs.head; node != nullptr; node = node->next) {
        EXPECT_EQ(nullptr, node->value.program) << node->value.name;
    }
    EXPECT_EQ(2, Grown("GLShader")) << "V and F stay compiled";
    EXPECT_EQ(0, Grown("GLProgram"));
    EXPECT_EQ(0, Grown("Program"));
    EXPECT_EQ(2, log.count("KestoShader", 'E', "glCompileShader NG"));
    const std::string perAttempt[] = {
        "getShader - createShader NG name:BAD, src:void main(){ nonsense }",
        "getShaderProgram - getShader NG, type: fragment",
        "getShader NG - can't find shader name: NOPE",
        "getShaderProgram - getShader NG, type: vertex",
        "getShaderProgram link NG",
    };
    for (const std::string& message : perAttempt) {
        EXPECT_EQ(2, log.count("KestoSM", 'E', message)) << message;
    }
    EXPECT_TRUE(log.has("KestoSM", 'E', "getShaderProgram NG - shader program name is null"));
    EXPECT_TRUE(
        log.has("KestoSM", 'E', "getShaderProgram NG - can't find shader program name: UNKNOWN"));
    EXPECT_TRUE(log.has("KestoSM", 'E', "getShader NG - shader name is null"));
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
    EXPECT_TRUE(NoGlError());
}

TEST_F(ShaderManagerTest, SamplerListBindsTextureUnitsInOrder) {
    ASSERT_TRUE(manager->registerVertexShader("V", NO_TEXTURE_VERTEX_SHADER));
    ASSERT_TRUE(manager->registerFragmentShader(
        "F",
        "precision mediump float;uniform sampler2D A;uniform sampler2D B;"
        "void main(){gl_FragColor = texture2D(A, vec2(0.0)) + texture2D(B, vec2(0.0));}"));
    // Registration never lists samplers beside attributes; fill the lists directly to reach the
    // binding step.
    const char* samplers[] = {"A", "B", nullptr};
    const char* missing[] = {"A", "C", nullptr};
    ASSERT_TRUE(manager->registerShaderProgram("P", "V", "F", nullptr, nullptr));
    ASSERT_TRUE(manager->setupNameList(manager->programs.tail->value.samplerNames, samplers));
    ASSERT_TRUE(manager->registerShaderProgram("Q", "V", "F", nullptr, nullptr));
    ASSERT_TRUE(manager->setupNameList(manager->programs.tail->value.samplerNames, missing));

    const GLuint program = manager->getShaderProgram("P")->glProgram;
    GLint units[2] = {-1, -1};
    glGetUniformiv(program, glGetUniformLocation(program, "A"), &units[0]);
    glGetUniformiv(program, glGetUniformLocation(program, "B"), &units[1]);
    EXPECT_EQ(0, units[0]);
    EXPECT_EQ(1, units[1]);
    LogCapture log;
    EXPECT_EQ(nullptr, manager->getShaderProgram("Q"));
    EXPECT_EQ(nullptr, manager->programs.tail->value.program);
    EXPECT_TRUE(NoGlError());
    EXPECT_EQ(1, Grown("GLProgram"));
    EXPECT_TRUE(log.has("KestoSP", 'E', "setupTextureLocation NG - null location, name:C"));
    EXPECT_TRUE(log.has("KestoSM", 'E', "getShaderProgram setupTextureLocation NG"));
}

}  // namespace
}  // namespace kesto
