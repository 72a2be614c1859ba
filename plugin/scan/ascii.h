// Whether bytes are ASCII, as fast as memory is read.
#pragma once

#include "base/bytes.h"

namespace kzv {

// Whether no byte satisfies `wrong`. Compilers make vector code of the loop over a run, which has no exit;
// runs are short enough that a wrong byte ends the search soon.
template <typename Predicate>
bool none_of_bytes(ByteView bytes, Predicate wrong) {
  constexpr std::size_t kRun = 256;
  while (!bytes.empty()) {
    const ByteView run = bytes.first(bytes.size() < kRun ? bytes.size() : kRun);
    std::uint8_t any_wrong = 0;
    for (const std::uint8_t byte : run) any_wrong |= static_cast<std::uint8_t>(wrong(byte));
    if (any_wrong != 0) return false;
    bytes = bytes.subspan(run.size());
  }
  return true;
}

constexpr bool is_high(std::uint8_t byte) { return byte >= 0x80; }

// True for no bytes at all.
inline bool is_all_ascii(ByteView bytes) { return none_of_bytes(bytes, is_high); }

}  // namespace kzv
