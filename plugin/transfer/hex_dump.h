// Hex dumps: the hex digits of a byte string in groups, the groups in lines, all of one shape.
#pragma once

#include <optional>

#include "base/bytes.h"

namespace kzv::hex_dump {

// How a dump looks. With a `hexlen` or `linelen` below 1 it is empty.
struct Shape {
  std::int32_t hexlen = 0;   // hex digits in a group; an odd number splits bytes across groups
  std::int32_t linelen = 0;  // groups in a line
  ByteView linestart;        // begins every line
  ByteView lineend;          // ends every line, the last one too
  ByteView spacer;           // stands between two groups of a line
  ByteView filler;           // repeated from its first byte to fill up the last line; "0" if empty
};

// Bytes that the output buffer of `dump` must hold for `byte_count` bytes of input. Nothing if the dump and a
// zero byte behind it, or the digits and one filler for each digit of a line, exceed 2,147,483,647 bytes. Any
// values may be given: no step overflows.
std::optional<std::uint64_t> dump_bound(std::size_t byte_count, const Shape &shape);

// Writes the dump of a shape that has a `dump_bound`, into that many bytes. Upper-case digits, high nibble
// first. Returns the dump's length, which is shorter than what was written where one of the shape's texts
// holds a zero byte: a dump ends before its first.
std::size_t dump(ByteView input, const Shape &shape, ByteBuffer output);

}  // namespace kzv::hex_dump
