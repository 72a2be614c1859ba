// Hex dumps: the hex digits of a byte string in groups, the groups in lines, all lines of one shape.
#pragma once

#include <optional>

#include "base/bytes.h"

namespace kzv::hex_dump {

// What a dump looks like.
struct Shape {
  std::int32_t hexlen = 0;   // hex digits in a group; an odd number splits bytes across groups
  std::int32_t linelen = 0;  // groups in a line; with either below 1 the dump is empty
  ByteView linestart;        // begins every line
  ByteView lineend;          // ends every line, the last one too
  ByteView spacer;           // between two groups of a line
  ByteView filler;           // repeated from its first byte to fill up the last line; "0" if empty
};

// Bytes that `dump` writes for `byte_count` bytes of input. No value if the dump and a zero byte after it, or
// the digits and one filler for each digit of a line, exceed 2,147,483,647 bytes. Any arguments are valid: no
// step overflows.
std::optional<std::uint64_t> dump_bound(std::size_t byte_count, const Shape &shape);

// Writes the dump into an output of `dump_bound` bytes, which must have a value. Upper-case digits, high
// nibble first. Returns the dump's length: the position of the first zero byte that a text of the shape put
// there, otherwise all that was written.
std::size_t dump(ByteView input, const Shape &shape, ByteBuffer output);

}  // namespace kzv::hex_dump
