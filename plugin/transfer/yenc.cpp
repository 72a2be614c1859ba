#include "transfer/yenc.h"

#include <algorithm>

#include "scan/chunk.h"

namespace kzv::yenc {
namespace {

constexpr std::uint8_t kOffset = 42;
constexpr std::uint8_t kEscapedOffset = 64;  // on top of the other

// Which "=" of a block escape the byte after them: in each run the first, third, fifth and so on, for the
// others are escaped themselves. Adding a run's first bit carries through it, so that its own bits become 0:
//
//   block               a  =  =  b  =  c  =  =  =  d
//   signs               .  1  1  .  1  .  1  1  1  .
//   starts              .  1  .  .  1  .  1  .  .  .
//   odd places          .  1  .  1  .  1  .  1  .  1
//   signs + starts at odd places
//                       .  .  .  1  1  .  1  1  1  .
//   odd_runs            .  1  1  .  .  .  .  .  .  .     the runs that start at odd places
//   escapes             .  1  .  .  1  .  1  .  1  .     odd places of these runs, even ones of the others
//
// `carry` is whether the last byte of the block before escapes the first of this one.
std::uint64_t find_escapes(std::uint64_t signs, std::uint64_t &carry) {
  constexpr std::uint64_t kOddPlaces = 0xAAAAAAAAAAAAAAAA;
  if ((signs & (signs << 1 | carry)) == 0) {
    // Runs of one. This way the next block does not wait for the arithmetic on this one.
    carry = signs >> 63;
    return signs;
  }
  signs &= ~carry;
  const std::uint64_t starts = signs & ~(signs << 1);
  const std::uint64_t odd_runs = signs & ~(signs + (starts & kOddPlaces));
  const std::uint64_t escapes = (odd_runs & kOddPlaces) | (signs & ~odd_runs & ~kOddPlaces);
  carry = escapes >> 63;
  return escapes;
}

// Whether the last byte of the input escapes a byte that is missing: the "=" at the end are odd in number.
bool ends_in_escape(ByteView input) {
  const auto run_end =
      std::find_if(input.rbegin(), input.rend(), [](std::uint8_t byte) { return byte != '='; });
  return (run_end - input.rbegin()) % 2 != 0;
}

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kSign = cpu::bytes_in("=");
  std::uint64_t carry = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks signs;
    scan::Masks escaped;
    chunk.find(kSign, signs);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t first_is_escaped = carry;
      const std::uint64_t escapes = find_escapes(signs[i], carry);
      escaped[i] = escapes << 1 | first_is_escaped;
      kept[i] = ~escapes;
    }
    chunk.add(escaped, 256 - kOffset, 256 - kEscapedOffset);
  };
  std::size_t written = scan::keep(input, choose, output);
  if (ends_in_escape(input)) output[written++] = static_cast<std::uint8_t>(0 - kOffset - kEscapedOffset);
  return written;
}

}  // namespace kzv::yenc
