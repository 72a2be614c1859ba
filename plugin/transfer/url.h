// Percent-encoding of bytes for URLs and form data (RFC 3986, section 2.1; form data: HTML 4.01, 17.13.4.1).
#pragma once

#include "base/bytes.h"

namespace kzv::url {

// Bits of the options; all others are ignored. The encoder reads both (3 means 0), the decoder only the
// first.
inline constexpr std::uint32_t kSpaceIsPlus = 1;
inline constexpr std::uint32_t kEscapePlus = 2;

// Bytes that the output of `encode` holds: 3 for each byte of input and a margin of 10.
constexpr std::uint64_t encode_bound(std::size_t byte_count) { return std::uint64_t{byte_count} * 3 + 10; }

// Writes letters, digits and ! * + - . _ @ as they are and every other byte as "%" and two upper-case hex
// digits; `options` changes how space and plus are written. Returns the number of bytes written.
std::size_t encode(ByteView input, std::uint32_t options, ByteBuffer output);

// Turns "%" and the two bytes after it into one byte, "+" into a space with kSpaceIsPlus, and copies the
// rest. Malformed input is not an error: where a digit is missing, or the text ends, it counts as 0, and the
// two bytes after "%" are always consumed. The output holds as many bytes as the input; returns the number
// written.
std::size_t decode(ByteView input, std::uint32_t options, ByteBuffer output);

// Whether that would copy all of it.
bool is_unchanged(ByteView input, std::uint32_t options);

}  // namespace kzv::url
