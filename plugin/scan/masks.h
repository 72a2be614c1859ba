// Text as bit masks. Most kernels find the bytes that need work and leave the others alone: what a kernel
// wants to know about a block of 64 bytes is a 64-bit number with one bit for each byte, the lowest for the
// first. Pictures show the lowest bit at the left, below its byte:
//
//   block        a < b > c < i > d ...
//   '<'          . 1 . . . 1 . . .          find: one mask for each set of bytes
//   '>'          . . . 1 . . . 1 .
//   '<' or '>'   . 1 . 1 . 1 . 1 .          |
//   after '<'    . . 1 . . . 1 . .          << 1: one byte further
//   in a tag     . 1 1 . . 1 1 . .          prefix_xor of the brackets: with "<", without ">"
#pragma once

#include <array>
#include <bit>

#include "cpu/level.h"

namespace kzv::scan {

inline constexpr std::size_t kChunkBlocks = 16;

// The masks of a chunk, one for each block.
using Masks = std::array<std::uint64_t, kChunkBlocks>;

inline constexpr std::uint64_t kAllBits = ~std::uint64_t{0};

// The first `count` bytes of a block, all of them if it has fewer.
constexpr std::uint64_t bits_below(std::size_t count) {
  return count < cpu::kBlock ? (std::uint64_t{1} << count) - 1 : kAllBits;
}
constexpr std::uint64_t bits_from(std::size_t count) { return ~bits_below(count); }

constexpr std::uint64_t bit_if(bool set) { return set ? 1 : 0; }

// The number of the lowest bit of a mask that is not zero.
constexpr unsigned lowest_position(std::uint64_t mask) {
  return static_cast<unsigned>(std::countr_zero(mask));
}

//   mask                . . . 1 . 1 .
//   lowest_bit          . . . 1 . . .
//   up_to_lowest        1 1 1 1 . . .     every bit if the mask is zero
//   without_lowest      . . . . . 1 .
constexpr std::uint64_t lowest_bit(std::uint64_t mask) { return mask & (0 - mask); }
constexpr std::uint64_t up_to_lowest(std::uint64_t mask) { return mask ^ (mask - 1); }
constexpr std::uint64_t without_lowest(std::uint64_t mask) { return mask & (mask - 1); }

// The bytes that follow those of the mask. `carry` is whether the last byte of the block before was one.
constexpr std::uint64_t follows(std::uint64_t mask, std::uint64_t &carry) {
  const std::uint64_t after = mask << 1 | carry;
  carry = mask >> 63;
  return after;
}

// Bit k is the XOR of the bits up to the k-th: each bit of the mask changes sides.
//   mask                . 1 . . 1 . 1 .
//   prefix_xor          . 1 1 1 . . 1 1
constexpr std::uint64_t prefix_xor(std::uint64_t mask) {
  for (unsigned distance = 1; distance < 64; distance *= 2) mask ^= mask << distance;
  return mask;
}

}  // namespace kzv::scan
