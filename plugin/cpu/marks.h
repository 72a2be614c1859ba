// Working on a text by its bytes of interest, found many at a time: the idea behind most kernels.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>

#include "bytes.h"
#include "level.h"

namespace kzv::cpu {

constexpr std::uint64_t bits_below(std::size_t count) {
  return count < kBlock ? (std::uint64_t{1} << count) - 1 : ~std::uint64_t{0};
}

// Finds the marked bytes of a text one after the other.
class MarkCursor {
 public:
  MarkCursor(ByteView text, const ByteSet &set) : text_(text), set_(set) {}

  // The first marked byte from `at` on, or the end of the text. `at` never goes back.
  std::size_t next(std::size_t at) {
    while (at < text_.size()) {
      if (at >= found_to_) find_more(at);
      const std::uint64_t left = masks_[(at - found_from_) / kBlock] >> (at % kBlock);
      if (left != 0) return at + static_cast<std::size_t>(std::countr_zero(left));
      at = (at / kBlock + 1) * kBlock;
    }
    return text_.size();
  }

 private:
  void find_more(std::size_t at) {
    found_from_ = at / kBlock * kBlock;
    const ByteView rest = text_.subspan(found_from_);
    const std::size_t blocks = std::min(rest.size() / kBlock, masks_.size());
    level().find(rest.data(), blocks, set_, masks_.data());
    if (blocks == 0) {
      std::array<std::uint8_t, kBlock> last{};
      std::ranges::copy(rest, last.begin());
      level().find(last.data(), 1, set_, masks_.data());
      masks_[0] &= bits_below(rest.size());
    }
    found_to_ = found_from_ + std::max(blocks, std::size_t{1}) * kBlock;
  }

  ByteView text_;
  const ByteSet &set_;
  std::size_t found_from_ = 0;
  std::size_t found_to_ = 0;
  std::array<std::uint64_t, 16> masks_;
};

// A part of a text, in memory of its own: whole blocks, with zeros behind the end of the text.
struct Piece {
  static constexpr std::size_t kBlocks = 16;

  std::size_t start;  // of the piece in the text
  std::size_t size;
  std::size_t blocks;
  alignas(kBlock) std::array<std::uint8_t, kBlocks * kBlock> text;

  void load(ByteView input, std::size_t at) {
    start = at;
    size = std::min(input.size() - at, text.size());
    blocks = (size + kBlock - 1) / kBlock;
    std::memcpy(text.data(), input.data() + at, size);
    std::memset(text.data() + size, 0, blocks * kBlock - size);
  }
};
using Masks = std::array<std::uint64_t, Piece::kBlocks>;

// Writes those bytes of each piece that `choose(piece, kept)` leaves; it may change the piece's text first.
// Bits behind the end of the text do not count. The output needs as many bytes as the input; returns the
// number written.
template <typename Choose>
std::size_t keep(ByteView input, Choose choose, ByteBuffer output) {
  assert(output.size() >= input.size());
  Piece piece;
  Masks kept;
  std::size_t written = 0;
  for (std::size_t at = 0; at < input.size(); at += piece.size) {
    piece.load(input, at);
    choose(piece, kept);
    if (piece.size == piece.blocks * kBlock) {
      written += level().compact(piece.text.data(), piece.blocks, kept.data(), output.data() + written);
    } else {
      // Whole blocks may not fit into the output.
      kept[piece.blocks - 1] &= bits_below(piece.size % kBlock);
      std::array<std::uint8_t, sizeof piece.text> last;
      const std::size_t count = level().compact(piece.text.data(), piece.blocks, kept.data(), last.data());
      std::memcpy(output.data() + written, last.data(), count);
      written += count;
    }
  }
  return written;
}

// What becomes of a marked byte and of those behind it, up to `end`: one byte, or nothing.
struct Replacement {
  std::size_t end;
  bool kept;
  std::uint8_t byte;
};
constexpr Replacement replaced_by(std::uint8_t byte, std::size_t end) { return {end, true, byte}; }
constexpr Replacement dropped(std::size_t end) { return {end, false, 0}; }

// Replaces, from left to right, each byte that `mark(piece, marks)` marks as `replace(position)` says, and
// copies the others. Marks among the bytes that a replacement takes in do not count. The output needs as many
// bytes as the input; returns the number written.
template <typename Mark, typename Replace>
std::size_t replace_marked(ByteView input, Mark mark, Replace replace, ByteBuffer output) {
  Masks marks;
  std::size_t resume = 0;  // everything in front of it has been dealt with
  const auto choose = [&](Piece &piece, Masks &kept) {
    mark(piece, marks);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      const std::size_t base = piece.start + i * kBlock;
      std::uint64_t left = bits_below(input.size() - base);  // to be kept, or to be looked at
      if (resume > base) left &= ~bits_below(resume - base);
      kept[i] = left;
      left &= marks[i];
      while (left != 0) {
        const auto bit = static_cast<unsigned>(std::countr_zero(left));
        const Replacement replacement = replace(base + bit);
        resume = replacement.end;
        piece.text[i * kBlock + bit] = replacement.byte;
        const std::uint64_t taken = bits_below(resume - base) & ~bits_below(bit);
        left &= ~taken;
        kept[i] &= ~taken | std::uint64_t{replacement.kept} << bit;
      }
    }
  };
  return keep(input, choose, output);
}

// The same where a set of bytes is marked.
template <typename Replace>
std::size_t replace_in_set(ByteView input, const ByteSet &set, Replace replace, ByteBuffer output) {
  const auto mark = [&](const Piece &piece, Masks &marks) {
    level().find(piece.text.data(), piece.blocks, set, marks.data());
  };
  return replace_marked(input, mark, replace, output);
}

}  // namespace kzv::cpu
