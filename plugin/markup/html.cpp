#include "markup/html.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <emmintrin.h>
#include <utility>

#include "base/hex_digits.h"
#include "markup/entities.h"
#include "scan/ascii.h"
#include "scan/marks.h"

namespace kzv::html {
namespace {

static_assert(encode_bound(1) == kLongestReference);

// Writes a unit as `table` says, or as a reference where that ends: 16 bytes, of which those returned count.
std::size_t encode_unit(std::uint16_t unit, const WrittenTable &table, std::uint8_t *output) {
  if (unit < table.size()) {
    std::memcpy(output, &table[unit], sizeof(Written));
    return table[unit].length;
  }
  const Entity *const entity = entity_of(unit);
  if (entity == nullptr) return write_number(unit, reinterpret_cast<char *>(output));
  std::memcpy(output, entity->reference.data(), kLongestReference);
  return entity->length;
}

// Copies a block, narrowed, and writes the units in `references` as the table says: from each of them on, the
// rest of the block is copied again behind it. There is room for another block behind the longest output.
// Returns the end of what it wrote.
std::uint8_t *copy_with_references(const CodeUnit *units, const std::uint8_t *narrowed,
                                   std::uint64_t references, const WrittenTable &table, std::uint8_t *next) {
  std::memcpy(next, narrowed, cpu::kBlock);
  std::size_t done = 0;
  for (; references != 0; references &= references - 1) {
    const auto at = static_cast<std::size_t>(std::countr_zero(references));
    next += at - done;
    next += encode_unit(units[at].value, table, next);
    done = at + 1;
    // As much as may be left: what lies behind the block is overwritten later.
    std::memcpy(next, narrowed + done, cpu::kBlock);
  }
  return next + (cpu::kBlock - done);
}

constexpr bool is_ready(std::uint8_t byte) { return byte != 0 && byte < 0x80 && !is_markup(byte); }

// A reference in a text: its length with "&" and ";", and the character, which may lie above U+FFFF. `length`
// is never less than the units that the character takes.
struct Reference {
  std::size_t length;
  std::uint32_t code_point;
};
constexpr Reference kNoReference{0, 0};

// One byte eight times.
constexpr NameKey in_each(std::uint8_t byte) { return NameKey{0x0101010101010101} * byte; }

constexpr NameKey first_bytes(std::size_t count) { return scan::bits_below(8 * count); }

// The characters of eight units; those that are no ASCII become bytes that are none either, or zero.
NameKey narrowed(const CodeUnit *units) {
  const __m128i wide = _mm_loadu_si128(reinterpret_cast<const __m128i *>(units));
  NameKey bytes = 0;
  _mm_storel_epi64(reinterpret_cast<__m128i *>(&bytes), _mm_packus_epi16(wide, wide));
  return bytes;
}

// How many bytes stand before the first ";", or 8.
std::size_t length_up_to_semicolon(NameKey bytes) {
  const NameKey differing = bytes ^ in_each(';');
  const NameKey zeros = (differing - in_each(1)) & ~differing & in_each(0x80);  // up to the first, exact
  return static_cast<std::size_t>(std::countr_zero(zeros)) / 8;
}

// The number that `count` decimal digits make, at most 5 of them.
std::uint32_t decimal(NameKey digits, std::size_t count) {
  // With zeros before the first digit, then pairs, fours and eights of them are joined.
  NameKey value = (digits & first_bytes(count) & in_each(0x0F)) << (8 * (8 - count) % 64);
  value = (value * 10 + (value >> 8)) & 0x00FF00FF00FF00FF;
  value = (value * 100 + (value >> 16)) & 0x0000FFFF0000FFFF;
  return static_cast<std::uint32_t>(value * 10000 + (value >> 32));
}

constexpr std::uint32_t kNoDigit = 16;

constexpr std::uint32_t digit_value(std::uint8_t byte) {
  return byte == '0' || kDigitValues[byte] != 0 ? kDigitValues[byte] : kNoDigit;
}

// The value of the digits at the start of `count` bytes, or 0 when a minus sign stands among them.
std::uint32_t parse_number(NameKey bytes, std::size_t count, std::uint32_t base) {
  std::uint32_t value = 0;
  for (; count > 0; --count, bytes >>= 8) {
    const auto byte = static_cast<std::uint8_t>(bytes);
    if (byte == '-') return 0;
    const std::uint32_t digit = digit_value(byte);
    if (digit >= base) break;
    value = value * base + digit;
  }
  return value;
}

// The value of `length` bytes that begin with "#" and go on with anything but just decimal digits.
std::uint32_t parse_odd_number(NameKey bytes, std::size_t length) {
  const bool hexadecimal = length > 1 && static_cast<std::uint8_t>(bytes >> 8) == 'x';
  return hexadecimal ? parse_number(bytes >> 16, length - 2, 16) : parse_number(bytes >> 8, length - 1, 10);
}

// What `length` bytes between "&" and ";" are as a code point, or 0. Numbers are at most 99999 or FFFF: 5 and
// 4 digits. Names and decimal numbers are both tried, for which it is is no processor's guess.
std::uint32_t code_point_of_reference(NameKey bytes, std::size_t length) {
  constexpr std::size_t kLongestNumber = 6;
  const NameKey digits = bytes >> 8;
  const NameKey distances = digits ^ in_each('0');  // below 10 for a digit
  const NameKey no_digits =
      (distances | (distances + in_each(0x76))) & in_each(0x80) & first_bytes(length - 1);
  const unsigned is_number = static_cast<std::uint8_t>(bytes) == '#' && length <= kLongestNumber ? 1 : 0;
  const unsigned is_decimal = is_number & (no_digits == 0 ? 1U : 0U);
  const std::uint32_t code_point =
      code_point_of(bytes, length) | (decimal(digits, length - 1) & (0 - is_decimal));
  return code_point == 0 && is_number != 0 ? parse_odd_number(bytes, length) : code_point;
}

// The reference whose "&" is the unit at `start`.
Reference reference_at(CodeUnitView text, std::size_t start) {
  const CodeUnitView rest = text.subspan(start + 1);
  std::array<CodeUnit, kLongestName + 1> last{};
  const CodeUnit *units = rest.data();
  if (rest.size() < last.size()) {
    // The end of the text closes a reference, too.
    std::ranges::copy(rest, last.begin());
    last[rest.size()] = {';'};
    units = last.data();
  }
  const NameKey bytes = narrowed(units);
  const std::size_t length = length_up_to_semicolon(bytes);
  if (length == 0 || (length == kLongestName && units[kLongestName].value != ';')) return kNoReference;
  const std::uint32_t code_point = code_point_of_reference(bytes & first_bytes(length), length);
  if (code_point == 0) return kNoReference;
  return {length + (length < rest.size() ? 2 : 1), code_point};
}

// Finds the "&" of a text one after the other, by its bytes.
class Ampersands {
 public:
  explicit Ampersands(CodeUnitView text)
      : text_(text),
        low_bytes_({reinterpret_cast<const std::uint8_t *>(text.data()), text.size_bytes()}, kAmpersand) {}

  // The first from unit `at` on, or the end of the text. `at` never goes back.
  std::size_t next(std::size_t at) {
    std::size_t byte = low_bytes_.next(at * sizeof(CodeUnit));
    while (byte < text_.size_bytes() &&
           (byte % sizeof(CodeUnit) != 0 || text_[byte / sizeof(CodeUnit)].value != '&')) {
      byte = low_bytes_.next(byte + 1);
    }
    return byte / sizeof(CodeUnit);
  }

 private:
  static constexpr cpu::ByteSet kAmpersand = cpu::bytes_in("&");

  CodeUnitView text_;
  scan::MarkCursor low_bytes_;
};

// Copies units; a few of them in one piece where both sides have room for it.
CodeUnit *copy(CodeUnitView run, CodeUnitView text_from_there, CodeUnit *to, const CodeUnit *limit) {
  constexpr std::size_t kFew = 16;
  if (run.size() <= kFew && text_from_there.size() >= kFew && limit - to >= std::ptrdiff_t{kFew}) {
    std::memcpy(to, run.data(), kFew * sizeof(CodeUnit));
  } else if (!run.empty()) {
    std::memcpy(to, run.data(), run.size_bytes());
  }
  return to + run.size();
}

// Writes a code point up to U+10FFFF as one unit, or as a surrogate pair.
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

CodeUnitView without_mark(CodeUnitView text) {
  const bool marked = !text.empty() && (text[0].value == 0xFEFF || text[0].value == 0xFFFE);
  return marked ? text.subspan(1) : text;
}

namespace {

// Room for the longest output of a block, and one behind it.
constexpr std::size_t kBlockRoom = encode_bound(cpu::kBlock) + cpu::kBlock;

// Writes the first `count` of a block of units; there is room for a whole one. Returns the end.
std::uint8_t *encode_block(const CodeUnit *units, std::size_t count, bool keep_ascii, std::uint8_t *next) {
  static constexpr cpu::ByteSet kMarkup([](std::uint8_t byte) { return is_markup(byte); });
  // For so many, or in a short text, copying what follows behind each takes longer than unit by unit.
  constexpr int kManyReferences = 16;
  constexpr std::size_t kShort = 32;
  const WrittenTable &table = keep_ascii ? kWrittenKeepingAscii : kWrittenEscapingMarkup;
  std::array<std::uint8_t, 2 * cpu::kBlock> narrowed;
  std::uint64_t references = 0;
  cpu::level().narrow(units, 1, 0x80, narrowed.data(), &references);
  if (!keep_ascii) {
    std::uint64_t markup = 0;
    cpu::level().find(narrowed.data(), 1, kMarkup, &markup);
    references |= markup;
  }
  references &= scan::bits_below(count);
  if (references == 0 || (std::popcount(references) < kManyReferences && count > kShort)) {
    return copy_with_references(units, narrowed.data(), references, table, next) - (cpu::kBlock - count);
  }
  for (std::size_t i = 0; i < count; ++i) next += encode_unit(units[i].value, table, next);
  return next;
}

// Writes less than a block, by way of a buffer in which there is room for one. Returns the end.
std::uint8_t *encode_last(CodeUnitView text, bool keep_ascii, std::uint8_t *next) {
  std::array<CodeUnit, cpu::kBlock> units;
  std::array<std::uint8_t, kBlockRoom> written;
  scan::read_last(text, units);
  const std::uint8_t *const end = encode_block(units.data(), text.size(), keep_ascii, written.data());
  return std::copy(std::as_const(written).data(), end, next);
}

}  // namespace

// Blocks while the output has room for the worst of them, the rest at once on the same condition, and
// otherwise unit by unit.
Progress encode(CodeUnitView text, bool keep_ascii, ByteBuffer output) {
  const WrittenTable &table = keep_ascii ? kWrittenKeepingAscii : kWrittenEscapingMarkup;
  std::size_t consumed = 0;
  std::uint8_t *next = output.data();
  const std::uint8_t *const limit = next + output.size();
  const auto left = [&] { return static_cast<std::size_t>(limit - next); };
  for (; text.size() - consumed >= cpu::kBlock && left() >= kBlockRoom; consumed += cpu::kBlock) {
    next = encode_block(text.data() + consumed, cpu::kBlock, keep_ascii, next);
  }
  const std::size_t rest = text.size() - consumed;
  if (rest < cpu::kBlock && left() >= encode_bound(rest)) {
    next = encode_last(text.subspan(consumed), keep_ascii, next);
    consumed = text.size();
  }
  while (consumed < text.size() && left() >= kLongestReference) {
    std::array<std::uint8_t, sizeof(Written)> written;
    const std::size_t length = encode_unit(text[consumed++].value, table, written.data());
    std::memcpy(next, written.data(), length);
    next += length;
  }
  return {consumed, static_cast<std::size_t>(next - output.data())};
}

bool is_html_ready(ByteView bytes) {
  return none_of_bytes(bytes, [](std::uint8_t byte) { return !is_ready(byte); });
}

std::size_t decode(CodeUnitView text, std::span<CodeUnit> output) {
  assert(output.size() >= text.size());
  Ampersands ampersands(text);
  CodeUnit *next = output.data();
  const CodeUnit *const limit = next + output.size();
  std::size_t copied = 0;  // what stands before is in the output already
  // Where the next "&" stands does not depend on this one's reference, so the processor need not wait for it.
  for (std::size_t at = ampersands.next(0); at < text.size(); at = ampersands.next(at + 1)) {
    if (at < copied) continue;  // within a number, behind its digits
    const Reference reference = reference_at(text, at);
    if (reference.length == 0) continue;
    next = copy(text.subspan(copied, at - copied), text.subspan(copied), next, limit);
    next = write_character(reference.code_point, next);
    copied = at + reference.length;
  }
  next = copy(text.subspan(copied), text.subspan(copied), next, limit);
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::html
