#include "tags.h"

#include "find_byte.h"
#include "marks.h"

namespace kzv::tags {
namespace {

const std::uint8_t *find(std::uint8_t wanted, const std::uint8_t *begin, const std::uint8_t *end) {
  return begin + find_byte({begin, end}, wanted);
}

}  // namespace

TagScanner::TagScanner(ByteView text)
    : at_(text.data()),
      end_(at_ + text.size()),
      next_open_(find('<', at_, end_)),
      next_close_(find('>', at_, end_)) {}

bool TagScanner::next() {
  if (at_ == end_) return false;
  const std::uint8_t *bracket = next_bracket();
  kept_ = {at_, bracket};
  dropped_ = 0;
  at_ = bracket;

  // A step ends where the nesting is back at zero. It may well go below zero: unsigned, because only zero
  // matters and unsigned numbers may wrap.
  std::uint32_t nesting = 0;
  while (bracket != end_) {
    at_ = bracket + 1;
    if (bracket == next_open_) {
      ++nesting;
      next_open_ = find('<', at_, end_);
    } else {
      --nesting;
      next_close_ = find('>', at_, end_);
    }
    if (nesting == 0) break;
    bracket = next_bracket();
    dropped_ += static_cast<std::size_t>(bracket - at_);
    at_ = bracket;
  }
  return true;
}

namespace {

// Bit k: whether an odd number of the bits up to the k-th is set.
std::uint64_t parity_up_to_each(std::uint64_t bits) {
  for (unsigned distance = 1; distance < 64; distance *= 2) bits ^= bits << distance;
  return bits;
}

// Which bytes of a block are text outside of tags, by its brackets; keeps the nesting up to date.
std::uint64_t outside_tags(std::uint64_t opening, std::uint64_t closing, std::uint32_t &nesting) {
  std::uint64_t brackets = opening | closing;
  if (nesting <= 1) {
    // Where the two take turns, as nearly always, each bracket just changes the side.
    const std::uint64_t inside = parity_up_to_each(brackets) ^ (0 - std::uint64_t{nesting});
    if ((opening & ~inside) == 0 && (closing & inside) == 0) {
      nesting = static_cast<std::uint32_t>(inside >> 63);
      return ~(inside | brackets);
    }
  }
  std::uint64_t outside = 0;
  std::uint64_t ahead = ~std::uint64_t{0};  // from behind the last bracket on
  for (; brackets != 0; brackets &= brackets - 1) {
    const std::uint64_t bracket = brackets & (0 - brackets);
    if (nesting == 0) outside |= ahead & (bracket - 1);
    nesting += (opening & bracket) != 0 ? 1 : std::uint32_t{0} - 1;
    ahead = ~(bracket | (bracket - 1));
  }
  return nesting == 0 ? outside | ahead : outside;
}

}  // namespace

std::size_t remove(ByteView text, ByteBuffer output) {
  static constexpr cpu::ByteSet kOpening = cpu::bytes_in("<");
  static constexpr cpu::ByteSet kClosing = cpu::bytes_in(">");
  std::uint32_t nesting = 0;  // may go below zero, that is, wrap
  const auto choose = [&](const cpu::Piece &piece, cpu::Masks &kept) {
    cpu::Masks closing;
    cpu::find(piece, kOpening, kept);
    cpu::find(piece, kClosing, closing);
    for (std::size_t i = 0; i < piece.blocks; ++i) kept[i] = outside_tags(kept[i], closing[i], nesting);
  };
  return cpu::keep(text, choose, output);
}

ByteView replacement_of(ByteView text) { return until_zero(text); }

}  // namespace kzv::tags
