// Text in and out of two 8-bit character sets, by table: ISO-8859-1 and Windows-1252.
#pragma once

#include "base/bytes.h"

namespace kzv::charsets {

// One character set, both ways.
struct Charset {
  std::span<const std::uint16_t, 256> unit_of;  // by byte
  // By unit, and no longer than to the last unit that has a byte: the lowest byte that stands for it. 0 is no
  // byte, except for U+0000 itself.
  std::span<const std::uint8_t> byte_of;
  std::uint16_t identity_end;  // a power of two; below it, bytes and units are the same numbers
};

extern const Charset kIso8859;  // ISO-8859-1: the first 256 characters of Unicode, controls included
extern const Charset kCp1252;   // Windows-1252; its five undefined bytes stand for U+0000

// Writes the byte of each unit and drops the units that have none, so both halves of every surrogate pair.
// The output needs as many bytes as the text has units; returns the number written, behind which it may be
// overwritten.
std::size_t encode(CodeUnitView text, const Charset &charset, ByteBuffer output);

// Writes the unit of each byte, one for one; every byte has one. The output needs as many units as there are
// bytes; returns the number written.
std::size_t decode(ByteView bytes, const Charset &charset, std::span<std::uint16_t> output);

}  // namespace kzv::charsets
