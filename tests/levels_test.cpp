// Every vector level does what the baseline does, and the baseline what is said.
#include <array>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

#include "bytes.h"
#include "level.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kzv::cpu {
namespace {

constexpr bool is_odd_set(std::uint8_t byte) {
  return byte == 0 || (byte >= 0x1F && byte < 0x42) || byte == 0x7F || (byte > 0x8F && byte < 0xF0) ||
         byte == 0xFF;
}

TEST(Levels, FindEachByteOfASet) {
  static constexpr ByteSet kSet(is_odd_set);
  Guarded bytes(256);
  std::iota(bytes.data(), bytes.data() + 256, std::uint8_t{0});
  std::array<std::uint64_t, 4> masks{};
  level().find(bytes.data(), 4, kSet, masks.data());
  for (unsigned byte = 0; byte < 256; ++byte) {
    EXPECT_EQ((masks[byte / 64] >> byte % 64 & 1) != 0, is_odd_set(static_cast<std::uint8_t>(byte))) << byte;
  }
}

// Dense and sparse masks, and the two extremes.
std::uint64_t random_mask(std::mt19937_64 &random) {
  const std::uint64_t bits = random();
  const std::uint64_t others = random();
  switch (random() % 5) {
    case 0:
      return 0;
    case 1:
      return ~std::uint64_t{0};
    case 2:
      return bits & others;
    case 3:
      return bits | others;
    default:
      return bits;
  }
}

TEST(Levels, CompactAndAddBitByBit) {
  constexpr std::size_t kBlocks = 3;
  auto random = seeded_random<std::mt19937_64>();
  for (int round = 0; round < 20'000; ++round) {
    Guarded bytes(kBlocks * kBlock);
    Guarded output(kBlocks * kBlock);
    std::array<std::uint64_t, kBlocks> masks{};
    for (std::uint8_t &byte : bytes.bytes()) byte = static_cast<std::uint8_t>(random());
    for (std::uint64_t &mask : masks) mask = random_mask(random);
    std::vector<std::uint8_t> kept;
    std::vector<std::uint8_t> added;
    for (std::size_t i = 0; i < kBlocks * kBlock; ++i) {
      const bool set = (masks[i / kBlock] >> i % kBlock & 1) != 0;
      if (set) kept.push_back(bytes.data()[i]);
      added.push_back(static_cast<std::uint8_t>(bytes.data()[i] + 7 + (set ? 192 : 0)));
    }
    const std::size_t count = level().compact(bytes.data(), kBlocks, masks.data(), output.data());
    ASSERT_EQ(std::vector(output.data(), output.data() + count), kept);
    level().add(bytes.data(), kBlocks, masks.data(), 7, 192, output.data());
    ASSERT_EQ(std::vector(output.data(), output.data() + kBlocks * kBlock), added);
  }
}

}  // namespace
}  // namespace kzv::cpu
