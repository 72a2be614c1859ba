#include "html.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "ascii.h"
#include "entities.h"
#include "marks.h"

namespace kzv::html {
namespace {

static_assert(encode_room(1) == kLongestReference);

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

// Narrows one block and tells whether all of it was ASCII.
bool narrow_block(const Unit *units, std::uint8_t *__restrict output) {
  std::uint16_t bits = 0;
  for (std::size_t i = 0; i < cpu::kBlock; ++i) {
    bits |= units[i].value;
    output[i] = static_cast<std::uint8_t>(units[i].value);
  }
  return bits < 0x80;
}

// Encodes a block of ASCII: copies it and, from each markup character on, copies the rest of it again behind
// the reference. Has room for another block behind the longest output. Returns the end of what it wrote.
std::uint8_t *escape_block(const std::uint8_t *block, std::uint8_t *next) {
  static constexpr cpu::ByteSet kMarkup([](std::uint8_t byte) { return is_markup(byte); });
  std::uint64_t left = 0;
  cpu::level().find(block, 1, kMarkup, &left);
  std::memcpy(next, block, cpu::kBlock);
  std::size_t done = 0;
  for (; left != 0; left &= left - 1) {
    const auto at = static_cast<std::size_t>(std::countr_zero(left));
    const Written &written = kWrittenEscapingMarkup[block[at]];
    next += at - done;
    done = at + 1;
    std::memcpy(next, &written, sizeof written);
    next += written.length;
    // As much as may be left: what lies behind the block is overwritten later.
    std::memcpy(next, block + done, cpu::kBlock);
  }
  return next + (cpu::kBlock - done);
}

// Blocks while the output has room for the worst of them, then unit by unit.
template <bool kKeepAscii>
Progress encode_all(UnitView text, ByteBuffer output) {
  constexpr std::size_t kRoom = encode_room(cpu::kBlock) + cpu::kBlock;
  std::array<std::uint8_t, 2 * cpu::kBlock> narrowed{};
  std::size_t consumed = 0;
  std::uint8_t *next = output.data();
  const std::uint8_t *const limit = next + output.size();
  while (text.size() - consumed >= cpu::kBlock && limit - next >= std::ptrdiff_t{kRoom}) {
    const Unit *const units = text.data() + consumed;
    consumed += cpu::kBlock;
    if (!narrow_block(units, narrowed.data())) {
      for (std::size_t i = 0; i < cpu::kBlock; ++i)
        next += encode_unit_roomily<kKeepAscii>(units[i].value, next);
    } else if (kKeepAscii) {
      std::memcpy(next, narrowed.data(), cpu::kBlock);
      next += cpu::kBlock;
    } else {
      next = escape_block(narrowed.data(), next);
    }
  }
  while (consumed < text.size() && limit - next >= std::ptrdiff_t{kLongestReference}) {
    next += encode_unit<kKeepAscii>(text[consumed++].value, next);
  }
  return {consumed, static_cast<std::size_t>(next - output.data())};
}

constexpr bool is_ready(std::uint8_t byte) { return byte != 0 && byte < 0x80 && !is_markup(byte); }

// A reference in a text: its length with "&" and ";", and the character, which may lie above U+FFFF. `length`
// is never less than the units that the character takes.
struct Reference {
  std::size_t length;
  std::uint32_t code_point;
};
constexpr Reference kNoReference{0, 0};

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

// What the first `length` units of `text`, which stand between "&" and ";", are as a code point, or 0.
// Numbers are at most 99999 or FFFF: 5 and 4 digits.
std::uint32_t code_point_of_reference(UnitView text, std::size_t length) {
  constexpr std::size_t kLongestNumber = 6;
  if (length == 0) return 0;
  if (text[0].value != '#') return code_point_of(text, length);
  if (length > kLongestNumber) return 0;
  const bool hexadecimal = length > 1 && text[1].value == 'x';
  return hexadecimal ? parse_number(text.first(length).subspan(2), 16)
                     : parse_number(text.first(length).subspan(1), 10);
}

// How many units stand before the first ";", if there are no more than a name may have; else more.
std::size_t length_up_to_semicolon(UnitView text) {
  constexpr std::size_t kLooked = kLongestName + 1;
  if (text.size() < kLooked) {
    std::size_t length = 0;
    while (length < text.size() && text[length].value != ';') ++length;
    return length;
  }
  unsigned found = 1U << kLooked;
  for (std::size_t i = 0; i < kLooked; ++i) found |= (text[i].value == ';' ? 1U : 0U) << i;
  return static_cast<std::size_t>(std::countr_zero(found));
}

// The reference whose "&" is the unit at `start`.
Reference reference_at(UnitView text, std::size_t start) {
  const UnitView rest = text.subspan(start + 1);
  const std::size_t length = length_up_to_semicolon(rest);
  const bool open = length == rest.size();  // the end of the text closes it, too
  if (length > kLongestName) return kNoReference;
  const std::uint32_t code_point = code_point_of_reference(rest, length);
  if (code_point == 0) return kNoReference;
  return {length + (open ? 1 : 2), code_point};
}

// Finds the "&" of a text one after the other, by its bytes.
class Ampersands {
 public:
  explicit Ampersands(UnitView text)
      : text_(text),
        low_bytes_({reinterpret_cast<const std::uint8_t *>(text.data()), text.size_bytes()}, kAmpersand) {}

  // The first from unit `at` on, or the end of the text. `at` never goes back.
  std::size_t next(std::size_t at) {
    std::size_t byte = low_bytes_.next(at * sizeof(Unit));
    while (byte < text_.size_bytes() &&
           (byte % sizeof(Unit) != 0 || text_[byte / sizeof(Unit)].value != '&')) {
      byte = low_bytes_.next(byte + 1);
    }
    return byte / sizeof(Unit);
  }

 private:
  static constexpr cpu::ByteSet kAmpersand = cpu::bytes_in("&");

  UnitView text_;
  cpu::MarkCursor low_bytes_;
};

// Copies units; a few of them in one piece where both sides have room for it.
Unit *copy(UnitView run, UnitView text_from_there, Unit *to, const Unit *limit) {
  constexpr std::size_t kFew = 16;
  if (run.size() <= kFew && text_from_there.size() >= kFew && limit - to >= std::ptrdiff_t{kFew}) {
    std::memcpy(to, run.data(), kFew * sizeof(Unit));
  } else if (!run.empty()) {
    std::memcpy(to, run.data(), run.size_bytes());
  }
  return to + run.size();
}

// Writes a code point up to U+10FFFF as one unit, or as a surrogate pair.
Unit *write_character(std::uint32_t code_point, Unit *to) {
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

std::size_t decode(UnitView text, std::span<Unit> output) {
  assert(output.size() >= text.size());
  Ampersands ampersands(text);
  Unit *next = output.data();
  const Unit *const limit = next + output.size();
  std::size_t copied = 0;  // what stands before is in the output already
  for (std::size_t at = ampersands.next(0); at < text.size();) {
    const Reference reference = reference_at(text, at);
    if (reference.length == 0) {
      at = ampersands.next(at + 1);
      continue;
    }
    next = copy(text.subspan(copied, at - copied), text.subspan(copied), next, limit);
    next = write_character(reference.code_point, next);
    copied = at + reference.length;
    at = ampersands.next(copied);
  }
  next = copy(text.subspan(copied), text.subspan(copied), next, limit);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::html
