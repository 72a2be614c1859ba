// Bytes as hexadecimal text and back (base 16 of RFC 4648, section 8): two digits for each byte.
#pragma once

#include "base/bytes.h"

namespace kzv::hex {

// The number of bytes that `encode` and `decode` write, which they also return.
constexpr std::uint64_t encode_bound(std::size_t byte_count) { return std::uint64_t{byte_count} * 2; }
constexpr std::uint64_t decode_bound(std::size_t digit_count) { return digit_count / 2; }

// Writes every byte as two upper-case digits, the high one first.
std::size_t encode(ByteView input, ByteBuffer output);

// Turns each pair of digits, of either case, into one byte. Nothing is skipped and nothing is an error: any
// other byte, white space included, counts as the digit 0, and an odd last byte is left out.
std::size_t decode(ByteView input, ByteBuffer output);

}  // namespace kzv::hex
