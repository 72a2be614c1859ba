#include "html.h"

#include <algorithm>
#include <cstring>

#include "ascii.h"
#include "entities.h"

namespace kzv::html {
namespace {

static_assert(encode_room(1) == kLongestReference);

// Elements looked at together: a loop of fixed length without a way out becomes vector instructions, provided
// that its findings are gathered in an integer.
constexpr std::size_t kBlock = 16;

// The apostrophe is the one character whose name is not written: HTML 4.01 itself does not know "apos".
std::size_t write_reference(std::uint16_t unit, char *output) {
  const Entity *entity = entity_of(unit);
  if (entity == nullptr || unit == '\'') return write_number(unit, output);
  std::copy_n(entity->reference.data(), kLongestReference, output);
  return entity->length;
}

template <bool kKeepAscii>
constexpr bool is_ordinary(std::uint16_t unit) {
  return unit < 0x80 && (kKeepAscii || !is_markup(unit));
}

template <bool kKeepAscii>
std::size_t encode_unit(std::uint16_t unit, std::uint8_t *output) {
  if (!is_ordinary<kKeepAscii>(unit)) return write_reference(unit, reinterpret_cast<char *>(output));
  *output = static_cast<std::uint8_t>(unit);
  return 1;
}

// The same where there is room for one store, which spares the branches.
template <bool kKeepAscii>
std::size_t encode_unit_roomily(std::uint16_t unit, std::uint8_t *output) {
  constexpr const auto &kWritten = kKeepAscii ? kWrittenKeepingAscii : kWrittenEscapingMarkup;
  if (unit >= kWritten.size()) return write_reference(unit, reinterpret_cast<char *>(output));
  const Written &written = kWritten[unit];
  std::memcpy(output, &written, sizeof written);
  return written.length;
}

// Narrows one block and tells whether that was all it needed. The output never overlaps the text.
template <bool kKeepAscii>
bool narrow_block(const Unit *units, std::uint8_t *__restrict output) {
  std::uint16_t special = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const std::uint16_t unit = units[i].value;
    output[i] = static_cast<std::uint8_t>(unit);
    special |= is_ordinary<kKeepAscii>(unit) ? std::uint16_t{0} : std::uint16_t{1};
  }
  return special == 0;
}

// Blocks while the output has room for the worst of them, then unit by unit.
template <bool kKeepAscii>
Progress encode_all(UnitView text, ByteBuffer output) {
  std::size_t consumed = 0;
  std::size_t written = 0;
  const auto encode_next = [&] {
    written += encode_unit<kKeepAscii>(text[consumed++].value, output.data() + written);
  };
  constexpr std::size_t kRoom = encode_room(kBlock) + sizeof(Written);
  while (text.size() - consumed >= kBlock && output.size() - written >= kRoom) {
    if (narrow_block<kKeepAscii>(text.data() + consumed, output.data() + written)) {
      consumed += kBlock;
      written += kBlock;
    } else {
      for (std::size_t i = 0; i < kBlock; ++i) {
        written += encode_unit_roomily<kKeepAscii>(text[consumed++].value, output.data() + written);
      }
    }
  }
  while (consumed < text.size() && output.size() - written >= kLongestReference) encode_next();
  return {consumed, written};
}

constexpr bool is_ready(std::uint8_t byte) { return byte != 0 && byte < 0x80 && !is_markup(byte); }

// The index of the first "&" in `text` from `at` on, or its size.
std::size_t find_ampersand(UnitView text, std::size_t at) {
  for (; text.size() - at >= kBlock; at += kBlock) {
    std::uint16_t found = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
      found |= text[at + i].value == '&' ? std::uint16_t{1} : std::uint16_t{0};
    }
    if (found != 0) break;
  }
  while (at < text.size() && text[at].value != '&') ++at;
  return at;
}

constexpr std::uint32_t kNoDigit = 16;

constexpr std::uint32_t digit_value(std::uint16_t unit) {
  if (unit >= '0' && unit <= '9') return unit - std::uint32_t{'0'};
  const std::uint32_t letter = unit | 0x20U;
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : kNoDigit;
}

// The value of the digits at the start of `digits`, or 0 when a minus sign stands among them.
std::uint32_t parse_number(UnitView digits, std::uint32_t base) {
  std::uint32_t value = 0;
  for (const Unit unit : digits) {
    if (unit.value == '-') return 0;
    const std::uint32_t digit = digit_value(unit.value);
    if (digit >= base) break;
    value = value * base + digit;
  }
  return value;
}

// What stands between "&" and ";" as a code point, or 0. Numbers are at most 99999 or FFFF: 5 and 4 digits.
std::uint32_t code_point_of_reference(UnitView text) {
  constexpr std::size_t kLongestNumber = 6;
  if (text.empty()) return 0;
  if (text[0].value != '#') return code_point_of(text);
  if (text.size() > kLongestNumber) return 0;
  const bool hexadecimal = text.size() > 1 && text[1].value == 'x';
  return hexadecimal ? parse_number(text.subspan(2), 16) : parse_number(text.subspan(1), 10);
}

// The reference whose "&" is the unit at `start`; its length is 0 when it is none.
Reference reference_at(UnitView text, std::size_t start) {
  const UnitView rest = text.subspan(start + 1);
  const std::size_t limit = std::min(rest.size(), kLongestName + 1);
  std::size_t length = 0;
  while (length < limit && rest[length].value != ';') ++length;
  const bool open = length == rest.size();  // the end of the text closes it, too
  if (length > kLongestName) return {start, 0, 0};
  const std::uint32_t code_point = code_point_of_reference(rest.first(length));
  if (code_point == 0) return {start, 0, 0};
  return {start, length + (open ? 1 : 2), code_point};
}

}  // namespace

UnitView without_mark(UnitView text) {
  const bool marked = !text.empty() && (text[0].value == 0xFEFF || text[0].value == 0xFFFE);
  return marked ? text.subspan(1) : text;
}

Progress encode(UnitView text, bool keep_ascii, ByteBuffer output) {
  return keep_ascii ? encode_all<true>(text, output) : encode_all<false>(text, output);
}

bool is_html_ready(ByteView bytes) {
  return none_of_bytes(bytes, [](std::uint8_t byte) { return !is_ready(byte); });
}

Reference next_reference(UnitView text) {
  for (std::size_t at = find_ampersand(text, 0); at < text.size(); at = find_ampersand(text, at + 1)) {
    const Reference reference = reference_at(text, at);
    if (reference.length != 0) return reference;
  }
  return {text.size(), 0, 0};
}

std::size_t to_units(std::uint32_t code_point, std::span<std::uint16_t, 2> units) {
  if (code_point < 0x10000) {
    units[0] = static_cast<std::uint16_t>(code_point);
    return 1;
  }
  // U+10000 = D800 DC00; 0xD800 - (0x10000 >> 10) = 0xD7C0.
  units[0] = static_cast<std::uint16_t>(0xD7C0 + (code_point >> 10));
  units[1] = static_cast<std::uint16_t>(0xDC00 | (code_point & 0x3FF));
  return 2;
}

}  // namespace kzv::html
