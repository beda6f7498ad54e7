// Shared by the fuzz targets: a check that aborts (so libFuzzer keeps the input) and a reader that
// decodes operations front to back, so that seed files can be written by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kesto {
namespace fuzz {

[[noreturn]] void Fail(const char* condition, const char* file, int line);

#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : ::kesto::fuzz::Fail(#condition, __FILE__, __LINE__))

// Past the end every value reads as zero, and done() turns true.
class Reader {
  public:
    Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool done() const { return position_ >= size_; }
    size_t remaining() const { return done() ? 0 : size_ - position_; }

    uint8_t u8() { return done() ? 0 : data_[position_++]; }

    uint16_t u16() {
        const uint16_t low = u8();
        return static_cast<uint16_t>(low | (u8() << 8));
    }

    int32_t i32() {
        uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            value |= static_cast<uint32_t>(u8()) << shift;
        }
        return static_cast<int32_t>(value);
    }

    float f32() {
        const int32_t bits = i32();
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    // Up to `count` bytes copied out; fewer near the end.
    size_t take(uint8_t* out, size_t count) {
        const size_t n = count < remaining() ? count : remaining();
        if (n != 0) {
            std::memcpy(out, data_ + position_, n);
        }
        position_ += n;
        return n;
    }

  private:
    const uint8_t* data_;
    size_t size_;
    size_t position_ = 0;
};

}  // namespace fuzz
}  // namespace kesto
