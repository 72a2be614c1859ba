#include "transfer/hex_dump.h"

#include <gtest/gtest.h>
#include <vector>

#include "support/kernels.h"

namespace kzv::hex_dump {
namespace {

std::string dumped(const std::string &input, const Shape &shape) {
  return run_kernel(input, dump_bound(input.size(), shape).value(),
                    [&](ByteView in, ByteBuffer out) { return dump(in, shape, out); });
}

TEST(HexDump, ByHand) {
  const std::vector<std::uint8_t> xy = {'x', 'y'};
  EXPECT_EQ(dumped("ABC", {2, 2, xy, xy, xy, {}}), "xy41xy42xyxy43xy00xy");
  EXPECT_EQ(dumped("\xFE", {5, 1, {}, {}, xy, xy}), "FExyx");
  EXPECT_EQ(dumped("A", {0, 2, xy, xy, xy, xy}) + dumped("A", {2, -1, xy, xy, xy, xy}), "");
}

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

}  // namespace
}  // namespace kzv::hex_dump
