#include "hex.h"

#include <cassert>

namespace kzv::hex {
namespace {

// Computed, not looked up: arithmetic on bytes is what a compiler turns into vector code.
constexpr std::uint8_t digit_of(unsigned nibble) {
  return static_cast<std::uint8_t>(nibble + '0' + (nibble > 9 ? 'A' - '9' - 1 : 0));
}

constexpr std::uint8_t value_of(std::uint8_t digit) {
  const auto decimal = static_cast<std::uint8_t>(digit - '0');
  const auto letter = static_cast<std::uint8_t>((digit | 0x20) - 'a');  // the bit that lower case adds
  const auto letter_value = static_cast<std::uint8_t>(letter < 6 ? letter + 10 : 0);
  return decimal < 10 ? decimal : letter_value;
}

}  // namespace

std::size_t encode(ByteView input, ByteBuffer output) {
  assert(output.size() >= encode_room(input.size()));
  const std::uint8_t *const from = input.data();
  std::uint8_t *const to = output.data();
  for (std::size_t i = 0; i < input.size(); ++i) {
    to[2 * i] = digit_of(from[i] >> 4U);
    to[2 * i + 1] = digit_of(from[i] & 15U);
  }
  return input.size() * 2;
}

std::size_t decode(ByteView input, ByteBuffer output) {
  assert(output.size() >= decode_room(input.size()));
  const std::size_t count = input.size() / 2;
  const std::uint8_t *const from = input.data();
  std::uint8_t *const to = output.data();
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = static_cast<std::uint8_t>(value_of(from[2 * i]) << 4U | value_of(from[2 * i + 1]));
  }
  return count;
}

}  // namespace kzv::hex
