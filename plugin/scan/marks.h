// Working on a text by its bytes of interest, found many at a time: the idea behind most kernels.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>

#include "base/bytes.h"
#include "cpu/level.h"

namespace kzv::scan {

constexpr std::uint64_t bits_below(std::size_t count) {
  return count < cpu::kBlock ? (std::uint64_t{1} << count) - 1 : ~std::uint64_t{0};
}

// The lowest bit that is set, and all below it.
constexpr std::uint64_t up_to_lowest(std::uint64_t bits) { return bits ^ (bits - 1); }

constexpr std::uint64_t lowest_bit(bool set) { return set ? 1 : 0; }

// Finds the marked bytes of a text one after the other.
class MarkCursor {
 public:
  MarkCursor(ByteView text, const cpu::ByteSet &set) : text_(text), set_(set) {}

  // The first marked byte from `at` on, or the end of the text. `at` never goes back.
  std::size_t next(std::size_t at) {
    if (at < found_from_) return next_;  // the last search went on from there
    for (; at < text_.size(); at = (at / cpu::kBlock + 1) * cpu::kBlock) {
      if (at >= found_to_) find_more(at);
      const std::uint64_t left = masks_[(at - found_from_) / cpu::kBlock] >> (at % cpu::kBlock);
      if (left != 0) return next_ = at + static_cast<std::size_t>(std::countr_zero(left));
    }
    return next_ = text_.size();
  }

 private:
  void find_more(std::size_t at) {
    found_from_ = at / cpu::kBlock * cpu::kBlock;
    const ByteView rest = text_.subspan(found_from_);
    const std::size_t blocks = std::min(rest.size() / cpu::kBlock, masks_.size());
    cpu::level().find(rest.data(), blocks, set_, masks_.data());
    if (blocks == 0) {
      std::array<std::uint8_t, cpu::kBlock> last;
      cpu::level().load_partial(rest.data(), rest.size(), last.data());
      cpu::level().find(last.data(), 1, set_, masks_.data());
      masks_[0] &= bits_below(rest.size());
    }
    found_to_ = found_from_ + std::max(blocks, std::size_t{1}) * cpu::kBlock;
  }

  ByteView text_;
  const cpu::ByteSet &set_;
  std::size_t found_from_ = 0;
  std::size_t found_to_ = 0;
  std::size_t next_ = 0;
  std::array<std::uint64_t, 16> masks_;
};

// A part of a text: whole blocks, with zeros behind the end of the text. The two bytes behind the blocks can
// be read as well.
class Piece {
 public:
  static constexpr std::size_t kBlocks = 16;
  static constexpr std::size_t kReadBehind = 2;

  // `output` is where the piece's bytes will go: it has room for as many as the text has from `at` on.
  void load(ByteView input, std::size_t at, std::uint8_t *output) {
    const std::size_t left = input.size() - at;
    start = at;
    blocks = left > kReadBehind ? std::min((left - kReadBehind) / cpu::kBlock, kBlocks) : 0;
    size = blocks * cpu::kBlock;
    text = input.data() + at;
    place = output;
    if (blocks == 0) {
      // The rest, at most a block and two bytes. Whole blocks of it may not fit into the output.
      size = left;
      const std::size_t first = std::min(size, cpu::kBlock);
      cpu::level().load_partial(text, first, rest_.data());
      if (size > cpu::kBlock)
        cpu::level().load_partial(text + cpu::kBlock, size - cpu::kBlock, rest_.data() + cpu::kBlock);
      blocks = size > cpu::kBlock ? 2 : 1;
      std::memset(rest_.data() + blocks * cpu::kBlock, 0, kReadBehind);
      text = place = rest_.data();
    }
  }

  // The text where it may be changed.
  std::uint8_t *own() {
    if (text != place) std::memcpy(place, text, blocks * cpu::kBlock + kReadBehind);
    text = place;
    return place;
  }

  std::size_t start = 0;  // of the piece in the text
  std::size_t size = 0;
  std::size_t blocks = 0;
  const std::uint8_t *text = nullptr;
  std::uint8_t *place = nullptr;  // for the text, once it is changed: whole blocks and kReadBehind bytes

 private:
  std::array<std::uint8_t, 2 * cpu::kBlock + kReadBehind> rest_;
};
using Masks = std::array<std::uint64_t, Piece::kBlocks>;

inline void find(const Piece &piece, const cpu::ByteSet &set, Masks &masks) {
  cpu::level().find(piece.text, piece.blocks, set, masks.data());
}

// Reads the rest of a text, less than a block of units, with zeros behind; returns how many of those.
inline std::size_t read_last(CodeUnitView text, std::array<CodeUnit, cpu::kBlock> &units) {
  constexpr std::size_t kHalf = cpu::kBlock / sizeof(CodeUnit);  // fill one block of bytes
  const std::size_t first = std::min(text.size(), kHalf);
  const auto read = [](CodeUnitView part, CodeUnit *to) {
    cpu::level().load_partial(reinterpret_cast<const std::uint8_t *>(part.data()), part.size_bytes(),
                              reinterpret_cast<std::uint8_t *>(to));
  };
  read(text.first(first), units.data());
  read(text.subspan(first), units.data() + kHalf);
  return cpu::kBlock - text.size();
}

// The marks of a piece's bytes in a set, and how they look a byte or two further on.
class MarksAhead {
 public:
  MarksAhead(const Piece &piece, const cpu::ByteSet &set) : last_(piece.blocks - 1) {
    find(piece, set, masks_);
    const std::uint8_t *const behind = piece.text + piece.blocks * cpu::kBlock;
    behind_ = lowest_bit(set.contains(behind[0])) | lowest_bit(set.contains(behind[1])) << 1;
  }
  std::uint64_t operator[](std::size_t i) const { return masks_[i]; }
  [[nodiscard]] std::uint64_t ahead(std::size_t i, unsigned distance) const {
    const std::uint64_t next = i < last_ ? masks_[i + 1] : behind_;
    return masks_[i] >> distance | next << (cpu::kBlock - distance);
  }

 private:
  Masks masks_;
  std::size_t last_;
  std::uint64_t behind_;
};

// Bit k: whether an odd number of the bits up to the k-th is set.
constexpr std::uint64_t parity_up_to_each(std::uint64_t bits) {
  for (unsigned distance = 1; distance < 64; distance *= 2) bits ^= bits << distance;
  return bits;
}

// Writes those bytes of each piece that `choose(piece, kept)` leaves; it may change the piece's text first.
// Bits behind the end of the text do not count. The output needs as many bytes as the input; returns the
// number written.
template <typename Choose>
std::size_t keep(ByteView input, Choose choose, ByteBuffer output) {
  assert(output.size() >= input.size());
  Piece piece;
  Masks kept;
  std::uint8_t *next = output.data();
  for (std::size_t at = 0; at < input.size(); at += piece.size) {
    piece.load(input, at, next);
    choose(piece, kept);
    const bool whole = piece.size == piece.blocks * cpu::kBlock;
    if (!whole) kept[piece.blocks - 1] &= bits_below(piece.size % cpu::kBlock);
    std::uint8_t *const to = whole ? next : piece.place;
    const std::size_t count = cpu::level().compact(piece.text, piece.blocks, kept.data(), to);
    if (!whole) std::memcpy(next, to, count);
    next += count;
  }
  return static_cast<std::size_t>(next - output.data());
}

// What becomes of a marked byte and of those behind it, up to `end`: one byte, or nothing.
struct Replacement {
  std::size_t end;
  bool kept;
  std::uint8_t byte;
};
constexpr Replacement replaced_by(std::uint8_t byte, std::size_t end) { return {end, true, byte}; }
constexpr Replacement dropped(std::size_t end) { return {end, false, 0}; }

// In a block of a piece: replaces, from left to right, each byte that is marked as `replace(position)` says,
// and leaves the others. Marks among the bytes that a replacement takes in do not count. `resume` is the
// position in front of which everything has been dealt with. Returns the bits of the bytes to keep.
template <typename Replace>
std::uint64_t replace_in_block(Piece &piece, std::size_t block, std::uint64_t marks, std::size_t &resume,
                               Replace replace) {
  const std::size_t base = piece.start + block * cpu::kBlock;
  std::uint64_t kept = resume > base ? ~bits_below(resume - base) : ~std::uint64_t{0};
  std::uint64_t left = kept & marks;
  if (left == 0) return kept;
  std::uint8_t *const text = piece.own() + block * cpu::kBlock;
  while (left != 0) {
    const auto bit = static_cast<unsigned>(std::countr_zero(left));
    const Replacement replacement = replace(base + bit);
    resume = replacement.end;
    text[bit] = replacement.byte;
    const std::uint64_t taken = bits_below(resume - base) & ~bits_below(bit);
    kept &= ~taken | lowest_bit(replacement.kept) << bit;
    // Two steps, so that the next mark seldom has to wait for this one's end.
    left &= left - 1;
    if ((left & taken) != 0) left &= ~taken;
  }
  return kept;
}

// The same for a whole text, where a set of bytes is marked. The output needs as many bytes as the input;
// returns the number written.
template <typename Replace>
std::size_t replace_marked(ByteView input, const cpu::ByteSet &set, Replace replace, ByteBuffer output) {
  Masks marks;
  std::size_t resume = 0;
  const auto choose = [&](Piece &piece, Masks &kept) {
    find(piece, set, marks);
    if (piece.size < piece.blocks * cpu::kBlock)
      marks[piece.blocks - 1] &= bits_below(piece.size % cpu::kBlock);
    for (std::size_t i = 0; i < piece.blocks; ++i) {
      kept[i] = replace_in_block(piece, i, marks[i], resume, replace);
    }
  };
  return keep(input, choose, output);
}

}  // namespace kzv::scan
