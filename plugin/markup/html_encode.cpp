#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "markup/entities.h"
#include "markup/html.h"
#include "markup/written_units.h"
#include "scan/code_unit_tail.h"
#include "scan/cursor.h"

namespace kzv::html {
namespace {

static_assert(encode_bound(1) == kLongestReference);

// Writes a code unit and returns the end; `kOverwritten` bytes are overwritten, by default in one store.
template <std::size_t kOverwritten = sizeof(Written)>
std::uint8_t *write_unit(CodeUnit unit, bool keep_ascii, std::uint8_t *next) {
  static_assert(kOverwritten >= kLongestReference);
  const Written &written = written_as(unit, keep_ascii);
  const std::size_t length = written.length;
  std::memcpy(next, &written, kOverwritten);
  return next + length;
}

// Copies a block, narrowed to bytes, with the code units of `references` as references. A copy of fixed
// size is fastest, so after each reference all of a block is copied, and the next reference overwrites what
// was too much. After the block, `narrowed` and the output have 64 more bytes. Returns the end of the text.
//
//   narrowed      a b < c d
//   output        a b & l t ; c d      "c d" is copied a second time, to its new place
std::uint8_t *copy_with_references(const CodeUnit *units, const std::uint8_t *narrowed,
                                   std::uint64_t references, bool keep_ascii, std::uint8_t *next) {
  std::memcpy(next, narrowed, cpu::kBlock);
  std::size_t done = 0;
  for (; references != 0; references = scan::without_lowest(references)) {
    const std::size_t at = scan::lowest_position(references);
    next = write_unit(units[at], keep_ascii, next + (at - done));
    done = at + 1;
    std::memcpy(next, narrowed + done, cpu::kBlock);
  }
  return next + (cpu::kBlock - done);
}

// The longest output of a block, and 64 bytes that may be overwritten.
constexpr std::size_t kBlockBound = encode_bound(cpu::kBlock) + cpu::kBlock;

// Blocks of a text as bytes, and which of their code units are written as references.
struct Narrowed {
  // `units` is at most a chunk's blocks.
  Narrowed(const CodeUnit *units, std::size_t blocks, bool keep_ascii) {
    static constexpr cpu::ByteSet kMarkup([](std::uint8_t byte) { return is_markup(byte); });
    cpu::level().narrow(units, blocks, 0x80, bytes.data(), references.data());
    if (keep_ascii) return;
    scan::Masks markup;
    cpu::level().find(bytes.data(), blocks, kMarkup, markup.data());
    for (std::size_t i = 0; i < blocks; ++i) references[i] |= markup[i];
  }

  std::array<std::uint8_t, (scan::kChunkBlocks + 1) * cpu::kBlock> bytes;
  scan::Masks references;
};

// Writes the first `count` code units of a block, which are followed by zeros, to an output of kBlockBound
// bytes. Returns the end.
std::uint8_t *encode_block(const CodeUnit *units, std::size_t count, const std::uint8_t *narrowed,
                           std::uint64_t references, bool keep_ascii, std::uint8_t *next) {
  // With this many references, or in a short text, the copies after each take longer than single code units.
  constexpr int kManyReferences = 24;
  constexpr std::size_t kShort = 32;
  if (references == 0 || (std::popcount(references) < kManyReferences && count > kShort)) {
    return copy_with_references(units, narrowed, references, keep_ascii, next) - (cpu::kBlock - count);
  }
  for (std::size_t i = 0; i < count; ++i) next = write_unit(units[i], keep_ascii, next);
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
  while (text.size() - consumed >= cpu::kBlock && left() >= kBlockBound) {
    const std::size_t blocks =
        std::min({(text.size() - consumed) / cpu::kBlock, left() / kBlockBound, scan::kChunkBlocks});
    const Narrowed narrowed(text.data() + consumed, blocks, keep_ascii);
    for (std::size_t i = 0; i < blocks; ++i, consumed += cpu::kBlock) {
      next = encode_block(text.data() + consumed, cpu::kBlock, narrowed.bytes.data() + i * cpu::kBlock,
                          narrowed.references[i], keep_ascii, next);
    }
  }
  const CodeUnitView tail = text.subspan(consumed);
  if (tail.size() < cpu::kBlock && left() >= encode_bound(tail.size())) {
    scan::CodeUnitBlock units;
    std::array<std::uint8_t, kBlockBound> written;
    scan::load_tail(tail, units);
    const Narrowed narrowed(units.data(), 1, keep_ascii);
    const std::uint8_t *const end = encode_block(units.data(), tail.size(), narrowed.bytes.data(),
                                                 narrowed.references[0], keep_ascii, written.data());
    next = std::copy(std::as_const(written).data(), end, next);
    consumed = text.size();
  }
  while (consumed < text.size() && left() >= kLongestReference) {
    next = write_unit<kLongestReference>(text[consumed++], keep_ascii, next);
  }
  return {consumed, static_cast<std::size_t>(next - output.data())};
}

bool is_html_ready(ByteView bytes) {
  static constexpr cpu::ByteSet kNotReady(
      [](std::uint8_t byte) { return byte == 0 || byte >= 0x80 || is_markup(byte); });
  return scan::Cursor(bytes, kNotReady).next(0) == bytes.size();
}

}  // namespace kzv::html
