// Conversion to and from two 8-bit character sets, by table: ISO-8859-1 and Windows-1252.
#pragma once

#include "base/bytes.h"

namespace kzv::charsets {

// One character set, both ways.
struct Charset {
  std::span<const std::uint16_t, 256> unit_of;  // by byte
  // By code unit, up to the last one that has a byte: the lowest byte for it, or 0 for none or U+0000.
  std::span<const std::uint8_t> byte_of;
  std::uint16_t identity_end;  // a power of two; below it, bytes and code units are equal
  std::uint16_t gap_begin;     // from here to before gap_end no code unit has a byte
  std::uint16_t gap_end;
};

extern const Charset kIso8859;  // ISO-8859-1: the first 256 characters of Unicode, controls included
extern const Charset kCp1252;   // Windows-1252; its five undefined bytes become U+0000

// Writes the byte of each code unit and drops those that have none, so both halves of every surrogate pair.
// The output holds as many bytes as the text has code units, all of which may be overwritten; returns the
// number written.
std::size_t encode(CodeUnitView text, const Charset &charset, ByteBuffer output);

// Writes the code unit of each byte; every byte has one. The output holds as many code units as there are
// bytes; returns the number written.
std::size_t decode(ByteView bytes, const Charset &charset, std::span<std::uint16_t> output);

}  // namespace kzv::charsets
