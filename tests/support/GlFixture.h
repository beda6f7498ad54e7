// Fixture for tests that need GL: a fresh Environment (8-8-8-0) with its default context current
// on the test thread. Tear-down releases everything and checks that every counter is back.
#pragma once

#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <array>
#include <vector>

#include "gl/Context.h"
#include "gl/Environment.h"
#include "tests/support/Counters.h"

namespace kesto::test {

class GlTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    Environment* env = nullptr;
    Context* context = nullptr;

  private:
    ResourceCounters before_{};
};

// Reads one RGBA pixel of the current draw surface (origin bottom left).
std::array<uint8_t, 4> ReadPixel(int x, int y);

// Reads a rectangle of a 2D texture as RGBA bytes, rows in upload order (first uploaded row
// first), through a temporary framebuffer. Empty when the texture cannot be attached.
std::vector<uint8_t> ReadTexture(GLuint texture, int x, int y, int width, int height);

}  // namespace kesto::test
