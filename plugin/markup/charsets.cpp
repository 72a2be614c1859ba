#include "markup/charsets.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "scan/code_unit_tail.h"
#include "scan/masks.h"

namespace kzv::charsets {
namespace {

using UnitTable = std::array<std::uint16_t, 256>;

consteval UnitTable make_identity() {
  UnitTable units{};
  for (std::size_t byte = 0; byte < units.size(); ++byte) units[byte] = static_cast<std::uint16_t>(byte);
  return units;
}

consteval UnitTable make_cp1252() {
  constexpr std::array<std::uint16_t, 32> kFrom80 = {
      0x20AC, 0x0000, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x0000, 0x017D, 0x0000,  //
      0x0000, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x0000, 0x017E, 0x0178,
  };
  UnitTable units = make_identity();
  std::ranges::copy(kFrom80, units.begin() + 0x80);
  return units;
}

constexpr UnitTable escapecharsISO8859 = make_identity();
constexpr UnitTable escapecharsCP1252 = make_cp1252();

// By code unit, up to the highest that has a byte. Of several bytes for one, the lowest is written last.
template <const UnitTable &kUnits>
consteval auto make_reverse() {
  std::array<std::uint8_t, *std::ranges::max_element(kUnits) + std::size_t{1}> bytes{};
  for (std::size_t byte = kUnits.size(); byte-- > 0;) bytes[kUnits[byte]] = static_cast<std::uint8_t>(byte);
  return bytes;
}
constexpr auto kBytesISO8859 = make_reverse<escapecharsISO8859>();
constexpr auto kBytesCP1252 = make_reverse<escapecharsCP1252>();

}  // namespace

constexpr Charset kIso8859 = {escapecharsISO8859, kBytesISO8859, 0x100, 0x100, 0x100};
constexpr Charset kCp1252 = {escapecharsCP1252, kBytesCP1252, 0x80, 0x2DD, 0x2013};
static_assert(std::ranges::none_of(kCp1252.byte_of.subspan(kCp1252.gap_begin,
                                                           kCp1252.gap_end - kCp1252.gap_begin),
                                   [](std::uint8_t byte) { return byte != 0; }));

namespace {

// Code units of a block that have no byte, those of most scripts: in the gap or beyond the table.
std::uint64_t find_dropped(const CodeUnit *units, const Charset &charset) {
  std::array<std::uint8_t, cpu::kBlock> unused;
  const auto find_from = [&](std::size_t limit) {
    std::uint64_t found = 0;
    cpu::level().narrow(units, 1, static_cast<std::uint16_t>(limit), unused.data(), &found);
    return found;
  };
  return (find_from(charset.gap_begin) & ~find_from(charset.gap_end)) | find_from(charset.byte_of.size());
}

// The byte of a code unit, or 0.
std::uint8_t byte_of(CodeUnit unit, const Charset &charset) {
  return unit.value < charset.byte_of.size() ? charset.byte_of[unit.value] : std::uint8_t{0};
}

// Writes the code units of a block by table and returns which have no byte.
std::uint64_t write_all(const CodeUnit *units, const Charset &charset, std::uint8_t *output) {
  std::uint64_t dropped = 0;
  for (std::size_t at = 0; at < cpu::kBlock; ++at) {
    output[at] = byte_of(units[at], charset);
    dropped |= scan::bit_if(output[at] == 0 && units[at].value != 0) << at;
  }
  return dropped;
}

// Writes those code units of a block that are not their own bytes, and returns which have no byte. Where four
// are in a row in more than half a block, most are likely to be like the first: with a byte, or of a script
// that has none.
std::uint64_t write_others(std::uint64_t others, const CodeUnit *units, const Charset &charset,
                           std::uint8_t *output) {
  std::uint64_t dropped = 0;
  const std::uint64_t rows = others & others >> 1 & others >> 2 & others >> 3;
  if (rows != 0 && others >> 32 != 0) {
    if (byte_of(units[scan::lowest_position(rows)], charset) != 0) return write_all(units, charset, output);
    dropped = others & find_dropped(units, charset);
    others &= ~dropped;
  }
  for (; others != 0; others = scan::without_lowest(others)) {
    const unsigned at = scan::lowest_position(others);
    output[at] = byte_of(units[at], charset);
    dropped |= scan::bit_if(output[at] == 0) << at;
  }
  return dropped;
}

// Writes the code units of up to kChunkBlocks blocks as bytes, without those that have none. The output holds
// as many blocks; returns the number of bytes written.
std::size_t encode_blocks(const CodeUnit *units, std::size_t blocks, const Charset &charset,
                          std::uint8_t *output) {
  scan::Masks kept;
  cpu::level().narrow(units, blocks, charset.identity_end, output, kept.data());
  for (std::size_t i = 0; i < blocks; ++i) {
    const std::size_t at = i * cpu::kBlock;
    const std::uint64_t others = kept[i];  // U+0000 is not among them
    kept[i] = others == 0 ? scan::kAllBits : ~write_others(others, units + at, charset, output + at);
  }
  return cpu::level().compact(output, blocks, kept.data(), output);
}

}  // namespace

std::size_t encode(CodeUnitView text, const Charset &charset, ByteBuffer output) {
  assert(output.size() >= text.size());
  std::uint8_t *next = output.data();
  while (text.size() >= cpu::kBlock) {
    const std::size_t blocks = std::min(text.size() / cpu::kBlock, scan::kChunkBlocks);
    next += encode_blocks(text.data(), blocks, charset, next);
    text = text.subspan(blocks * cpu::kBlock);
  }
  if (text.empty()) return static_cast<std::size_t>(next - output.data());
  scan::CodeUnitBlock units;
  std::array<std::uint8_t, cpu::kBlock> bytes;
  scan::load_tail(text, units);
  const std::size_t padding = cpu::kBlock - text.size();  // zeros, each of which has a byte
  const std::size_t count = encode_blocks(units.data(), 1, charset, bytes.data()) - padding;
  std::memcpy(next, bytes.data(), count);
  return static_cast<std::size_t>(next - output.data()) + count;
}

namespace {

// Bytes widened together: compilers turn a loop of fixed length into vector instructions.
constexpr std::size_t kTogether = 16;

// Writes each byte as the code unit of the same value and returns the OR of them all. The output never
// overlaps the input.
unsigned widen(const std::uint8_t *bytes, std::uint16_t *__restrict output) {
  std::uint8_t bits = 0;
  for (std::size_t i = 0; i < kTogether; ++i) {
    output[i] = bytes[i];
    bits |= bytes[i];
  }
  return bits;
}

}  // namespace

std::size_t decode(ByteView bytes, const Charset &charset, std::span<std::uint16_t> output) {
  assert(output.size() >= bytes.size());
  std::size_t done = 0;
  for (; bytes.size() - done >= kTogether; done += kTogether) {
    if (widen(&bytes[done], &output[done]) < charset.identity_end) continue;
    for (std::size_t i = done; i < done + kTogether; ++i) output[i] = charset.unit_of[bytes[i]];
  }
  for (; done < bytes.size(); ++done) output[done] = charset.unit_of[bytes[done]];
  return done;
}

}  // namespace kzv::charsets
