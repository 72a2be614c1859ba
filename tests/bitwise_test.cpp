#include "compare/bitwise.h"

#include <gtest/gtest.h>
#include <vector>

#include "support/kernels.h"

namespace kzv::bitwise {
namespace {

TEST(Bitwise, EveryMaskLengthAndOffset) {
  std::string bytes;
  for (unsigned i = 0; i < 4096; ++i) bytes += static_cast<char>(i * i * 7 + i / 256 + 1);
  const std::vector<std::int32_t> offsets = {0, 1, -1, 5, -700, 1000003, -2147483647 - 1, 2147483647};
  for (std::size_t length = 0; length <= 520; length += length == 70 ? 185 : 1) {
    Guarded mask(std::string_view(bytes).substr(1000, length));
    const ByteView m = mask.bytes();
    const auto at = [&](std::int64_t k) {
      const auto n = static_cast<std::int64_t>(length);
      return n == 0 ? 0 : m[static_cast<std::size_t>((k % n + n) % n)];
    };
    for (const std::size_t size : {std::size_t{1}, length, length + 1, std::size_t{2100}}) {
      const std::int64_t offset = offsets[(length + size) % offsets.size()];
      const auto start = static_cast<std::int32_t>(offset);
      const auto expect = [&](auto kernel, auto byte_by_byte) {
        std::string expected;
        for (std::size_t k = 0; k < size; ++k)
          expected += static_cast<char>(byte_by_byte(bytes[k], static_cast<std::int64_t>(k)));
        EXPECT_EQ(run_kernel(bytes.substr(0, size), size, kernel), expected) << length << " " << offset;
      };
      expect([=](ByteView in, ByteBuffer out) { return and_bytes(in, m, out); },
             [&](int byte, std::int64_t k) { return byte & at(k); });
      expect([=](ByteView in, ByteBuffer out) { return or_bytes(in, m, out); },
             [&](int byte, std::int64_t k) { return byte | at(k); });
      expect([=](ByteView in, ByteBuffer out) { return xor_bytes(in, m, start, out); },
             [&](int byte, std::int64_t k) { return byte ^ at(offset + k); });
      expect([=](ByteView in, ByteBuffer out) { return xor_bytes_and_positions(in, m, start, out); },
             [&](int byte, std::int64_t k) { return byte ^ at(offset + k) ^ k; });
    }
  }
}

}  // namespace
}  // namespace kzv::bitwise
