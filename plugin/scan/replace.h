// Replacing spans of a text by one byte or by nothing, from left to right.
#pragma once

#include "scan/chunk.h"

namespace kzv::scan {

// What becomes of a span that begins at a given position and ends before `end`: one byte, or nothing.
struct Replacement {
  std::size_t end;
  bool kept;
  std::uint8_t byte;
};
constexpr Replacement replaced_by(std::uint8_t byte, std::size_t end) { return {end, true, byte}; }
constexpr Replacement dropped(std::size_t end) { return {end, false, 0}; }

// Replaces the spans that begin in one block of a chunk and returns the bytes to keep. A span may begin at
// each byte of `starts`, except within the span before; `replace(position)` returns what becomes of it.
// `done` is the end of the last span, maybe in a later block. Here "=41" becomes "A", and "=x?" nothing:
//
//   block           a  =  4  1  b  =  x  =  c
//   starts          .  1  .  .  .  1  .  1  .
//   spans           .  1  1  1  .  1  1  1  .      the third "=" is within a span, so it starts none
//   written            A                           over the first byte of its span
//   kept            1  1  .  .  1  .  .  .  1      a A b c
template <typename Replace>
std::uint64_t replace_in_block(Chunk &chunk, std::size_t i, std::uint64_t starts, std::size_t &done,
                               Replace replace) {
  const std::size_t base = chunk.block_start(i);
  std::uint64_t kept = done > base ? bits_from(done - base) : kAllBits;
  std::uint64_t remaining = kept & starts;
  if (remaining == 0) return kept;
  std::uint8_t *const block = chunk.writable_block(i);
  while (remaining != 0) {
    const unsigned start = lowest_position(remaining);
    const Replacement replacement = replace(base + start);
    done = replacement.end;
    block[start] = replacement.byte;
    const std::uint64_t span = bits_below(done - base) & bits_from(start);
    kept &= ~span | bit_if(replacement.kept) << start;
    // A branch: the next start is found without waiting for the span's end, unless it lies within the span.
    remaining = without_lowest(remaining);
    if ((remaining & span) != 0) remaining &= ~span;
  }
  return kept;
}

}  // namespace kzv::scan
