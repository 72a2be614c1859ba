// Each operation of the chosen level against its definition, byte by byte, on memory that ends where the
// operation may read and write no further.
#include <array>
#include <gtest/gtest.h>
#include <utility>

#include "base/hex_digits.h"
#include "cpu/level.h"
#include "support/kernels.h"
#include "support/random.h"

namespace kzv {
namespace {

using cpu::kBlock;

// Sets of one to eight ranges anywhere, made as all sets are: by the compiler.
struct Membership {
  constexpr explicit Membership(std::size_t seed) {
    auto state = static_cast<std::uint32_t>(seed + 1);
    const auto next = [&state] { return (state = state * 1664525 + 1013904223) >> 24; };
    for (std::size_t range = 0; range <= seed % 8; ++range) {
      const unsigned first = next();
      for (unsigned byte = first; byte < std::min(first + next() % 40, 256U); ++byte) member[byte] = true;
    }
  }
  constexpr bool operator()(std::uint8_t byte) const { return member[byte]; }
  std::array<bool, 256> member{};
};
template <std::size_t... kSeeds>
constexpr std::array<cpu::ByteSet, sizeof...(kSeeds)> sets_of(std::index_sequence<kSeeds...>) {
  return {cpu::ByteSet(Membership(kSeeds))...};
}
constexpr auto kSets = sets_of(std::make_index_sequence<64>());

class Operations : public testing::Test {
 protected:
  // Calls `body(round)` with every number of blocks up to 17 and other random arguments each time.
  template <typename Body>
  void for_rounds(Body body) {
    for (std::size_t round = 0; round < 65 * 17 && !HasFailure(); ++round) {
      blocks = round % 17 + 1;
      size = blocks * kBlock;
      one = static_cast<std::uint8_t>(random());
      other = static_cast<std::uint8_t>(random());
      for (std::uint64_t &mask : where) {
        const std::uint64_t half = random();
        mask = std::array{~std::uint64_t{0}, half | random() | random(), half, half & random()}[below(4)];
      }
      const std::string few = std::string("09AFafGg/:@`") + static_cast<char>(one) + static_cast<char>(other);
      for (char &to : text) to = round % 2 == 0 ? static_cast<char>(random()) : few[below(few.size())];
      body(round);
    }
  }

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random() % limit); }

  // The arguments at byte, unit or mask bit k.
  std::uint8_t at(std::size_t k) const { return static_cast<std::uint8_t>(text[k]); }
  int unit_at(std::size_t k) const { return at(2 * k) | at(2 * k + 1) << 8; }
  int number_at(std::size_t k) const { return kDigitValues[at(k)] * 16 + kDigitValues[at(k + 1)]; }
  std::string hex_at(std::size_t k) const { return {kHexDigits[at(k) / 16], kHexDigits[at(k) % 16]}; }
  bool marked(std::size_t k) const { return (where[k / kBlock] >> k % kBlock & 1) != 0; }

  // Expects `operation(from, to)`, which may read `read` bytes of the text and write `room` and returns how
  // many of those count, to write `piece(k)` for each k below `count`.
  template <typename Operation, typename Piece>
  void expect(std::size_t read, std::size_t room, Operation operation, std::size_t count, Piece piece) {
    std::string expected;
    for (std::size_t k = 0; k < count; ++k) {
      if constexpr (std::is_same_v<decltype(piece(k)), std::string>) {
        expected += piece(k);
      } else {
        expected += static_cast<char>(piece(k));
      }
    }
    const std::string result =
        run_kernel(std::string_view(text).substr(0, read), room, [&](auto in, auto out) {
          std::ranges::fill(out, 0xEE);
          return operation(in.data(), out.data());
        });
    EXPECT_EQ(result, expected);
  }
  template <typename Operation, typename Piece>
  void expect_both(std::size_t read, Operation operation, Piece piece) {
    expect(read, size, operation, size, piece);
    const auto in_place = [&](auto *from, auto *to) {
      std::memcpy(to, from, read);
      return operation(to, to);
    };
    expect(read, read, in_place, size, piece);
  }
  template <typename Holds>
  void expect_masks(Holds holds) {
    for (std::size_t k = 0; k < size; ++k)
      ASSERT_EQ(found[k / kBlock] >> k % kBlock & 1, holds(k) ? 1U : 0U) << k;
  }

  std::mt19937_64 random = seeded_random<std::mt19937_64>();
  const cpu::Level &level = cpu::level();
  std::size_t blocks = 0;
  std::size_t size = 0;
  std::uint8_t one = 0;
  std::uint8_t other = 0;
  std::array<std::uint64_t, 17> where{};
  std::array<std::uint64_t, 17> found{};
  std::string text = std::string(2 * 17 * kBlock + 300, 0);
};

TEST_F(Operations, LoadPartial) {
  for_rounds([&](std::size_t round) {
    const std::size_t tail = round % (kBlock + 1);
    expect(
        tail, kBlock, [&](auto *from, auto *to) { return level.load_partial(from, tail, to), kBlock; },
        kBlock, [&](auto k) { return k < tail ? at(k) : 0; });
  });
}

TEST_F(Operations, Find) {
  for_rounds([&](std::size_t round) {
    const Membership belongs(round % kSets.size());
    const cpu::ByteSet &set = kSets[round % kSets.size()];
    for (unsigned byte = 0; byte < 256; ++byte)
      ASSERT_EQ(set.contains(static_cast<std::uint8_t>(byte)), belongs.member[byte]) << byte;
    Guarded from(std::string_view(text).substr(0, size));
    level.find(from.data(), blocks, set, found.data());
    expect_masks([&](auto k) { return belongs(at(k)); });
  });
}

TEST_F(Operations, FindPair) {
  for_rounds([&](std::size_t) {
    const std::size_t distance = below(300);
    Guarded from(std::string_view(text).substr(0, size + distance));
    level.find_pair(from.data(), blocks, one, other, distance, found.data());
    expect_masks([&](auto k) { return at(k) == one && at(k + distance) == other; });
  });
}

TEST_F(Operations, CompactAddFillAndDecodeEscapesInPlaceOrElsewhere) {
  for_rounds([&](std::size_t) {
    const std::uint64_t *const bits = where.data();
    expect_both(
        size, [&](auto *from, auto *to) { return level.compact(from, blocks, bits, to); },
        [&](auto k) { return marked(k) ? std::string(1, text[k]) : std::string(); });
    expect_both(
        size, [&](auto *from, auto *to) { return level.add(from, blocks, bits, one, other, to), size; },
        [&](auto k) { return at(k) + one + (marked(k) ? other : 0); });
    expect_both(
        size, [&](auto *from, auto *to) { return level.fill(from, blocks, bits, one, to), size; },
        [&](auto k) { return marked(k) ? one : at(k); });
    expect_both(
        size + 2, [&](auto *from, auto *to) { return level.decode_escapes(from, blocks, bits, to), size; },
        [&](auto k) { return marked(k) ? number_at(k + 1) : at(k); });
  });
}

TEST_F(Operations, WriteEscapes) {
  for_rounds([&](std::size_t) {
    std::size_t room = size + kBlock;
    for (std::size_t k = 0; k < size; ++k) room += marked(k) ? 2 : 0U;
    expect(
        size, room,
        [&](auto *from, auto *to) { return level.write_escapes(from, blocks, where.data(), '=', to); }, size,
        [&](auto k) { return marked(k) ? '=' + hex_at(k) : std::string(1, text[k]); });
  });
}

TEST_F(Operations, NarrowUnitsAtAnyAddress) {
  for_rounds([&](std::size_t round) {
    const auto limit = static_cast<std::uint16_t>(round % 3 == 0 ? one : one << 8 | other);
    const auto narrow = [&](auto *from, auto *to) {
      level.narrow(reinterpret_cast<const CodeUnit *>(from), blocks, limit, to, found.data());
      return size;
    };
    expect(2 * size + round % 2, size, narrow, size, [&](auto k) { return at(2 * k); });
    expect_masks([&](auto k) { return unit_at(k) >= limit; });
  });
}

TEST_F(Operations, ConvertHexDigits) {
  for_rounds([&](std::size_t round) {
    const std::size_t count = round % 200;
    expect(
        count, 2 * count, [&](auto *from, auto *to) { return level.to_hex(from, count, to), 2 * count; },
        count, [&](auto k) { return hex_at(k); });
    expect(
        2 * count, count, [&](auto *from, auto *to) { return level.from_hex(from, count, to), count; }, count,
        [&](auto k) { return number_at(2 * k); });
  });
}

}  // namespace
}  // namespace kzv
