// The tail of a UTF-16 text.
#pragma once

#include <algorithm>
#include <array>

#include "cpu/level.h"

namespace kzv::scan {

using CodeUnitBlock = std::array<CodeUnit, cpu::kBlock>;

// Reads less than a block of code units and fills the block up with zeros.
inline void load_tail(CodeUnitView tail, CodeUnitBlock &block) {
  constexpr std::size_t kHalf = cpu::kBlock / sizeof(CodeUnit);  // 64 bytes, what load_partial reads
  const auto load = [](CodeUnitView part, CodeUnit *to) {
    cpu::level().load_partial(reinterpret_cast<const std::uint8_t *>(part.data()), part.size_bytes(),
                              reinterpret_cast<std::uint8_t *>(to));
  };
  const std::size_t first = std::min(tail.size(), kHalf);
  load(tail.first(first), block.data());
  load(tail.subspan(first), block.data() + kHalf);
}

}  // namespace kzv::scan
