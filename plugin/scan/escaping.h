// Writing bytes as escapes of an introducing character and two hex digits, many at a time.
#pragma once

#include "base/hex_digits.h"
#include "scan/marks.h"

namespace kzv::scan {

// Room for a piece of which every byte is escaped, and two blocks behind it.
inline constexpr std::size_t kReadBehindEscaped = 2 * cpu::kBlock;
inline constexpr std::size_t kEscapedBound = 3 * Piece::kBlocks * cpu::kBlock + kReadBehindEscaped;

// Writes a piece with escapes in place of those bytes that are marked; returns the number of bytes written.
inline std::size_t escape(const Piece &piece, Masks &marks, char introducer,
                          std::array<std::uint8_t, kEscapedBound> &output) {
  const std::size_t padding = piece.blocks * cpu::kBlock - piece.size;
  if (padding > 0) marks[piece.blocks - 1] &= bits_below(cpu::kBlock - padding);
  return cpu::level().write_escapes(piece.text, piece.blocks, marks.data(), introducer, output.data()) -
         padding;
}

// How each byte is written: as an escape, as another byte, or as it is.
struct Escaping {
  // `from`, which is written as `to`, is not escaped.
  template <typename IsEscaped>
  consteval Escaping(char escape_introducer, IsEscaped is_escaped, std::uint8_t from, std::uint8_t to)
      : introducer(escape_introducer),
        escaped(is_escaped),
        replaced([=](std::uint8_t byte) { return byte == from && from != to; }),
        difference(static_cast<std::uint8_t>(to - from)) {
    for (std::size_t byte = 0; byte < forms.size(); ++byte) {
      forms[byte] =
          is_escaped(static_cast<std::uint8_t>(byte)) ? hex_escape(introducer, byte) : as_it_is(byte);
    }
    forms[from] = as_it_is(to);
  }

  char introducer;
  cpu::ByteSet escaped;
  cpu::ByteSet replaced;
  std::uint8_t difference;
  EscapeTable forms{};
};

// Writes an input of at least one byte by table.
inline std::uint8_t *write_by_table(ByteView input, const EscapeTable &forms, std::uint8_t *next) {
  // One store writes up to 3 bytes too many: those of the next byte take their place. The last has none.
  for (const std::uint8_t byte : input.first(input.size() - 1)) {
    const Escape form = forms[byte];
    std::memcpy(next, &form, sizeof form);
    next += form.length;
  }
  const Escape &last = forms[input.back()];
  std::memcpy(next, last.text.data(), last.length);
  return next + last.length;
}

// Writes the input as `how` says, at most three bytes for each. The output has room for two bytes more than
// those written, whose number is returned.
inline std::size_t write_escaped(ByteView input, const Escaping &how, ByteBuffer output) {
  std::uint8_t *next = output.data();
  if (input.empty()) return 0;
  if (input.size() <= cpu::level().by_table) {
    return static_cast<std::size_t>(write_by_table(input, how.forms, next) - next);
  }
  Piece piece;
  Masks escaped;
  Masks replaced;
  std::array<std::uint8_t, Piece::kBlocks * cpu::kBlock> text;
  std::array<std::uint8_t, kEscapedBound> written;
  for (std::size_t at = 0; at < input.size(); at += piece.size) {
    piece.load(input, at, nullptr);
    find(piece, how.escaped, escaped);
    if (how.replaced.range_count > 0) {
      find(piece, how.replaced, replaced);
      cpu::level().add(piece.text, piece.blocks, replaced.data(), 0, how.difference, text.data());
      piece.text = text.data();
    }
    const std::size_t count = escape(piece, escaped, how.introducer, written);
    std::memcpy(next, written.data(), count);
    next += count;
  }
  return static_cast<std::size_t>(next - output.data());
}

}  // namespace kzv::scan
