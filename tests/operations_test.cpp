// The levels, and each operation of the chosen one against its definition, byte by byte, on memory that ends
// where the operation may read and write no further.
#include <fstream>
#include <gtest/gtest.h>
#include <utility>

#include "base/hex_digits.h"
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

// Sets of up to eight ranges anywhere, made as all sets are: by the compiler.
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

class Operations : public testing::Test {
 protected:
  size_t below(size_t limit) { return static_cast<size_t>(random() % limit); }

  // The arguments at byte, unit or mask bit k.
  std::uint8_t at(size_t k) const { return static_cast<std::uint8_t>(text[k]); }
  int number_at(size_t k) const { return kDigitValues[at(k)] * 16 + kDigitValues[at(k + 1)]; }
  std::string hex_at(size_t k) const { return {kHexDigits[at(k) / 16], kHexDigits[at(k) % 16]}; }
  bool is_set(size_t k) const { return (where[k / kBlock] >> k % kBlock & 1) != 0; }
  static std::string byte(int value) { return {static_cast<char>(value)}; }

  // Expects `operation(in, out)`, which may read `read` bytes of the text and write `bound` and returns how
  // many of those count, to write `piece(k)` for each k below `count`.
  template <typename Operation, typename Piece>
  void expect(const char *name, size_t read, size_t bound, Operation operation, size_t count, Piece piece,
              bool in_place = false) {
    std::string expected;
    for (size_t k = 0; k < count; ++k) expected += piece(k);
    const auto run = [&](auto input, auto output) {
      std::ranges::fill(output, 0xEE);
      if (in_place) std::ranges::copy(input, output.begin());
      return operation(in_place ? output.data() : input.data(), output.data());
    };
    EXPECT_EQ(run_kernel(std::string_view(text).substr(0, read), bound, run), expected) << name << in_place;
  }
  template <typename Operation, typename Piece>
  void expect_both(const char *name, size_t read, Operation operation, Piece piece) {
    expect(name, read, size, operation, size, piece);
    expect(name, read, read, operation, size, piece, true);
  }
  template <typename Holds>
  void expect_masks(const char *name, Holds holds) {
    for (size_t k = 0; k < size; ++k)
      ASSERT_EQ(found[k / kBlock] >> k % kBlock & 1, holds(k) ? 1U : 0U) << name << k;
  }

  std::mt19937_64 random = seeded_random();
  size_t size = 0;
  std::array<std::uint64_t, 17> where{};
  std::array<std::uint64_t, 17> found{};
  std::string text = std::string(2 * 17 * kBlock + 300, 0);
};

// With every number of blocks up to 17, every tail of a block, and other random arguments each time.
TEST_F(Operations, FollowTheirDefinitions) {
  const cpu::Level &level = cpu::level();
  const std::uint64_t *const bits = where.data();
  for (size_t round = 0; round < 65 * 17 && !HasFailure(); ++round) {
    const size_t blocks = round % 17 + 1;
    const size_t tail = round % (kBlock + 1);
    const size_t count = round % 200;
    const size_t distance = below(300);
    const Membership belongs{round % kSets.size()};
    const cpu::ByteSet &set = kSets[belongs.set];
    size = blocks * kBlock;
    const auto one = static_cast<std::uint8_t>(random());
    const auto other = static_cast<std::uint8_t>(random());
    for (std::uint64_t &mask : where) {
      const std::uint64_t half = random();
      mask = std::array{~std::uint64_t{0}, half | random() | random(), half, half & random()}[below(4)];
    }
    const std::string few = "09AFafGg/:@`" + byte(one) + byte(other);
    for (char &to : text) to = round % 2 == 0 ? static_cast<char>(random()) : few[below(few.size())];

    const auto load = [&](auto in, auto out) { return level.load_partial(in, tail, out), kBlock; };
    expect("load_partial", tail, kBlock, load, kBlock, [&](auto k) { return byte(k < tail ? at(k) : 0); });
    const auto to_hex = [&](auto in, auto out) { return level.to_hex(in, count, out), 2 * count; };
    expect("to_hex", count, 2 * count, to_hex, count, [&](auto k) { return hex_at(k); });
    const auto from_hex = [&](auto in, auto out) { return level.from_hex(in, count, out), count; };
    expect("from_hex", 2 * count, count, from_hex, count, [&](auto k) { return byte(number_at(2 * k)); });

    Guarded from(std::string_view(text).substr(0, size));
    level.find(from.data(), blocks, set, found.data());
    expect_masks("find", [&](auto k) { return belongs(at(k)); });
    expect_masks("contains", [&](auto k) { return set.contains(at(k)); });
    Guarded longer(std::string_view(text).substr(0, size + distance));
    level.find_pair(longer.data(), blocks, one, other, distance, found.data());
    expect_masks("find_pair", [&](auto k) { return at(k) == one && at(k + distance) == other; });

    const auto compact = [&](auto in, auto out) { return level.compact(in, blocks, bits, out); };
    expect_both("compact", size, compact, [&](auto k) { return is_set(k) ? byte(at(k)) : ""; });
    const auto add = [&](auto in, auto out) { return level.add(in, blocks, bits, one, other, out), size; };
    expect_both("add", size, add, [&](auto k) { return byte(at(k) + one + (is_set(k) ? other : 0)); });
    const auto fill = [&](auto in, auto out) { return level.fill(in, blocks, bits, one, out), size; };
    expect_both("fill", size, fill, [&](auto k) { return byte(is_set(k) ? one : at(k)); });
    const auto decode = [&](auto in, auto out) { return level.decode_escapes(in, blocks, bits, out), size; };
    expect_both("decode_escapes", size + 2, decode,
                [&](auto k) { return byte(is_set(k) ? number_at(k + 1) : at(k)); });

    size_t bound = size + kBlock;
    for (size_t k = 0; k < size; ++k) bound += is_set(k) ? 2 : 0U;
    const auto escape = [&](auto in, auto out) { return level.write_escapes(in, blocks, bits, '=', out); };
    expect("write_escapes", size, bound, escape, size,
           [&](auto k) { return is_set(k) ? '=' + hex_at(k) : byte(at(k)); });
    const auto limit = static_cast<std::uint16_t>(round % 3 == 0 ? one : one << 8 | other);
    const auto narrow = [&](auto in, auto out) {
      return level.narrow(reinterpret_cast<const CodeUnit *>(in), blocks, limit, out, found.data()), size;
    };
    expect("narrow", 2 * size + round % 2, size, narrow, size, [&](auto k) { return byte(at(2 * k)); });
    expect_masks("narrow", [&](auto k) { return (at(2 * k) | at(2 * k + 1) << 8) >= limit; });
  }
}

}  // namespace
}  // namespace kzv
