// Text as the value of a mail header: one encoded word in UTF-8 and the "Q" encoding (RFC 2047, sections 2
// and 4.2).
#pragma once

#include "base/bytes.h"

namespace kzv::mail_subject {

// Whether the UTF-8 text has a byte outside 32 to 127 before its first zero byte (or its end). Text that
// looks like an encoded word does not need encoding for that.
bool needs_encoding(ByteView utf8);

// Bytes that `encode` writes: at most, and exactly.
constexpr std::uint64_t encode_bound(std::size_t byte_count) { return std::uint64_t{byte_count} * 3 + 12; }
std::uint64_t encoded_size(ByteView utf8);

// Writes the text up to its first zero byte (or its end) as one encoded word, however long: nothing is split
// or folded. "=", "_" and bytes from 128 on become "=" and two upper-case hex digits, a space becomes "_";
// all else, control characters and "?" included, is written as it is, which RFC 2047, section 5, would not
// allow everywhere. Returns the number of bytes written.
std::size_t encode(ByteView utf8, ByteBuffer output);

}  // namespace kzv::mail_subject
