// Signs that escape the byte after them, and so each other.
#pragma once

#include "scan/masks.h"

namespace kzv::scan {

// Which signs of a block, such as "=", escape the byte after them: in each run the first, third, fifth and so
// on, for the others are escaped themselves. Adding a run's first bit carries through it, so that its own
// bits become 0:
//
//   block               a  =  =  b  =  c  =  =  =  d
//   signs               .  1  1  .  1  .  1  1  1  .
//   starts              .  1  .  .  1  .  1  .  .  .
//   odd bits            .  1  .  1  .  1  .  1  .  1
//   signs + starts at odd bits
//                       .  .  .  1  1  .  1  1  1  .
//   odd_runs            .  1  1  .  .  .  .  .  .  .     the runs that start at odd bits
//   escapes             .  1  .  .  1  .  1  .  1  .     odd bits of these runs, even ones of the others
//
// `carry` is whether the last byte of the block before escapes the first of this one.
constexpr std::uint64_t find_escaping(std::uint64_t signs, std::uint64_t &carry) {
  constexpr std::uint64_t kOddBits = 0xAAAAAAAAAAAAAAAA;
  if ((signs & (signs << 1 | carry)) == 0) {
    // Runs of one. This way the next block does not wait for the arithmetic on this one.
    carry = signs >> 63;
    return signs;
  }
  signs &= ~carry;
  const std::uint64_t starts = signs & ~(signs << 1);
  const std::uint64_t odd_runs = signs & ~(signs + (starts & kOddBits));
  const std::uint64_t escapes = (odd_runs & kOddBits) | (signs & ~odd_runs & ~kOddBits);
  carry = escapes >> 63;
  return escapes;
}

}  // namespace kzv::scan
