// Finding the members of a set one after the other.
#pragma once

#include <algorithm>

#include "scan/masks.h"

namespace kzv::scan {

// Finds a chunk's masks at once and takes positions from them; at first those of one block, for a text that
// has a member soon.
class Cursor {
 public:
  Cursor(ByteView text, const cpu::ByteSet &set) : text_(text), set_(set) {}

  // The first member from `at` on, or the end of the text. `at` is never less than in the call before.
  std::size_t next(std::size_t at) {
    if (at < found_from_) return next_;  // the last search has gone on past `at` without a member
    for (; at < text_.size(); at = (at / cpu::kBlock + 1) * cpu::kBlock) {
      if (at >= found_to_) find_more(at);
      const std::uint64_t members = masks_[(at - found_from_) / cpu::kBlock] >> (at % cpu::kBlock);
      if (members != 0) return next_ = at + lowest_position(members);
    }
    return next_ = text_.size();
  }

 private:
  void find_more(std::size_t at) {
    found_from_ = at / cpu::kBlock * cpu::kBlock;
    const ByteView rest = text_.subspan(found_from_);
    const std::size_t blocks = std::min(rest.size() / cpu::kBlock, found_to_ == 0 ? 1 : kChunkBlocks);
    cpu::level().find(rest.data(), blocks, set_, masks_.data());
    if (blocks == 0) {
      std::array<std::uint8_t, cpu::kBlock> tail;
      cpu::level().load_partial(rest.data(), rest.size(), tail.data());
      cpu::level().find(tail.data(), 1, set_, masks_.data());
      masks_[0] &= bits_below(rest.size());
    }
    found_to_ = found_from_ + std::max(blocks, std::size_t{1}) * cpu::kBlock;
  }

  ByteView text_;
  const cpu::ByteSet &set_;
  std::size_t found_from_ = 0;
  std::size_t found_to_ = 0;
  std::size_t next_ = 0;
  Masks masks_;
};

}  // namespace kzv::scan
