#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "base/byte_words.h"
#include "base/hex_digits.h"
#include "markup/entities.h"
#include "markup/html.h"
#include "scan/cursor.h"

namespace kzv::html {
namespace {

// A reference in a text: its length with "&" and ";", and its character, which may be above U+FFFF. The
// length is never less than the code units that the character becomes.
struct Reference {
  std::size_t length;
  std::uint32_t code_point;
};
constexpr Reference kNoReference{0, 0};

// Four ASCII code units, read as one number, as four bytes; zero bytes are not shown:
//
//   units 61 .. 6D .. 70 .. 3B ..    pairs 61 6D .. .. 70 3B .. ..    "amp;" 61 6D 70 3B
constexpr std::uint64_t pack_ascii(std::uint64_t units) {
  const std::uint64_t pairs = (units | units >> 8) & 0x0000FFFF0000FFFF;
  return (pairs | pairs >> 16) & 0xFFFFFFFF;
}

// Eight code units as a word of bytes; those that are not ASCII become 0, which no reference has.
std::uint64_t load_ascii(const CodeUnit *units) {
  std::array<std::uint64_t, 2> fours;
  std::memcpy(fours.data(), units, sizeof fours);
  if (((fours[0] | fours[1]) & 0xFF80FF80FF80FF80) == 0) [[likely]] {
    return pack_ascii(fours[0]) | pack_ascii(fours[1]) << 32;
  }
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < kWordBytes; ++i) {
    const std::uint64_t byte = units[i].value < 0x80 ? units[i].value : 0;
    word |= byte << 8 * i;
  }
  return word;
}

// The value of the first `count` bytes of a word, at most 5, all of them decimal digits. They are moved to
// the high end, so that zeros come first, and neighbours are joined in three steps:
//
//   value         0   0   0   0   8   3   6   4
//   pairs             0       0      83      64      each byte times 10 and the next byte
//   fours                     0            8364      each pair times 100 and the next pair
std::uint32_t decimal(std::uint64_t digits, std::size_t count) {
  std::uint64_t value = (digits & first_bytes(count) & in_each_byte(0x0F)) << (8 * (8 - count) % 64);
  value = (value * 10 + (value >> 8)) & 0x00FF00FF00FF00FF;
  value = (value * 100 + (value >> 16)) & 0x0000FFFF0000FFFF;
  return static_cast<std::uint32_t>(value * 10000 + (value >> 32));
}

// The value of the digits at the start of `count` bytes, or 0 if a minus sign comes after them.
std::uint32_t parse_number(std::uint64_t bytes, std::size_t count, std::uint32_t base) {
  std::uint32_t value = 0;
  for (; count > 0; --count, bytes >>= 8) {
    const auto byte = static_cast<std::uint8_t>(bytes);
    if (byte == '-') return 0;
    if (!is_hex_digit(byte) || kDigitValues[byte] >= base) break;
    value = value * base + kDigitValues[byte];
  }
  return value;
}

// Whether the first `count` bytes of a word are decimal digits: XOR '0' they are below 10, so that adding
// 0x76 does not reach 0x80.
bool all_decimal(std::uint64_t bytes, std::size_t count) {
  const std::uint64_t values = bytes ^ in_each_byte('0');
  const std::uint64_t others = (values | (values + in_each_byte(0x76))) & in_each_byte(0x80);
  return (others & first_bytes(count)) == 0;
}

// The code point of a reference with `length` bytes between "&" and ";", or 0. Numbers are at most 99999 or
// FFFF: "#" and 5, or "#x" and 4 digits.
std::uint32_t code_point_of_reference(std::uint64_t bytes, std::size_t length) {
  constexpr std::size_t kLongestNumber = 6;
  if (static_cast<std::uint8_t>(bytes) != '#') return code_point_of(bytes, length);
  if (length > kLongestNumber) return 0;
  const std::uint64_t digits = bytes >> 8;
  if (all_decimal(digits, length - 1)) return decimal(digits, length - 1);
  const bool hexadecimal = length > 1 && static_cast<std::uint8_t>(digits) == 'x';
  return hexadecimal ? parse_number(digits >> 8, length - 2, 16) : parse_number(digits, length - 1, 10);
}

// The reference that begins after "&" with `units`, of which at least nine can be read and `left` are text.
// Its characters are one number, so that finding the ";" and the name takes a few instructions:
//
//   text     & e  u  r  o  ;  x  y  z
//   word       65 75 72 6F 3B 78 79 7A        length 4: the bytes before 3B
//   name       65 75 72 6F 00 00 00 00        what the table of names is searched for
Reference read_reference(const CodeUnit *units, std::size_t left) {
  const std::uint64_t word = load_ascii(units);
  const std::size_t length = find_in_word(word, ';');
  if (length == 0 || (length == kLongestName && units[kLongestName].value != ';')) return kNoReference;
  const std::uint32_t code_point = code_point_of_reference(word & first_bytes(length), length);
  if (code_point == 0) return kNoReference;
  return {length + (length < left ? 2 : 1), code_point};
}

// The reference whose "&" is directly before `rest`. The end of a text, like ";", ends a reference.
Reference reference_with(CodeUnitView rest) {
  if (rest.size() > kLongestName) [[likely]]
    return read_reference(rest.data(), rest.size());
  std::array<CodeUnit, kLongestName + 1> units{};
  std::ranges::copy(rest, units.begin());
  units[rest.size()] = {';'};
  return read_reference(units.data(), rest.size());
}

// Copies the first `count` code units of `text`, the rest of the input; few of them with a copy of fixed
// size. The output has never less left than the input: no character is longer than its reference.
CodeUnit *copy(CodeUnitView text, std::size_t count, CodeUnit *to) {
  constexpr std::size_t kFew = 16;
  if (count <= kFew && text.size() >= kFew) {
    std::memcpy(to, text.data(), kFew * sizeof(CodeUnit));
  } else if (count > 0) {
    std::memcpy(to, text.data(), count * sizeof(CodeUnit));
  }
  return to + count;
}

// Writes a code point up to U+10FFFF as one code unit, or as a surrogate pair.
CodeUnit *write_character(std::uint32_t code_point, CodeUnit *to) {
  if (code_point < 0x10000) {
    *to = {static_cast<std::uint16_t>(code_point)};
    return to + 1;
  }
  // U+10000 = D800 DC00; 0xD800 - (0x10000 >> 10) = 0xD7C0.
  to[0] = {static_cast<std::uint16_t>(0xD7C0 + (code_point >> 10))};
  to[1] = {static_cast<std::uint16_t>(0xDC00 | (code_point & 0x3FF))};
  return to + 2;
}

}  // namespace

std::size_t decode(CodeUnitView text, std::span<CodeUnit> output) {
  assert(output.size() >= text.size());
  static constexpr cpu::ByteSet kAmpersand = cpu::bytes_in("&");
  const ByteView bytes(reinterpret_cast<const std::uint8_t *>(text.data()), text.size_bytes());
  scan::Cursor ampersand_bytes(bytes, kAmpersand);
  const auto next_ampersand = [&](std::size_t from) {
    // Such a byte may also be half of another character, such as U+0126 or U+2601.
    std::size_t byte = ampersand_bytes.next(from * 2);
    while (byte < bytes.size() && (byte % 2 != 0 || text[byte / 2].value != '&'))
      byte = ampersand_bytes.next(byte + 1);
    return byte / 2;
  };
  CodeUnit *next = output.data();
  std::size_t done = 0;  // the code units before are in the output
  // The search for the next "&" does not wait for the reference of this one.
  for (std::size_t at = next_ampersand(0); at < text.size(); at = next_ampersand(at + 1)) {
    if (at < done) continue;  // within a number, after its digits
    const Reference reference = reference_with(text.subspan(at + 1));
    if (reference.length == 0) continue;
    next = copy(text.subspan(done), at - done, next);
    next = write_character(reference.code_point, next);
    done = at + reference.length;
  }
  next = copy(text.subspan(done), text.size() - done, next);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::html
