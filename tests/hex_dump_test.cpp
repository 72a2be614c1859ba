#include "transfer/hex_dump.h"

#include <gtest/gtest.h>

namespace kzv::hex_dump {
TEST(HexDump, SizesStopAtTheLimit) {
  constexpr int kLimit = 2'147'483'647;
  const auto size = [byte = std::uint8_t{}](std::size_t bytes, int hexlen, int linelen, std::size_t start,
                                            std::size_t spacer, std::size_t filler) {
    return dump_bound(bytes, {hexlen, linelen, {&byte, start}, {}, {&byte, spacer}, {&byte, filler}});
  };
  EXPECT_EQ(size(1, kLimit - 2, 1, 1, 0, 0), kLimit - 1);
  EXPECT_EQ(size(1, 1, 2, 0, kLimit - 3, 0), kLimit - 1);
  EXPECT_EQ(size(2, 1, 4, 0, 0, (kLimit - 4) / 4), 4);
  EXPECT_EQ(size(0, kLimit, kLimit, SIZE_MAX, SIZE_MAX, SIZE_MAX), 0);
  EXPECT_FALSE(size(1, kLimit - 2, 1, 2, 0, 0) || size(1, 1, 2, 0, kLimit - 2, 0) ||
               size(2, 1, 4, 0, 0, kLimit / 4) || size(SIZE_MAX / 2 + 1, 2, 1, 0, 0, 0) ||
               size(1 << 30, 1, 1, 0, 0, 0) || size(1000, 1, 1, kLimit / 2000, 0, 0) ||
               size(1, 1, kLimit / 2, 0, SIZE_MAX, 0) || size(1, kLimit, kLimit, 0, 0, SIZE_MAX));
}

}  // namespace kzv::hex_dump
