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
    EXPECT_EQ(2, log.count("KestoSP", 'E', "ProgramInfoLog:")) << "L's link failure, with GL's words";
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

}  // namespace
}  // namespace kesto
