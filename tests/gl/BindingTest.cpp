// Native methods that need no Java objects, called straight from C++ on engine objects.
#include <gtest/gtest.h>

#include "jni/Binding.h"
#include "scene/Material.h"
#include "scene/Sprite.h"
#include "tests/support/GlFixture.h"

extern "C" {
jint Java_com_xol_kesto2_Kesto2_CreateSprite(JNIEnv*, jclass, jint, jint);
void Java_com_xol_kesto2_Kesto2_DestroySprite(JNIEnv*, jclass, jint);
void Java_com_xol_kesto2_Kesto2_Sprite_1SetColor(JNIEnv*, jclass, jint, jint, jint, jint, jint);
void Java_com_xol_kesto2_Kesto2_Sprite_1SetAlpha(JNIEnv*, jclass, jint, jint, jint);
}

namespace kesto {
namespace {

using BindingTest = test::GlTest;

TEST_F(BindingTest, ColourComponentsKeepTheirLowEightBits) {
    const jint environment = jni::Register(env, jni::Kind::ENVIRONMENT);
    const jint handle = Java_com_xol_kesto2_Kesto2_CreateSprite(nullptr, nullptr, environment, 1);
    Sprite* sprite;
    ASSERT_TRUE(jni::Resolve("test", handle, &sprite));
    Java_com_xol_kesto2_Kesto2_Sprite_1SetColor(nullptr, nullptr, handle, 0, 300, -1, 255);
    Java_com_xol_kesto2_Kesto2_Sprite_1SetAlpha(nullptr, nullptr, handle, 0, 256);
    Material* material = sprite->getLayerMaterial(0);
    EXPECT_EQ(static_cast<float>(44 / 255.0), material->red);
    EXPECT_EQ(1.0f, material->green);
    EXPECT_EQ(1.0f, material->blue);
    EXPECT_EQ(0.0f, material->alpha);
    EXPECT_EQ(handle, sprite->bindingHandle);
    Java_com_xol_kesto2_Kesto2_DestroySprite(nullptr, nullptr, handle);
    jni::Handles().remove(environment);
}

}  // namespace
}  // namespace kesto
