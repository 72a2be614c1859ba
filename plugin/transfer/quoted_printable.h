// Quoted-printable text (RFC 2045, section 6.7) for byte strings that are lines of text.
#pragma once

#include <algorithm>

#include "base/bytes.h"

namespace kzv::quoted_printable {

// The line length in place of values below 2.
inline constexpr std::int32_t kDefaultLineLength = 72;

// Characters of a line before its soft line break. With the "=" of that break a line is still one character
// shorter than the line length, CR LF not counted.
constexpr std::size_t line_capacity(std::int32_t line_length) {
  return static_cast<std::size_t>((line_length > 1 ? line_length : kDefaultLineLength) - 2);
}

// Bytes that `encode` writes at most. A byte becomes at most three characters, so a full line has at least
// capacity / 3 bytes of input; with a capacity below 3, each byte may have a break of its own. The last break
// comes on top of that.
constexpr std::uint64_t encode_bound(std::size_t byte_count, std::int32_t line_length) {
  const std::uint64_t bytes_per_line = std::max(line_capacity(line_length) / 3, std::size_t{1});
  return std::uint64_t{byte_count} * 3 + byte_count / bytes_per_line * 3 + 3;
}

// Bytes that `encode` writes for this input, for callers that cannot allocate `encode_bound`: a pass over it.
std::uint64_t encoded_size(ByteView input, std::int32_t line_length);

// Writes printable characters, spaces and tabs as they are, every line break (CR LF, LF CR, CR or LF) as
// CR LF, and all other bytes, and a space or tab directly before a line break, as escapes: "=" and two
// upper-case hex digits. Full lines end in a soft line break, "=" CR LF; so does a text of several lines
// whose last one has no line break. What does not fit into an empty line, an escape or any character, gets a
// line of its own. The output holds `encode_bound` or `encoded_size` bytes; returns the number written.
std::size_t encode(ByteView input, std::int32_t line_length, ByteBuffer output);

// Decodes escapes, drops soft line breaks ("=" and a line break, or "=", white space and all else up to and
// with the line break), writes every other line break as one LF and copies the rest, white space at line ends
// included. A malformed escape is dropped with the two bytes after its "=". The output holds as many bytes as
// the input; returns the number written.
std::size_t decode(ByteView input, ByteBuffer output);

}  // namespace kzv::quoted_printable
