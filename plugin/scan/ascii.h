// Whether bytes are ASCII, at the speed at which memory is read.
#pragma once

#include "base/bytes.h"

namespace kzv {

// Whether no byte satisfies `wrong`. Looked at in blocks without a way out in the middle, which compilers
// turn into vector code, and short enough that a wrong byte ends the search soon.
template <typename Predicate>
bool none_of_bytes(ByteView bytes, Predicate wrong) {
  constexpr std::size_t kBlock = 256;
  while (!bytes.empty()) {
    const ByteView block = bytes.first(bytes.size() < kBlock ? bytes.size() : kBlock);
    std::uint8_t any_wrong = 0;
    for (const std::uint8_t byte : block) any_wrong |= static_cast<std::uint8_t>(wrong(byte));
    if (any_wrong != 0) return false;
    bytes = bytes.subspan(block.size());
  }
  return true;
}

constexpr bool is_high(std::uint8_t byte) { return byte >= 0x80; }

// No bytes at all are ASCII.
inline bool is_all_ascii(ByteView bytes) { return none_of_bytes(bytes, is_high); }

}  // namespace kzv
