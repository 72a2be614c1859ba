#include "transfer/yenc.h"

#include <algorithm>

#include "scan/marks.h"

namespace kzv::yenc {
namespace {

constexpr std::uint8_t kOffset = 42;
constexpr std::uint8_t kEscapedOffset = 64;  // on top of the other

// Of marks that each cancel one directly behind them, those that count: the first, third, ... of each run.
// `carry` tells whether the last one of the block before counted.
std::uint64_t counting(std::uint64_t marks, bool &carry) {
  constexpr std::uint64_t kOdd = 0xAAAAAAAAAAAAAAAA;
  if ((marks & (marks << 1 | scan::lowest_bit(carry))) == 0) {
    // None is behind another: all count, and the next block need not wait for what follows.
    carry = (marks >> 63) != 0;
    return marks;
  }
  marks &= ~scan::lowest_bit(carry);
  const std::uint64_t starts = marks & ~(marks << 1);
  // Added to a run, its start carries through and out of it.
  const std::uint64_t runs_from_odd = marks & ~(marks + (starts & kOdd));
  const std::uint64_t counted = (runs_from_odd & kOdd) | (marks & ~runs_from_odd & ~kOdd);
  carry = (counted >> 63) != 0;
  return counted;
}

}  // namespace

std::size_t decode(ByteView input, ByteBuffer output) {
  static constexpr cpu::ByteSet kEscape = cpu::bytes_in("=");
  bool carry = false;
  const auto choose = [&](scan::Piece &piece, scan::Masks &kept) {
    scan::Masks escaped;
    scan::find(piece, kEscape, kept);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const bool first_is_escaped = carry;
      const std::uint64_t escapes = counting(kept[i], carry);
      escaped[i] = escapes << 1 | scan::lowest_bit(first_is_escaped);
      kept[i] = ~escapes;
    }
    cpu::level().add(piece.text, piece.blocks, escaped.data(), 256 - kOffset, 256 - kEscapedOffset,
                     piece.place);
    piece.text = piece.place;
  };
  std::size_t written = scan::keep(input, choose, output);
  const auto last_run =
      std::find_if(input.rbegin(), input.rend(), [](std::uint8_t byte) { return byte != '='; });
  const bool nothing_follows = (last_run - input.rbegin()) % 2 != 0;
  if (nothing_follows) output[written++] = static_cast<std::uint8_t>(0 - kOffset - kEscapedOffset);
  return written;
}

}  // namespace kzv::yenc
