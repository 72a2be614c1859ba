// Text without its markup, by counting alone: "<" counts up, ">" counts down, and a byte is outside of tags
// where the count is zero, else inside. So what follows a stray ">" is inside until a "<" makes up for it,
// and an unclosed "<" takes all the rest. The brackets themselves are neither outside nor inside.
#pragma once

#include "base/bytes.h"
#include "scan/cursor.h"

namespace kzv::tags {

// The count of brackets that are open. It wraps around below zero: only zero counts.
using Nesting = std::uint32_t;

// Whether the functions below would write the text as it is: it has no brackets.
bool is_unchanged(ByteView text);

// Writes the bytes outside of tags. The output holds as many bytes as the text; returns the number written.
std::size_t remove(ByteView text, ByteBuffer output);

// The same, with `instead` for each byte inside a tag.
std::size_t replace(ByteView text, std::uint8_t instead, ByteBuffer output);

// The same with a replacement of several bytes, for output that grows: it is written in parts. Linear in the
// output. The text and the replacement are read in place and must outlive the replacer.
class Replacer {
 public:
  Replacer(ByteView text, ByteView instead);

  // Writes what comes next, as much of it as fits; returns the number of bytes written.
  std::size_t write(ByteBuffer output);
  // Takes the piece that did not fit, a byte of the text or a replacement; empty at the end.
  ByteView take();

 private:
  std::uint8_t *write_bytes(std::size_t count, std::uint8_t *next);

  ByteView text_;
  ByteView instead_;
  std::uint64_t word_ = 0;  // the replacement, if it has at most 8 bytes
  scan::Cursor brackets_;
  std::size_t at_ = 0;
  Nesting nesting_ = 0;
};

}  // namespace kzv::tags
