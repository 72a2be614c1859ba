#include "url.h"

#include <array>
#include <cassert>
#include <cstring>
#include <string_view>

#include "hex_digits.h"
#include "marks.h"

namespace kzv::url {
namespace {

consteval EscapeTable make_escapes(Escape space, Escape plus) {
  constexpr std::string_view kKept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!*-._@";
  EscapeTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const bool kept = kKept.find(static_cast<char>(byte)) != std::string_view::npos;
    table[byte] = kept ? as_it_is(byte) : hex_escape('%', byte);
  }
  table[' '] = space;
  table['+'] = plus;
  return table;
}

// One table for each value of the two option bits.
constexpr std::array<EscapeTable, 4> escapechars = {
    make_escapes(hex_escape('%', ' '), as_it_is('+')),
    make_escapes(as_it_is('+'), hex_escape('%', '+')),
    make_escapes(hex_escape('%', ' '), hex_escape('%', '+')),
    make_escapes(hex_escape('%', ' '), as_it_is('+')),
};

}  // namespace

std::size_t encode(ByteView input, std::uint32_t options, ByteBuffer output) {
  assert(output.size() >= encode_room(input.size()));
  const EscapeTable &escapes = escapechars[options & (kSpaceIsPlus | kEscapePlus)];
  std::uint8_t *next = output.data();
  for (const std::uint8_t byte : input) {
    std::memcpy(next, &escapes[byte], sizeof(Escape));
    next += escapes[byte].length;
  }
  return static_cast<std::size_t>(next - output.data());
}

std::size_t decode(ByteView input, std::uint32_t options, ByteBuffer output) {
  assert(output.size() >= input.size());
  static constexpr cpu::ByteSet kEscape = cpu::bytes_in("%");
  static constexpr cpu::ByteSet kEscapeAndPlus = cpu::bytes_in("%+");
  const auto digit_at = [&](std::size_t at) {
    return at < input.size() ? kDigitValues[input[at]] : std::uint8_t{0};
  };
  const auto replace = [&](std::size_t at) {
    if (input[at] == '+') return cpu::replaced_by(' ', at + 1);
    const auto byte = static_cast<std::uint8_t>(digit_at(at + 1) << 4 | digit_at(at + 2));
    return cpu::replaced_by(byte, at + 3);
  };
  const cpu::ByteSet &marked = (options & kSpaceIsPlus) != 0 ? kEscapeAndPlus : kEscape;
  return cpu::replace_in_set(input, marked, replace, output);
}

}  // namespace kzv::url
