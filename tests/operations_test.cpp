// The levels, sets of bytes, and each operation of a level compared with the portable one, within its bounds.
#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

#include "cpu/level.h"
#include "support/kernels.h"
#include "support/random.h"

namespace kzv {
namespace {

using cpu::kBlock;
using std::size_t;

// By what the operating system says of the processor.
TEST(Levels, AreThoseOfThisProcessorTheFastestLast) {
  std::ifstream file("/proc/cpuinfo");
  const std::string features(std::istreambuf_iterator<char>(file), {});
  const auto has = [&](const char *feature) { return features.find(feature) < features.size(); };
  const std::map<std::string, bool> available = {
      {"portable", true},
      {"avx2", has(" avx2 ") && has(" bmi2 ")},
      {"avx512", has(" avx512bw ") && has(" avx512vl ") && has(" avx512vbmi ") && has(" avx512_vbmi2 ")}};
  std::vector<const cpu::Level *> expected;
  for (const cpu::Level *const each : cpu::built_in_levels())
    if (available.at(each->name)) expected.push_back(each);
  EXPECT_TRUE(std::ranges::equal(cpu::levels(), expected));
}

// Sets of up to eight ranges anywhere, made as all sets are: by the compiler. Kernels use only a few.
struct Membership {
  size_t set;
  constexpr bool operator()(std::uint8_t byte) const {
    const size_t shifted = (byte + set) % 256;
    const auto random = static_cast<std::uint32_t>(set * 8 + shifted / 32) * 2654435761U;
    const size_t first = random >> 28;
    return (set % 32 == 0 || shifted / 32 != set % 8) && shifted % 32 >= first &&
           shifted % 32 <= first + (random >> 24 & 15);
  }
};
constexpr auto kSets = []<size_t... kSet>(std::index_sequence<kSet...>) {
  return std::array{cpu::ByteSet(Membership{kSet})...};
}
(std::make_index_sequence<64>());

TEST(Levels, FindTheBytesOfAnySet) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  for (size_t number = 0; number < kSets.size(); ++number) {
    std::array<std::uint64_t, 4> found{};
    cpu::level().find(Guarded(bytes).data(), found.size(), kSets[number], found.data());
    for (size_t k = 0; k < bytes.size(); ++k) {
      const bool belongs = Membership{number}(static_cast<std::uint8_t>(k));
      ASSERT_EQ((found[k / kBlock] >> k % kBlock & 1) != 0, belongs) << number << ' ' << k;
      ASSERT_EQ(kSets[number].contains(static_cast<std::uint8_t>(k)), belongs) << number << ' ' << k;
    }
  }
}

// What each operation writes, with every number of blocks, every tail of a block, and arguments that differ
// with the round.
std::vector<std::string> results_at(const cpu::Level &level, size_t round) {
  auto random = seeded_random();
  random.discard(round);
  const auto below = [&](size_t limit) { return static_cast<size_t>(random() % limit); };
  const size_t blocks = round % 17 + 1;
  const size_t tail = round % (kBlock + 1);
  const size_t distance = below(300);
  const size_t size = blocks * kBlock;
  const size_t any = size - tail;
  const auto one = static_cast<std::uint8_t>(random());
  const auto other = static_cast<std::uint8_t>(random());
  std::array<std::uint64_t, 17> bits{};
  for (std::uint64_t &mask : bits) {
    const std::uint64_t half = random();
    mask = std::array{~std::uint64_t{0}, half | random() | random(), half, half & random()}[below(4)];
  }
  // Any bytes, a few, or another among many equal ones.
  const std::string few = "09AFafGg/:@`" + std::string{static_cast<char>(one), static_cast<char>(other)};
  std::string text(2600, static_cast<char>(other));
  for (char &to : text) {
    if (round % 3 == 0) to = static_cast<char>(random());
    if (round % 3 == 1 || below(1000) == 0) to = few[below(few.size())];
  }

  std::vector<std::string> results;
  // Runs one that may read `read` bytes, write `bound` and returns how many of those count.
  const auto run = [&](size_t read, size_t bound, auto operation) {
    const std::string_view input = std::string_view(text).substr(0, read);
    results.push_back(run_kernel(input, bound, [&](auto in, auto out) {
      std::ranges::fill(out, 0xEE);
      return operation(in.data(), out.data());
    }));
  };
  // Runs one that may write over its input, too.
  const auto run_both = [&](size_t read, auto operation) {
    run(read, size, operation);
    run(read, read, [&](auto in, auto out) { return operation(std::copy_n(in, read, out) - read, out); });
  };
  const auto masks = [](auto out) { return reinterpret_cast<std::uint64_t *>(out); };
  run(tail, kBlock, [&](auto in, auto out) { return level.load_partial(in, tail, out), kBlock; });
  run(any, 2 * any, [&](auto in, auto out) { return level.to_hex(in, any, out), 2 * any; });
  run(2 * any, any, [&](auto in, auto out) { return level.from_hex(in, any, out), any; });
  run(any, 1, [&](auto in, auto out) { return *out = level.all_within(in, any, one, 0xFF), size_t{1}; });
  run(any, 1, [&](auto in, auto out) { return *out = level.all_within(in, any, 0, one), size_t{1}; });
  run(any, any, [&](auto in, auto out) { return level.replace_outside(in, any, one, 0xFF, 0, out), any; });
  run(any, any, [&](auto in, auto out) { return level.replace_outside(in, any, 0, one, 255, out), any; });
  run(any, 8, [&](auto in, auto out) { return *masks(out) = level.count(in, any, other), size_t{8}; });
  run(size + distance, blocks * 8, [&](auto in, auto out) {
    return level.find_pair(in, blocks, one, other, distance, masks(out)), blocks * 8;
  });
  run_both(size, [&](auto in, auto out) { return level.compact(in, blocks, bits.data(), out); });
  run_both(size,
           [&](auto in, auto out) { return level.add(in, blocks, bits.data(), one, other, out), size; });
  run_both(size, [&](auto in, auto out) {
    return level.compact_sums(in, blocks, bits.data(), bits.data() + 17 - blocks, one, other, out);
  });
  run_both(size, [&](auto in, auto out) { return level.fill(in, blocks, bits.data(), one, out), size; });
  run_both(size + 2,
           [&](auto in, auto out) { return level.decode_escapes(in, blocks, bits.data(), out), size; });
  size_t bound = size + kBlock;
  for (size_t k = 0; k < size; ++k) bound += (bits[k / kBlock] >> k % kBlock & 1) != 0 ? 2U : 0U;
  run(size, bound, [&](auto in, auto out) { return level.write_escapes(in, blocks, bits.data(), '=', out); });
  run(2 * size + tail % 2, size + blocks * 8, [&](auto in, auto out) {
    const auto limit = static_cast<std::uint16_t>(one << tail % 9);
    level.narrow(reinterpret_cast<const CodeUnit *>(in), blocks, limit, out + blocks * 8, masks(out));
    return size + blocks * 8;
  });
  return results;
}

TEST(Operations, AgreeWithThePortableLevel) {
  for (size_t round = 0; round < 65 * 17; ++round)
    EXPECT_EQ(results_at(cpu::level(), round), results_at(*cpu::built_in_levels().front(), round)) << round;
}

}  // namespace
}  // namespace kzv
