// The levels, and each operation of the chosen one against its definition, byte by byte, on memory that ends
// where the operation may read and write no further.
#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
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
template <size_t... kSet>
constexpr std::array<cpu::ByteSet, sizeof...(kSet)> sets_of(std::index_sequence<kSet...>) {
  return {cpu::ByteSet(Membership{kSet})...};
}
constexpr auto kSets = sets_of(std::make_index_sequence<64>());

class Operations : public testing::Test {
 protected:
  // Calls `body(round)` with every number of blocks up to 17 and other random arguments each time.
  template <typename Body>
  void for_rounds(Body body) {
    for (size_t round = 0; round < 65 * 17 && !HasFailure(); ++round) {
      blocks = round % 17 + 1;
      size = blocks * kBlock;
      one = static_cast<std::uint8_t>(random());
      other = static_cast<std::uint8_t>(random());
      for (std::uint64_t &mask : where) {
        const std::uint64_t half = random();
        mask = std::array{~std::uint64_t{0}, half | random() | random(), half, half & random()}[below(4)];
      }
      const std::string few = "09AFafGg/:@`" + byte(one) + byte(other);
      for (char &to : text) to = round % 2 == 0 ? static_cast<char>(random()) : few[below(few.size())];
      body(round);
    }
  }

  size_t below(size_t limit) { return static_cast<size_t>(random() % limit); }

  // The arguments at byte, unit or mask bit k.
  std::uint8_t at(size_t k) const { return static_cast<std::uint8_t>(text[k]); }
  int number_at(size_t k) const { return kDigitValues[at(k)] * 16 + kDigitValues[at(k + 1)]; }
  std::string hex_at(size_t k) const { return {kHexDigits[at(k) / 16], kHexDigits[at(k) % 16]}; }
  bool marked(size_t k) const { return (where[k / kBlock] >> k % kBlock & 1) != 0; }
  static std::string byte(int value) { return {static_cast<char>(value)}; }

  // Expects `operation(from, to)`, which may read `read` bytes of the text and write `bound` and returns how
  // many of those count, to write `piece(k)` for each k below `count`.
  template <typename Operation, typename Piece>
  void expect(size_t read, size_t bound, Operation operation, size_t count, Piece piece,
              bool in_place = false) {
    std::string expected;
    for (size_t k = 0; k < count; ++k) expected += piece(k);
    const auto run = [&](auto in, auto out) {
      std::ranges::fill(out, 0xEE);
      if (in_place) std::ranges::copy(in, out.begin());
      return operation(in_place ? out.data() : in.data(), out.data());
    };
    EXPECT_EQ(run_kernel(std::string_view(text).substr(0, read), bound, run), expected) << in_place;
  }
  template <typename Operation, typename Piece>
  void expect_both(size_t read, Operation operation, Piece piece) {
    expect(read, size, operation, size, piece);
    expect(read, read, operation, size, piece, true);
  }
  template <typename Holds>
  void expect_masks(Holds holds) {
    for (size_t k = 0; k < size; ++k) ASSERT_EQ(found[k / kBlock] >> k % kBlock & 1, holds(k) ? 1U : 0U) << k;
  }

  std::mt19937_64 random = seeded_random();
  const cpu::Level &level = cpu::level();
  size_t blocks = 0;
  size_t size = 0;
  std::uint8_t one = 0;
  std::uint8_t other = 0;
  std::array<std::uint64_t, 17> where{};
  std::array<std::uint64_t, 17> found{};
  std::string text = std::string(2 * 17 * kBlock + 300, 0);
};

TEST_F(Operations, OnTails) {
  for_rounds([&](size_t round) {
    const size_t tail = round % (kBlock + 1);
    const auto load = [&](auto *from, auto *to) { return level.load_partial(from, tail, to), kBlock; };
    expect(tail, kBlock, load, kBlock, [&](auto k) { return byte(k < tail ? at(k) : 0); });
    const size_t count = round % 200;
    const auto to_hex = [&](auto *from, auto *to) { return level.to_hex(from, count, to), 2 * count; };
    expect(count, 2 * count, to_hex, count, [&](auto k) { return hex_at(k); });
    const auto from_hex = [&](auto *from, auto *to) { return level.from_hex(from, count, to), count; };
    expect(2 * count, count, from_hex, count, [&](auto k) { return byte(number_at(2 * k)); });
  });
}

TEST_F(Operations, ThatFind) {
  for_rounds([&](size_t round) {
    const Membership belongs{round % kSets.size()};
    const cpu::ByteSet &set = kSets[belongs.set];
    Guarded from(std::string_view(text).substr(0, size));
    level.find(from.data(), blocks, set, found.data());
    expect_masks([&](auto k) { return belongs(at(k)); });
    for (const std::uint8_t each : from.bytes()) ASSERT_EQ(set.contains(each), belongs(each));

    const size_t distance = below(300);
    Guarded longer(std::string_view(text).substr(0, size + distance));
    level.find_pair(longer.data(), blocks, one, other, distance, found.data());
    expect_masks([&](auto k) { return at(k) == one && at(k + distance) == other; });
  });
}

TEST_F(Operations, ThatWriteInPlaceOrElsewhere) {
  for_rounds([&](size_t) {
    const std::uint64_t *const bits = where.data();
    const auto compact = [&](auto *from, auto *to) { return level.compact(from, blocks, bits, to); };
    expect_both(size, compact, [&](auto k) { return marked(k) ? byte(at(k)) : ""; });
    const auto add = [&](auto *from, auto *to) {
      return level.add(from, blocks, bits, one, other, to), size;
    };
    expect_both(size, add, [&](auto k) { return byte(at(k) + one + (marked(k) ? other : 0)); });
    const auto fill = [&](auto *from, auto *to) { return level.fill(from, blocks, bits, one, to), size; };
    expect_both(size, fill, [&](auto k) { return byte(marked(k) ? one : at(k)); });
    const auto decode = [&](auto *from, auto *to) {
      return level.decode_escapes(from, blocks, bits, to), size;
    };
    expect_both(size + 2, decode, [&](auto k) { return byte(marked(k) ? number_at(k + 1) : at(k)); });
  });
}

TEST_F(Operations, ThatWriteElsewhere) {
  for_rounds([&](size_t round) {
    size_t bound = size + kBlock;
    for (size_t k = 0; k < size; ++k) bound += marked(k) ? 2 : 0U;
    const auto escape = [&](auto *from, auto *to) {
      return level.write_escapes(from, blocks, where.data(), '=', to);
    };
    expect(size, bound, escape, size, [&](auto k) { return marked(k) ? '=' + hex_at(k) : byte(at(k)); });

    const auto limit = static_cast<std::uint16_t>(round % 3 == 0 ? one : one << 8 | other);
    const auto narrow = [&](auto *from, auto *to) {
      level.narrow(reinterpret_cast<const CodeUnit *>(from), blocks, limit, to, found.data());
      return size;
    };
    expect(2 * size + round % 2, size, narrow, size, [&](auto k) { return byte(at(2 * k)); });
    expect_masks([&](auto k) { return (at(2 * k) | at(2 * k + 1) << 8) >= limit; });
  });
}

}  // namespace
}  // namespace kzv
