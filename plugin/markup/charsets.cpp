#include "charsets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>

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

consteval std::size_t count_units(const UnitTable &units) {
  return *std::ranges::max_element(units) + std::size_t{1};
}

// From the highest byte down, so that the lowest of several has the last word.
template <std::size_t kCount>
consteval std::array<std::uint8_t, kCount> make_reverse(const UnitTable &units) {
  std::array<std::uint8_t, kCount> bytes{};
  for (std::size_t byte = units.size(); byte-- > 0;) bytes[units[byte]] = static_cast<std::uint8_t>(byte);
  return bytes;
}

constexpr auto kBytesISO8859 = make_reverse<count_units(escapecharsISO8859)>(escapecharsISO8859);
constexpr auto kBytesCP1252 = make_reverse<count_units(escapecharsCP1252)>(escapecharsCP1252);

consteval Charset make_charset(const UnitTable &units, std::span<const std::uint8_t> bytes) {
  std::uint16_t same = 0;
  while (same < units.size() && units[same] == same) ++same;
  return {units, bytes, std::bit_floor(same)};
}

// Elements converted together: a loop of fixed length without a way out becomes vector instructions.
constexpr std::size_t kBlock = 16;

constexpr unsigned number(std::uint8_t byte) { return byte; }
constexpr unsigned number(Unit unit) { return unit.value; }

// Copies one block number for number and tells whether that was right, all of them lying below
// `identity_end`. The output never overlaps the input.
template <typename Input, typename Output>
bool copy_block(const Input *input, std::uint16_t identity_end, Output *__restrict output) {
  unsigned bits = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const unsigned value = number(input[i]);
    output[i] = static_cast<Output>(value);
    bits |= value;
  }
  return bits < identity_end;
}

}  // namespace

constexpr Charset kIso8859 = make_charset(escapecharsISO8859, kBytesISO8859);
constexpr Charset kCp1252 = make_charset(escapecharsCP1252, kBytesCP1252);

std::size_t encode(UnitView text, const Charset &charset, ByteBuffer output) {
  assert(output.size() >= text.size());
  std::size_t written = 0;
  const auto encode_unit = [&](std::uint16_t unit) {
    const std::uint8_t byte = unit < charset.byte_of.size() ? charset.byte_of[unit] : std::uint8_t{0};
    output[written] = byte;
    if (byte != 0 || unit == 0) ++written;
  };
  for (; text.size() >= kBlock; text = text.subspan(kBlock)) {
    if (copy_block(text.data(), charset.identity_end, output.data() + written)) {
      written += kBlock;
    } else {
      for (const Unit unit : text.first(kBlock)) encode_unit(unit.value);
    }
  }
  for (const Unit unit : text) encode_unit(unit.value);
  return written;
}

std::size_t decode(ByteView bytes, const Charset &charset, std::span<std::uint16_t> output) {
  assert(output.size() >= bytes.size());
  std::size_t done = 0;
  for (; bytes.size() - done >= kBlock; done += kBlock) {
    if (copy_block(bytes.data() + done, charset.identity_end, output.data() + done)) continue;
    for (std::size_t i = done; i < done + kBlock; ++i) output[i] = charset.unit_of[bytes[i]];
  }
  for (; done < bytes.size(); ++done) output[done] = charset.unit_of[bytes[done]];
  return done;
}

}  // namespace kzv::charsets
