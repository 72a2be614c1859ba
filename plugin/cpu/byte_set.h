// Sets of byte values, in the two forms that levels test: as ranges, and as tables for a shuffle.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kzv::cpu {

class ByteSet {
 public:
  // All bytes for which `belongs` is true. They form at most 8 ranges.
  template <typename Belongs>
  consteval explicit ByteSet(Belongs belongs) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      if (!belongs(static_cast<std::uint8_t>(byte))) continue;
      auto &rows = byte < 0x80 ? ascii_rows : high_rows;
      rows[byte & 15] |= static_cast<std::uint8_t>(1U << (byte >> 4 & 7));
      const bool extends = range_count > 0 && ranges[range_count - 1].last + 1 == static_cast<int>(byte);
      if (!extends)
        ranges[range_count++].first = static_cast<std::uint8_t>(byte);  // a ninth range stops the build
      ranges[range_count - 1].last = static_cast<std::uint8_t>(byte);
    }
  }

  [[nodiscard]] constexpr bool contains(std::uint8_t byte) const {
    const std::uint8_t row = byte < 0x80 ? ascii_rows[byte & 15] : high_rows[byte & 15];
    return (row >> (byte >> 4 & 7) & 1) != 0;
  }

  struct Range {
    std::uint8_t first = 0;
    std::uint8_t last = 0;
  };
  std::array<Range, 8> ranges{};
  std::size_t range_count = 0;

  // By the low nibble of a byte: one bit for each value of bits 4 to 6. Bit 7 selects the table.
  std::array<std::uint8_t, 16> ascii_rows{};
  std::array<std::uint8_t, 16> high_rows{};
};

// The set of some bytes.
template <std::size_t kSize>
consteval ByteSet bytes_in(const char (&characters)[kSize]) {
  return ByteSet([&](std::uint8_t byte) {
    for (std::size_t i = 0; i + 1 < kSize; ++i) {
      if (static_cast<std::uint8_t>(characters[i]) == byte) return true;
    }
    return false;
  });
}

}  // namespace kzv::cpu
