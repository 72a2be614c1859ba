// Finding one byte value, as fast as memory is read.
#pragma once

#include <cstring>

#include "base/bytes.h"

namespace kzv {

// The position of the first `wanted` in `text` from `at` on, or the end of the text.
inline std::size_t find_byte(ByteView text, std::uint8_t wanted, std::size_t at = 0) {
  if (at >= text.size()) return text.size();
  const void *const found = std::memchr(text.data() + at, wanted, text.size() - at);
  if (found == nullptr) return text.size();
  return static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - text.data());
}

inline bool lacks(ByteView text, std::uint8_t byte) { return find_byte(text, byte) == text.size(); }

// The text up to its first zero byte, or all of it.
inline ByteView until_zero(ByteView text) { return text.first(find_byte(text, 0)); }

}  // namespace kzv
