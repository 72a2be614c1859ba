// Hex digits and the numbers that they make, both ways.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kzv {

inline constexpr char kHexDigits[] = "0123456789ABCDEF";

// The value of each byte as a hex digit of either case; other bytes count as 0.
inline constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
  std::array<std::uint8_t, 256> values{};
  for (std::uint8_t value = 0; value < 16; ++value) {
    const char digit = kHexDigits[value];
    values[static_cast<std::uint8_t>(digit)] = value;
    if (digit >= 'A') values[static_cast<std::uint8_t>(digit - 'A' + 'a')] = value;
  }
  return values;
}();

constexpr bool is_hex_digit(std::uint8_t byte) { return byte == '0' || kDigitValues[byte] != 0; }

// The two digits of each byte.
using HexPair = std::array<char, 2>;

consteval std::array<HexPair, 256> make_hex_pairs() {
  std::array<HexPair, 256> pairs{};
  for (std::size_t byte = 0; byte < 256; ++byte) pairs[byte] = {kHexDigits[byte >> 4], kHexDigits[byte & 15]};
  return pairs;
}
inline constexpr std::array<HexPair, 256> kHexPairs = make_hex_pairs();

}  // namespace kzv
