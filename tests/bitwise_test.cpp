#include "compare/bitwise.h"

#include <gtest/gtest.h>

#include "support/kernels.h"

namespace kzv::bitwise {

TEST(Bitwise, EveryMaskLengthAndOffset) {
  std::string bytes;
  for (unsigned i = 0; i < 4096; ++i) bytes += static_cast<char>(i * i * 7 + i / 256 + 1);
  const std::int32_t offsets[] = {0, 1, -1, 5, -700, 1000003, -2147483647 - 1, 2147483647};
  for (std::size_t length = 0; length <= 520; length += length == 70 ? 185 : 1) {
    Guarded mask(std::string_view(bytes).substr(1000, length));
    const ByteView m = mask.bytes();
    const std::int64_t n = std::ssize(m);
    const auto at = [&](std::int64_t k) { return n == 0 ? 0 : m[static_cast<std::size_t>((k % n + n) % n)]; };
    for (const std::size_t size : {std::size_t{1}, length, length + 1, std::size_t{2100}}) {
      const std::int32_t start = offsets[(length + size) % std::size(offsets)];
      const auto run = [&](auto kernel) { return run_kernel(bytes.substr(0, size), size, kernel); };
      const std::string anded = run([&](auto in, auto out) { return and_bytes(in, m, out); });
      const std::string ored = run([&](auto in, auto out) { return or_bytes(in, m, out); });
      const std::string xored = run([&](auto in, auto out) { return xor_bytes(in, m, start, out); });
      const std::string xored2 =
          run([&](auto in, auto out) { return xor_bytes_and_positions(in, m, start, out); });
      for (std::size_t k = 0; k < size; ++k) {
        const auto place = static_cast<std::int64_t>(k);
        ASSERT_EQ(anded.at(k), static_cast<char>(bytes[k] & at(place))) << length;
        ASSERT_EQ(ored.at(k), static_cast<char>(bytes[k] | at(place))) << length;
        ASSERT_EQ(xored.at(k), static_cast<char>(bytes[k] ^ at(start + place))) << length << " " << start;
        ASSERT_EQ(xored2.at(k), static_cast<char>(xored[k] ^ place)) << length << " " << start;
      }
    }
  }
}

}  // namespace kzv::bitwise
