// What levels share: operations of the portable level, for whole texts or for short ones and last bytes, and
// one that each level puts together from its own.
#pragma once

#include <array>

#include "cpu/level.h"

namespace kzv::cpu {

// Bytes that a search through all of a text looks at before it asks whether the answer is known. The first
// run is short: often the start of a text decides.
inline constexpr std::ptrdiff_t kFirstSearchRun = kBlock;
inline constexpr std::ptrdiff_t kSearchRun = 1024;

// compact_sums by a level's own add and compact, block by block. It becomes part of the function that calls
// it, and so is compiled for that one's processor.
template <auto add, auto compact>
[[gnu::always_inline]] inline std::size_t compact_each_sum(const std::uint8_t *bytes, std::size_t blocks,
                                                           const std::uint64_t *kept,
                                                           const std::uint64_t *where,
                                                           std::uint8_t everywhere, std::uint8_t there,
                                                           std::uint8_t *output) {
  std::uint8_t *next = output;
  for (std::size_t i = 0; i < blocks; ++i, bytes += kBlock) {
    if (kept[i] == ~std::uint64_t{0}) {
      add(bytes, 1, where + i, everywhere, there, next);
      next += kBlock;
    } else {
      std::array<std::uint8_t, kBlock> sums;
      add(bytes, 1, where + i, everywhere, there, sums.data());
      next += compact(sums.data(), 1, kept + i, next);
    }
  }
  return static_cast<std::size_t>(next - output);
}

namespace portable {

bool all_within(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last);
void replace_outside(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t first, std::uint8_t last,
                     std::uint8_t byte, std::uint8_t *__restrict output);
std::size_t count(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t byte);
void load_partial(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *block);
std::size_t write_escapes(const std::uint8_t *bytes, std::size_t blocks, const std::uint64_t *where,
                          char introducer, std::uint8_t *output);
void to_hex(const std::uint8_t *bytes, std::size_t byte_count, std::uint8_t *digits);

}  // namespace portable

}  // namespace kzv::cpu
