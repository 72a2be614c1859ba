#include "markup/tags.h"

#include <cstring>

#include "scan/find_byte.h"
#include "scan/marks.h"

namespace kzv::tags {
namespace {

constexpr cpu::ByteSet kBrackets = cpu::bytes_in("<>");

}  // namespace
TagScanner::TagScanner(ByteView text) : text_(text), brackets_(text, kBrackets) {}

bool TagScanner::next() {
  if (at_ == text_.size()) return false;
  const std::size_t start = at_;
  at_ = brackets_.next(start);
  kept_ = text_.subspan(start, at_ - start);
  dropped_ = 0;

  // A step ends where the nesting is back at zero. It may well go below zero: unsigned, because only zero
  // matters and unsigned numbers may wrap.
  std::uint32_t nesting = 0;
  while (at_ < text_.size()) {
    nesting += text_[at_] == '<' ? 1 : std::uint32_t{0} - 1;
    ++at_;
    if (nesting == 0) break;
    const std::size_t bracket = brackets_.next(at_);
    dropped_ += bracket - at_;
    at_ = bracket;
  }
  return true;
}

namespace {

// Which bytes of a block are text outside of tags, by its brackets; keeps the nesting up to date.
std::uint64_t outside_tags(std::uint64_t opening, std::uint64_t closing, std::uint32_t &nesting) {
  std::uint64_t brackets = opening | closing;
  if (nesting <= 1) {
    // Where the two take turns, as nearly always, each bracket just changes the side.
    const std::uint64_t inside = scan::parity_up_to_each(brackets) ^ (0 - std::uint64_t{nesting});
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

namespace {

// Walks a text piece by piece, as to which of its bytes are outside of tags, inside, or brackets.
class TagFinder {
 public:
  // Finds both; the brackets are what is in neither.
  void find(const scan::Piece &piece, scan::Masks &outside, scan::Masks &inside) {
    static constexpr cpu::ByteSet kOpening = cpu::bytes_in("<");
    static constexpr cpu::ByteSet kClosing = cpu::bytes_in(">");
    scan::find(piece, kOpening, outside);
    scan::find(piece, kClosing, inside);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::uint64_t brackets = outside[i] | inside[i];
      outside[i] = outside_tags(outside[i], inside[i], nesting_);
      inside[i] = ~(outside[i] | brackets);
    }
  }

 private:
  std::uint32_t nesting_ = 0;  // may go below zero, that is, wrap
};

}  // namespace

std::size_t remove(ByteView text, ByteBuffer output) {
  TagFinder tags;
  scan::Masks inside;
  const auto choose = [&](const scan::Piece &piece, scan::Masks &kept) { tags.find(piece, kept, inside); };
  return scan::keep(text, choose, output);
}

std::size_t replace(ByteView text, std::uint8_t instead, ByteBuffer output) {
  TagFinder tags;
  scan::Masks inside;
  const auto choose = [&](scan::Piece &piece, scan::Masks &kept) {
    tags.find(piece, kept, inside);
    cpu::level().fill(piece.text, piece.blocks, inside.data(), instead, piece.place);
    piece.text = piece.place;
    for (std::size_t i = 0; i < piece.blocks; ++i) kept[i] |= inside[i];
  };
  return scan::keep(text, choose, output);
}

std::size_t repeat(ByteView unit, ByteBuffer output) {
  if (unit.size() == 1) {
    std::memset(output.data(), unit.front(), output.size());
  } else {
    for (std::size_t at = 0; at < output.size(); at += unit.size()) {
      std::memcpy(output.data() + at, unit.data(), unit.size());
    }
  }
  return output.size();
}

ByteView replacement_of(ByteView text) { return until_zero(text); }

}  // namespace kzv::tags
