#include "url.h"

#include <array>
#include <cassert>
#include <cstring>
#include <string_view>

namespace kzv::url {
namespace {

// What one byte is replaced with. Four bytes wide so that it is written with one store.
struct Escape {
  std::array<char, 3> text;
  std::uint8_t length;
};
static_assert(sizeof(Escape) == 4);

constexpr Escape kAsItIs(std::size_t byte) { return {{static_cast<char>(byte), 0, 0}, 1}; }
constexpr Escape kPercent(std::size_t byte) {
  return {{'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]}, 3};
}

using EscapeTable = std::array<Escape, 256>;

consteval EscapeTable make_escapes(Escape space, Escape plus) {
  constexpr std::string_view kKept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!*-._@";
  EscapeTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const bool kept = kKept.find(static_cast<char>(byte)) != kKept.npos;
    table[byte] = kept ? kAsItIs(byte) : kPercent(byte);
  }
  table[' '] = space;
  table['+'] = plus;
  return table;
}

// One table for each value of the two option bits.
constexpr std::array<EscapeTable, 4> escapechars = {
    make_escapes(kPercent(' '), kAsItIs('+')),
    make_escapes(kAsItIs('+'), kPercent('+')),
    make_escapes(kPercent(' '), kPercent('+')),
    make_escapes(kPercent(' '), kAsItIs('+')),
};

consteval std::array<std::uint8_t, 256> make_digit_values() {
  std::array<std::uint8_t, 256> values{};
  for (std::uint8_t value = 0; value < 16; ++value) {
    const char digit = kHexDigits[value];
    values[static_cast<std::uint8_t>(digit)] = value;
    if (digit >= 'A') values[static_cast<std::uint8_t>(digit - 'A' + 'a')] = value;
  }
  return values;
}
constexpr std::array<std::uint8_t, 256> kDigitValues = make_digit_values();

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
  const std::uint8_t plus = (options & kSpaceIsPlus) != 0 ? ' ' : '+';
  const auto digit_at = [&](std::size_t at) {
    return at < input.size() ? kDigitValues[input[at]] : std::uint8_t{0};
  };
  std::size_t written = 0;
  for (std::size_t i = 0; i < input.size(); ++i) {
    std::uint8_t byte = input[i];
    if (byte == '%') {
      byte = static_cast<std::uint8_t>(digit_at(i + 1) << 4 | digit_at(i + 2));
      i += 2;
    } else if (byte == '+') {
      byte = plus;
    }
    output[written++] = byte;
  }
  return written;
}

}  // namespace kzv::url
