// Writing bytes as escapes, each an introducer and two hex digits: "%2F", "=3D".
#pragma once

#include "base/hex_digits.h"
#include "scan/chunk.h"

namespace kzv::scan {

// How one byte is written: as itself, as another byte, or as an escape. One load and one store write it.
struct alignas(4) WrittenByte {
  std::array<char, 3> text;
  std::uint8_t length;
};
static_assert(sizeof(WrittenByte) == 4);
using WrittenBytes = std::array<WrittenByte, 256>;

constexpr WrittenByte literal(std::size_t byte) { return {{static_cast<char>(byte), 0, 0}, 1}; }

// How each byte is written, in two forms: a table for short texts, sets of bytes for long ones.
struct EscapeRules {
  // The byte `from` is written as `to` and never escaped.
  template <typename IsEscaped>
  consteval EscapeRules(char escape_introducer, IsEscaped is_escaped, std::uint8_t from, std::uint8_t to)
      : introducer(escape_introducer),
        escaped([=](std::uint8_t byte) { return byte != from && is_escaped(byte); }),
        substituted([=](std::uint8_t byte) { return byte == from && from != to; }),
        difference(static_cast<std::uint8_t>(to - from)) {
    for (std::size_t byte = 0; byte < escapechars.size(); ++byte) {
      const auto [high, low] = kHexPairs[byte];
      const bool escapes = escaped.contains(static_cast<std::uint8_t>(byte));
      escapechars[byte] = escapes ? WrittenByte{{introducer, high, low}, 3} : literal(byte);
    }
    escapechars[from] = literal(to);
  }

  char introducer;
  cpu::ByteSet escaped;
  cpu::ByteSet substituted;  // `from`, or no byte
  std::uint8_t difference;   // what makes `to` of `from`
  WrittenBytes escapechars{};
};

// Writes an input of at least one byte by table; returns the end of what was written, after which two bytes
// may be overwritten.
inline std::uint8_t *write_by_table(ByteView input, const WrittenBytes &table, std::uint8_t *next) {
  // One store writes up to 3 bytes too many, and the next byte's store overwrites them. The last has no next.
  for (const std::uint8_t byte : input.first(input.size() - 1)) {
    std::memcpy(next, &table[byte], sizeof(WrittenByte));
    next += table[byte].length;
  }
  const WrittenByte &last = table[input.back()];
  std::memcpy(next, last.text.data(), sizeof last.text);
  return next + last.length;
}

// Writes the input by the rules, at most three bytes for each. The output holds two bytes more than those
// written, whose number is returned.
inline std::size_t write_escaped(ByteView input, const EscapeRules &rules, ByteBuffer output) {
  if (input.empty()) return 0;
  if (input.size() <= cpu::level().by_table) {
    const std::uint8_t *const end = write_by_table(input, rules.escapechars, output.data());
    return static_cast<std::size_t>(end - output.data());
  }
  Masks escapes;
  Masks substitutes;
  std::array<std::uint8_t, kChunkBlocks * cpu::kBlock + Chunk::kLookahead> copy;
  EscapedChunk escaped;
  std::size_t written = 0;
  for (std::size_t at = 0; at < input.size();) {
    Chunk chunk(input, at, copy.data());
    chunk.find(rules.escaped, escapes);  // before a space becomes a "+" that is not to be escaped
    if (rules.substituted.range_count > 0) {
      chunk.find(rules.substituted, substitutes);
      chunk.add(substitutes, 0, rules.difference);
    }
    const std::size_t count = chunk.write_escaped(escapes, rules.introducer, escaped.data());
    std::memcpy(output.data() + written, escaped.data(), count);
    written += count;
    at += chunk.size();
  }
  return written;
}

}  // namespace kzv::scan
