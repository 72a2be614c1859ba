#include "markup/tags.h"

#include <algorithm>
#include <cstring>

#include "scan/find_byte.h"
#include "scan/keep.h"

namespace kzv::tags {
namespace {

// The masks of one block.
struct BlockTags {
  std::uint64_t outside;
  std::uint64_t ends;
};

// Counts bracket by bracket.
BlockTags find_nested(std::uint64_t opening, std::uint64_t closing, std::uint32_t &nesting) {
  BlockTags found{0, 0};
  std::uint64_t left = scan::kAllBits;  // the bytes after the last bracket
  for (std::uint64_t brackets = opening | closing; brackets != 0; brackets = scan::without_lowest(brackets)) {
    const std::uint64_t bracket = scan::lowest_bit(brackets);
    if (nesting == 0) found.outside |= left & (bracket - 1);
    nesting += (opening & bracket) != 0 ? 1 : std::uint32_t{0} - 1;
    if (nesting == 0) found.ends |= bracket;
    left = ~scan::up_to_lowest(brackets);
  }
  if (nesting == 0) found.outside |= left;
  return found;
}

// Which bytes of a block are outside of tags. `nesting` is the carry, the count of brackets up to the end of
// the block before; it may be below zero, that is, wrap around. Where tags are not nested, as nearly always,
// each bracket changes sides, and the whole block is decided at once:
//
//   block        x  <  b  r  >  y  <  p ...
//   opening      .  1  .  .  .  .  1  .
//   closing      .  .  .  .  1  .  .  .
//   sides        .  1  1  1  .  .  1  1     prefix_xor of both, inverted if the block begins inside
//   outside      1  .  .  .  .  1  .  .     neither on that side nor a bracket
//   inside       .  .  1  1  .  .  .  1     on that side and not a bracket
//   ends         .  .  .  .  1  .  .  .     closing
//
// In nested or stray brackets an opening one is not on the side of the tags, or a closing one is.
BlockTags find_in_block(std::uint64_t opening, std::uint64_t closing, std::uint32_t &nesting) {
  const std::uint64_t brackets = opening | closing;
  if (nesting <= 1) {
    const std::uint64_t sides = scan::prefix_xor(brackets) ^ (0 - std::uint64_t{nesting});
    if ((opening & ~sides) == 0 && (closing & sides) == 0) {
      nesting = static_cast<std::uint32_t>(sides >> 63);
      return {~(sides | brackets), closing};
    }
  }
  return find_nested(opening, closing, nesting);
}

void find_tags(const scan::Chunk &chunk, std::uint32_t &nesting, TagMasks &masks) {
  static constexpr cpu::ByteSet kOpening = cpu::bytes_in("<");
  static constexpr cpu::ByteSet kClosing = cpu::bytes_in(">");
  chunk.find(kOpening, masks.outside);
  chunk.find(kClosing, masks.ends);
  for (std::size_t i = 0; i < chunk.blocks(); ++i) {
    const std::uint64_t brackets = masks.outside[i] | masks.ends[i];
    const BlockTags found = find_in_block(masks.outside[i], masks.ends[i], nesting);
    masks.outside[i] = found.outside;
    masks.inside[i] = ~(found.outside | brackets);
    masks.ends[i] = found.ends;
  }
}

}  // namespace

std::size_t remove(ByteView text, ByteBuffer output) {
  std::uint32_t nesting = 0;
  TagMasks masks;
  const auto choose = [&](const scan::Chunk &chunk, scan::Masks &kept) {
    find_tags(chunk, nesting, masks);
    kept = masks.outside;
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
  std::uint32_t nesting = 0;
  TagMasks masks;
  const auto choose = [&](scan::EditableChunk &chunk, scan::Masks &kept) {
    find_tags(chunk, nesting, masks);
    chunk.fill(masks.inside, instead);
    for (std::size_t i = 0; i < chunk.blocks(); ++i) kept[i] = masks.outside[i] | masks.inside[i];
  };
  return scan::keep(text, choose, output);
}

void TagScanner::find_more() {
  const scan::Chunk chunk(text_, found_to_);
  find_tags(chunk, nesting_, masks_);
  masks_.outside[chunk.blocks() - 1] &= chunk.last_block_bits();
  masks_.inside[chunk.blocks() - 1] &= chunk.last_block_bits();
  found_from_ = found_to_;
  found_to_ += chunk.size();
}

// A step ends with the first bracket of `ends`. Within it, bytes outside come first and those inside later.
bool TagScanner::next() {
  if (at_ == text_.size()) return false;
  const std::size_t start = at_;
  std::size_t kept_count = 0;
  dropped_ = 0;
  for (bool ended = false; !ended && at_ < text_.size();) {
    if (at_ == found_to_) find_more();
    const std::size_t i = (at_ - found_from_) / cpu::kBlock;
    const std::size_t base = found_from_ + i * cpu::kBlock;
    const std::uint64_t left = scan::bits_from(at_ - base);
    const std::uint64_t ends = masks_.ends[i] & left;
    const std::uint64_t step = left & scan::up_to_lowest(ends);
    kept_count += static_cast<std::size_t>(std::popcount(masks_.outside[i] & step));
    dropped_ += static_cast<std::size_t>(std::popcount(masks_.inside[i] & step));
    ended = ends != 0;
    at_ = ended ? base + scan::lowest_position(ends) + 1 : std::min(base + cpu::kBlock, found_to_);
  }
  kept_ = text_.subspan(start, kept_count);
  return true;
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
