// Quoted-printable text (RFC 2045, section 6.7) for byte strings that hold lines of text.
#pragma once

#include <algorithm>

#include "base/bytes.h"

namespace kzv::quoted_printable {

// The line length that values below 2 stand for.
inline constexpr std::int32_t kDefaultLineLength = 72;

// Characters that a line holds before its soft break: with the "=" of that break a line stays one character
// shorter than the line length, CR LF not counted.
constexpr std::size_t line_room(std::int32_t line_length) {
  return static_cast<std::size_t>((line_length > 1 ? line_length : kDefaultLineLength) - 2);
}

// Bytes that `encode` writes at most for `byte_count` bytes of input, whatever they are. A byte gives at most
// three characters, so a line broken because it is full holds at least room / 3 bytes of input; where the
// room is below 3, each byte may bring its own break. The last break comes on top of that.
constexpr std::uint64_t encode_bound(std::size_t byte_count, std::int32_t line_length) {
  const std::uint64_t bytes_per_line = std::max(line_room(line_length) / 3, std::size_t{1});
  return std::uint64_t{byte_count} * 3 + byte_count / bytes_per_line * 3 + 3;
}

// Bytes that `encode` writes for exactly this input. Writes nothing and costs a pass over the input: for
// callers to whom `encode_bound` promises too little.
std::uint64_t encoded_size(ByteView input, std::int32_t line_length);

// Writes printable characters, spaces and tabs as they are, every line break (CR LF, LF CR, CR or LF) as
// CR LF, and all other bytes as "=" and two upper-case hex digits; a space or tab directly before a line
// break counts among those. Full lines end in "=" CR LF; so does a text of several lines that ends in the
// middle of one. A character wider than a line still gets a line of its own. The output needs
// `encode_bound` or `encoded_size` bytes; returns the number written.
std::size_t encode(ByteView input, std::int32_t line_length, ByteBuffer output);

// Turns escapes into bytes, drops soft breaks ("=", then white space and anything else up to the line's end),
// makes every other line break one LF and copies the rest, white space at line ends included. A malformed
// escape is dropped with the two bytes behind its "=". The output needs as many bytes as the input; returns
// the number written.
std::size_t decode(ByteView input, ByteBuffer output);

}  // namespace kzv::quoted_printable
