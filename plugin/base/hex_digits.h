// Hex digits both ways, and the escapes made of an introducing character and two of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kzv {

inline constexpr char kHexDigits[] = "0123456789ABCDEF";

// The value of each byte as a hex digit of either case; bytes that are no digit count as 0.
inline constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
  std::array<std::uint8_t, 256> values{};
  for (std::uint8_t value = 0; value < 16; ++value) {
    const char digit = kHexDigits[value];
    values[static_cast<std::uint8_t>(digit)] = value;
    if (digit >= 'A') values[static_cast<std::uint8_t>(digit - 'A' + 'a')] = value;
  }
  return values;
}();

// The two digits of each byte.
using HexPair = std::array<char, 2>;

consteval std::array<HexPair, 256> make_hex_pairs() {
  std::array<HexPair, 256> pairs{};
  for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
    pairs[byte] = {kHexDigits[byte >> 4], kHexDigits[byte & 15]};
  }
  return pairs;
}
inline constexpr std::array<HexPair, 256> kHexPairs = make_hex_pairs();

// What one byte is replaced with. Four bytes wide so that it is written with one store.
struct Escape {
  std::array<char, 3> text;
  std::uint8_t length;
};
static_assert(sizeof(Escape) == 4);

using EscapeTable = std::array<Escape, 256>;

constexpr Escape as_it_is(std::size_t byte) { return {{static_cast<char>(byte), 0, 0}, 1}; }
constexpr Escape hex_escape(char introducer, std::size_t byte) {
  return {{introducer, kHexDigits[byte >> 4], kHexDigits[byte & 15]}, 3};
}

}  // namespace kzv
