// Text with its markup taken out: everything between "<" and the ">" that closes it, by counting alone.
#pragma once

#include "base/bytes.h"
#include "scan/marks.h"

namespace kzv::tags {

// Walks a text in steps of a run to keep and a count of bytes to drop behind it. Every "<" counts up, every
// ">" counts down; bytes are kept where the count is zero, so after a stray ">" the text is dropped until
// a "<" makes up for it, and behind an unclosed "<" all the rest is. The brackets themselves are neither
// kept nor dropped. Linear in the text; reads it in place, which must outlive the scanner.
class TagScanner {
 public:
  explicit TagScanner(ByteView text);

  // Moves to the next step; false at the end of the text.
  bool next();
  // The bytes to keep, possibly none.
  [[nodiscard]] ByteView kept() const { return kept_; }
  // How many bytes other than brackets are dropped behind them.
  [[nodiscard]] std::size_t dropped() const { return dropped_; }

 private:
  ByteView text_;
  scan::MarkCursor brackets_;
  std::size_t at_ = 0;
  ByteView kept_;
  std::size_t dropped_ = 0;
};

// Writes the text without its tags: all that a TagScanner keeps. The output needs as many bytes as the text;
// returns the number written.
std::size_t remove(ByteView text, ByteBuffer output);

// The same, with `instead` for each byte that a TagScanner drops.
std::size_t replace(ByteView text, std::uint8_t instead, ByteBuffer output);

// Fills the output, whose size is a multiple of the unit's, with copies of the unit; returns its size.
std::size_t repeat(ByteView unit, ByteBuffer output);

// What is written in place of each dropped byte: the text up to its first zero byte or its end.
ByteView replacement_of(ByteView text);

}  // namespace kzv::tags
