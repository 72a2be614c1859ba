// Eight bytes in one 64-bit number, the first one lowest ("true," is 0x2C65757274), so that they are compared
// or searched at once.
#pragma once

#include <bit>
#include <cstring>

#include "base/bytes.h"

namespace kzv {

inline constexpr std::size_t kWordBytes = sizeof(std::uint64_t);

// The first eight bytes of a text, or all of it and zeros.
inline std::uint64_t load_word(ByteView text) {
  std::uint64_t word = 0;
  if (text.size() >= kWordBytes) {
    std::memcpy(&word, text.data(), kWordBytes);
  } else if (!text.empty()) {
    std::memcpy(&word, text.data(), text.size());
  }
  return word;
}

// The bits of the first `count` bytes, at most eight.
constexpr std::uint64_t first_bytes(std::size_t count) {
  return count < kWordBytes ? (std::uint64_t{1} << 8 * count) - 1 : ~std::uint64_t{0};
}

// One byte eight times.
constexpr std::uint64_t in_each_byte(std::uint8_t byte) { return 0x0101010101010101 * std::uint64_t{byte}; }

// The number of bytes before the first `wanted`, or 8. Subtracting 1 from each byte sets the high bit of
// those that were zero; a borrow from a zero byte can disturb only bytes above it.
//
//   word           a  m  p  ;  x  ;  y  z
//   differing      nz nz nz 00 nz 00 nz nz     the word XOR ";" in each byte
//   zeros          .  .  .  80 ?  80 ?  ?
constexpr std::size_t find_in_word(std::uint64_t word, std::uint8_t wanted) {
  const std::uint64_t differing = word ^ in_each_byte(wanted);
  const std::uint64_t zeros = (differing - in_each_byte(1)) & ~differing & in_each_byte(0x80);
  return static_cast<std::size_t>(std::countr_zero(zeros)) / 8;
}

}  // namespace kzv
