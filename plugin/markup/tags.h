// Text without its markup, by counting alone: "<" counts up, ">" counts down, and a byte is outside of tags
// where the count is zero, else inside. So what follows a stray ">" is inside until a "<" makes up for it,
// and an unclosed "<" takes all the rest. The brackets themselves are neither outside nor inside.
#pragma once

#include "base/bytes.h"
#include "scan/cursor.h"

namespace kzv::tags {

// Whether the functions below would write the text as it is: it has no brackets.
bool is_unchanged(ByteView text);

// Writes the bytes outside of tags. The output holds as many bytes as the text; returns the number written.
std::size_t remove(ByteView text, ByteBuffer output);

// The same, with `instead` for each byte inside a tag.
std::size_t replace(ByteView text, std::uint8_t instead, ByteBuffer output);

// Walks a text in steps, each a run of bytes outside of tags and the tag after it: for replacements of
// several bytes, whose output is longer than the text. Linear in the text, which it reads in place and must
// outlive it.
class TagScanner {
 public:
  explicit TagScanner(ByteView text);

  // Moves to the next step; false at the end of the text.
  bool next();
  // The bytes outside, possibly none.
  [[nodiscard]] ByteView kept() const { return kept_; }
  // How many bytes inside come after them.
  [[nodiscard]] std::size_t dropped() const { return dropped_; }

 private:
  ByteView text_;
  scan::Cursor brackets_;
  std::size_t at_ = 0;
  ByteView kept_;
  std::size_t dropped_ = 0;
};

// Fills the output, whose size is a multiple of the unit's, with copies of the unit; returns its size.
std::size_t repeat(ByteView unit, ByteBuffer output);

}  // namespace kzv::tags
