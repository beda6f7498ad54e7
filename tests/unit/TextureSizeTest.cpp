// Packed texture sizes: the setup paths record them without GL, so they are checked here.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "gl/Environment.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "tests/support/Counters.h"
#include "tests/support/LogCapture.h"

namespace kesto {
namespace {

using test::CountersRestored;

class TextureSizeTest : public ::testing::Test {
  protected:
    CountersRestored restored;
    Environment env;
};

// Each dimension has all sixteen bits: a width of 0x8000 or more sets the packed value's sign bit,
// and must still read back as itself. Beyond sixteen bits a size is refused and nothing recorded.
TEST_F(TextureSizeTest, SixteenBitsASideReadBackUnsignedAndMoreAreRefused) {
    Texture texture(&env);
    ASSERT_TRUE(texture.init());
    const auto size = [&texture] {
        return std::make_pair(texture.textureWidth(), texture.textureHeight());
    };
    Bitmap wide, widest, tooWide;
    NativeBitmap native;
    ASSERT_TRUE(wide.allocateBitmap(PIXEL_FORMAT_RGB565, 0x8000, 1));
    ASSERT_TRUE(widest.allocateBitmap(PIXEL_FORMAT_RGBA5551, 0xFFFF, 2));
    ASSERT_TRUE(native.allocateBitmap(PIXEL_FORMAT_RGB565, 0x9000, 2));
    ASSERT_TRUE(tooWide.allocateBitmap(PIXEL_FORMAT_RGB565, 0x10000, 1));
    ASSERT_TRUE(texture.setupByBitmap(&wide, true));
    EXPECT_EQ(std::make_pair(0x8000, 1), size());
    ASSERT_TRUE(texture.setupByBitmap_InRenderThread(&widest, false));
    EXPECT_EQ(std::make_pair(0xFFFF, 2), size());
    ASSERT_TRUE(texture.setupByNativeBitmap(&native, true));
    EXPECT_EQ(std::make_pair(0x9000, 2), size());
    // As Java records a size through Texture_RecordInfo.
    texture.info[Texture::INFO_TEXTURE_SIZE] = static_cast<int32_t>(0xFFFFFFFFu);
    EXPECT_EQ(std::make_pair(0xFFFF, 0xFFFF), size());

    test::LogCapture log;
    EXPECT_FALSE(texture.setupByBitmap(&tooWide, false));
    EXPECT_FALSE(texture.setupByBitmap_InRenderThread(&tooWide, false));
    for (const char* call : {"setupByBitmap", "setupByBitmap_InRenderThread"}) {
        EXPECT_TRUE(log.has("KestoTexture", 'E',
                            std::string(call) + " NG - size 65536x1 beyond the packed limit 65535"))
            << call;
    }
    EXPECT_EQ(std::make_pair(0xFFFF, 0xFFFF), size());
    texture.deinit();
}

}  // namespace
}  // namespace kesto
