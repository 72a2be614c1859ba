#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "markup/entities.h"
#include "markup/html.h"
#include "scan/code_unit_tail.h"
#include "scan/cursor.h"

namespace kzv::html {
namespace {

static_assert(encode_bound(1) == kLongestReference);

// Indexed by number / 100, from 1 on: its decimal digits as characters, and their count in the high byte.
using Hundreds = std::array<std::uint32_t, 656>;
static_assert(0xFFFF / 100 < std::tuple_size_v<Hundreds>);

consteval Hundreds make_hundreds() {
  Hundreds hundreds{};
  for (std::uint32_t number = 1; number < hundreds.size(); ++number) {
    std::uint32_t digits = 0;
    std::uint32_t count = 0;
    for (std::uint32_t left = number; left > 0; left /= 10, ++count) digits = digits << 8 | ('0' + left % 10);
    hundreds[number] = digits | count << 24;
  }
  return hundreds;
}
constexpr Hundreds kHundreds = make_hundreds();

// Writes the decimal reference of a code unit from 100 on as one word of 8 bytes, without a loop over its
// digits, and returns its length. The last two digits t and u are made together:
//
//   '0' + t | ('0' + u) << 8 = 0x3030 + t + 256 u = 0x3030 + 256 (10 t + u) - 2559 t
//
//   word          & # 1 6 0 4 ;          U+0644: the hundreds 16, then 04
std::size_t write_large_number(std::uint16_t unit, std::uint8_t *output) {
  const std::uint32_t hundreds = kHundreds[unit / 100];
  const std::uint32_t count = hundreds >> 24;
  const std::uint32_t last_two = unit % 100U;
  const std::uint32_t last_digits = 0x3030 + 256 * last_two - 2559 * (last_two / 10);
  const std::uint64_t end = std::uint64_t{last_digits | ';' << 16} << 8 * (count + 2);
  const std::uint64_t word = ('&' | '#' << 8 | std::uint64_t{hundreds & 0xFFFFFF} << 16) | end;
  std::memcpy(output, &word, sizeof word);
  return count + 5;
}

// Writes a code unit as `table` says, or as a reference if it is not in the table, and returns the length. Up
// to 16 bytes may be written.
std::size_t encode_unit(std::uint16_t unit, const WrittenTable &table, std::uint8_t *output) {
  if (unit < table.size()) {
    std::memcpy(output, &table[unit], sizeof(Written));
    return table[unit].length;
  }
  const Entity *const entity = entity_of(unit);
  if (entity == nullptr) return write_large_number(unit, output);
  std::memcpy(output, entity->reference.data(), kLongestReference);
  return entity->length;
}

// Copies a block, narrowed to bytes, with the code units of `references` as `table` says. A copy of fixed
// size is fastest, so after each reference all of a block is copied, and the next reference overwrites what
// was too much. After the block, `narrowed` and the output have 64 more bytes. Returns the end of the text.
//
//   narrowed      a b < c d
//   output        a b & l t ; c d      "c d" is copied a second time, to its new place
std::uint8_t *copy_with_references(const CodeUnit *units, const std::uint8_t *narrowed,
                                   std::uint64_t references, const WrittenTable &table, std::uint8_t *next) {
  std::memcpy(next, narrowed, cpu::kBlock);
  std::size_t done = 0;
  for (; references != 0; references = scan::without_lowest(references)) {
    const std::size_t at = scan::lowest_position(references);
    next += at - done;
    next += encode_unit(units[at].value, table, next);
    done = at + 1;
    std::memcpy(next, narrowed + done, cpu::kBlock);
  }
  return next + (cpu::kBlock - done);
}

// The longest output of a block, and 64 bytes that may be overwritten.
constexpr std::size_t kBlockBound = encode_bound(cpu::kBlock) + cpu::kBlock;

const WrittenTable &table_for(bool keep_ascii) {
  return keep_ascii ? kWrittenKeepingAscii : kWrittenEncodingMarkup;
}

// Writes the first `count` code units of a block, which are followed by zeros, to an output of kBlockBound
// bytes. Returns the end.
std::uint8_t *encode_block(const CodeUnit *units, std::size_t count, bool keep_ascii, std::uint8_t *next) {
  static constexpr cpu::ByteSet kMarkup([](std::uint8_t byte) { return is_markup(byte); });
  // With this many references, or in a short text, the copies after each take longer than single code units.
  constexpr int kManyReferences = 16;
  constexpr std::size_t kShort = 32;
  const WrittenTable &table = table_for(keep_ascii);
  std::array<std::uint8_t, 2 * cpu::kBlock> narrowed;
  std::uint64_t references = 0;
  cpu::level().narrow(units, 1, 0x80, narrowed.data(), &references);
  if (!keep_ascii) {
    std::uint64_t markup = 0;
    cpu::level().find(narrowed.data(), 1, kMarkup, &markup);
    references |= markup;
  }
  if (references == 0 || (std::popcount(references) < kManyReferences && count > kShort)) {
    return copy_with_references(units, narrowed.data(), references, table, next) - (cpu::kBlock - count);
  }
  for (std::size_t i = 0; i < count; ++i) next += encode_unit(units[i].value, table, next);
  return next;
}

}  // namespace

CodeUnitView without_mark(CodeUnitView text) {
  const bool has_mark = !text.empty() && (text[0].value == 0xFEFF || text[0].value == 0xFFFE);
  return has_mark ? text.subspan(1) : text;
}

// Blocks while the longest output of one fits, then the tail if its own fits, else single code units.
Progress encode(CodeUnitView text, bool keep_ascii, ByteBuffer output) {
  std::size_t consumed = 0;
  std::uint8_t *next = output.data();
  const std::uint8_t *const limit = next + output.size();
  const auto left = [&] { return static_cast<std::size_t>(limit - next); };
  for (; text.size() - consumed >= cpu::kBlock && left() >= kBlockBound; consumed += cpu::kBlock) {
    next = encode_block(text.data() + consumed, cpu::kBlock, keep_ascii, next);
  }
  const CodeUnitView tail = text.subspan(consumed);
  if (tail.size() < cpu::kBlock && left() >= encode_bound(tail.size())) {
    scan::CodeUnitBlock units;
    std::array<std::uint8_t, kBlockBound> written;
    scan::load_tail(tail, units);
    const std::uint8_t *const end = encode_block(units.data(), tail.size(), keep_ascii, written.data());
    next = std::copy(std::as_const(written).data(), end, next);
    consumed = text.size();
  }
  while (consumed < text.size() && left() >= kLongestReference) {
    std::array<std::uint8_t, sizeof(Written)> written;
    const std::size_t length = encode_unit(text[consumed++].value, table_for(keep_ascii), written.data());
    std::memcpy(next, written.data(), length);
    next += length;
  }
  return {consumed, static_cast<std::size_t>(next - output.data())};
}

bool is_html_ready(ByteView bytes) {
  static constexpr cpu::ByteSet kNotReady(
      [](std::uint8_t byte) { return byte == 0 || byte >= 0x80 || is_markup(byte); });
  return scan::Cursor(bytes, kNotReady).next(0) == bytes.size();
}

}  // namespace kzv::html
