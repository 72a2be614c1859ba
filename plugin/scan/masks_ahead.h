// Masks that look ahead: where a byte of one set is followed by bytes of others.
#pragma once

#include "scan/chunk.h"

namespace kzv::scan {

// A chunk's bytes in a set, and the bytes that come one or two before them. For the set of hex digits:
//
//   block i     x = 4 1 x ... x =  | block i + 1    3 D x
//   digit       . . 1 1 .     . .                   1 1 .
//   ahead 1     . 1 1 . .     . 1      bit k: is byte k + 1 a digit? The last bit comes from the next block.
//   ahead 2     1 1 . . .     1 1
class MasksAhead {
 public:
  MasksAhead(const Chunk &chunk, const cpu::ByteSet &set)
      : last_(chunk.blocks() - 1), lookahead_(chunk.find_in_lookahead(set)) {
    chunk.find(set, masks_);
  }

  std::uint64_t operator[](std::size_t i) const { return masks_[i]; }

  // `distance` is 1 or 2.
  [[nodiscard]] std::uint64_t ahead(std::size_t i, unsigned distance) const {
    const std::uint64_t next = i < last_ ? masks_[i + 1] : lookahead_;
    return masks_[i] >> distance | next << (cpu::kBlock - distance);
  }

 private:
  Masks masks_;
  std::size_t last_;
  std::uint64_t lookahead_;
};

}  // namespace kzv::scan
