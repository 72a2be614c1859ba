#include "markup/tags.h"

#include <algorithm>
#include <cstring>

#include "scan/chunk.h"
#include "scan/find_byte.h"

namespace kzv::tags {
namespace {

constexpr cpu::ByteSet kOpening = cpu::bytes_in("<");
constexpr cpu::ByteSet kClosing = cpu::bytes_in(">");
constexpr cpu::ByteSet kBrackets = cpu::bytes_in("<>");

constexpr void count_bracket(bool opening, Nesting &nesting) { nesting += opening ? 1 : Nesting{0} - 1; }

// The bytes of a block that are outside of tags, bracket by bracket; `nesting` is the carry.
std::uint64_t count_outside(std::uint64_t opening, std::uint64_t closing, Nesting &nesting) {
  std::uint64_t outside = 0;
  std::uint64_t remaining = scan::kAllBits;  // the bytes after the last bracket
  for (std::uint64_t left = opening | closing; left != 0; left = scan::without_lowest(left)) {
    const std::uint64_t bracket = scan::lowest_bit(left);
    outside |= nesting == 0 ? remaining & (bracket - 1) : 0;
    count_bracket((opening & bracket) != 0, nesting);
    remaining = ~(bracket | (bracket - 1));
  }
  return nesting == 0 ? outside | remaining : outside;
}

// The same. Where tags are not nested, as nearly always, each bracket changes sides, and the whole block is
// decided at once:
//
//   block                x  <  b  r  >  y  <  p ...
//   inside_or_opening    .  1  1  1  .  .  1  1     prefix_xor of the brackets, inverted after an open tag
//   outside              1  .  .  .  .  1  .  .     neither of these nor a bracket
//
// An opening bracket with a 0 there, or a closing one with a 1, is nested or stray: then brackets are
// counted.
inline std::uint64_t find_outside(std::uint64_t opening, std::uint64_t closing, Nesting &nesting) {
  const std::uint64_t brackets = opening | closing;
  const std::uint64_t inside_or_opening = scan::prefix_xor(brackets) ^ (0 - std::uint64_t{nesting});
  if (nesting > 1 || (opening & ~inside_or_opening) != 0 || (closing & inside_or_opening) != 0) {
    return count_outside(opening, closing, nesting);
  }
  nesting = static_cast<Nesting>(inside_or_opening >> 63);
  return ~(inside_or_opening | brackets);
}

}  // namespace

bool is_unchanged(ByteView text) { return lacks(text, '<') && lacks(text, '>'); }

std::size_t remove(ByteView text, ByteBuffer output) {
  Nesting nesting = 0;
  const auto choose = [&](const scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks opening;
    scan::Masks closing;
    chunk.find(kOpening, opening);
    chunk.find(kClosing, closing);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) kept[i] = find_outside(opening[i], closing[i], nesting);
  };
  return scan::keep(text, choose, output);
}

// Only the brackets are left out, after the bytes inside have been overwritten:
//
//   block        x  <  b  r  >  y
//   inside       .  .  1  1  .  .
//   filled       x  <  -  -  >  y
//   kept         1  .  1  1  .  1     x--y
std::size_t replace(ByteView text, std::uint8_t instead, ByteBuffer output) {
  Nesting nesting = 0;
  const auto choose = [&](scan::Chunk &chunk, scan::Masks &kept) {
    scan::Masks opening;
    scan::Masks closing;
    scan::Masks inside;
    chunk.find(kOpening, opening);
    chunk.find(kClosing, closing);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) {
      const std::uint64_t outside = find_outside(opening[i], closing[i], nesting);
      kept[i] = ~(opening[i] | closing[i]);
      inside[i] = kept[i] & ~outside;
    }
    chunk.fill(inside, instead);
  };
  return scan::keep(text, choose, output);
}

Replacer::Replacer(ByteView text, ByteView instead)
    : text_(text), instead_(instead), brackets_(text, kBrackets) {
  std::memcpy(&word_, instead.data(), std::min(instead.size(), sizeof word_));
}

// Byte by byte; the 8 bytes of a replacement are written whole, and what is too much is overwritten.
std::uint8_t *Replacer::write_bytes(std::size_t count, std::uint8_t *next) {
  const std::uint64_t word = word_;
  const std::size_t size = instead_.size();
  Nesting nesting = nesting_;
  for (const std::uint8_t byte : text_.subspan(at_, count)) {
    if ((byte | 2) == '>') {
      count_bracket(byte == '<', nesting);
    } else if (nesting == 0) {
      *next++ = byte;
    } else {
      std::memcpy(next, &word, sizeof word);
      next += size;
    }
  }
  at_ += count;
  nesting_ = nesting;
  return next;
}

// In runs up to the next bracket. Where brackets are close together, looking for each takes longer than a
// byte.
std::size_t Replacer::write(ByteBuffer output) {
  constexpr std::size_t kNear = 32;
  std::uint8_t *next = output.data();
  while (at_ < text_.size()) {
    const std::size_t run = brackets_.next(at_) - at_;
    const auto left = static_cast<std::size_t>(output.data() + output.size() - next);
    if (run < kNear && instead_.size() <= sizeof word_ && text_.size() - at_ >= kNear &&
        left >= (kNear + 1) * sizeof word_) {
      next = write_bytes(kNear, next);
      continue;
    }
    const std::size_t size = nesting_ == 0 ? 1 : instead_.size();
    const std::size_t count = std::min(run, left / size);
    if (nesting_ == 0) {
      std::memcpy(next, text_.data() + at_, count);
      next += count;
    } else {
      for (std::size_t i = 0; i < count; ++i, next += size) std::memcpy(next, instead_.data(), size);
    }
    at_ += count;
    if (count < run) break;
    if (at_ < text_.size()) count_bracket(text_[at_++] == '<', nesting_);
  }
  return static_cast<std::size_t>(next - output.data());
}

ByteView Replacer::take() {
  if (at_ == text_.size()) return {};
  const ByteView byte = text_.subspan(at_++, 1);
  return nesting_ == 0 ? byte : instead_;
}

}  // namespace kzv::tags
