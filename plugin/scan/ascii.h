// Whether bytes are ASCII, as fast as memory is read.
#pragma once

#include "cpu/level.h"

namespace kzv {

// Whether no byte is outside `first` to `last`; true for no bytes at all.
inline bool all_within(ByteView bytes, std::uint8_t first, std::uint8_t last) {
  return cpu::level().all_within(bytes.data(), bytes.size(), first, last);
}

inline bool is_all_ascii(ByteView bytes) { return all_within(bytes, 0, 0x7F); }

}  // namespace kzv
