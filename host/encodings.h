// The text encodings that the in-process host knows, and its conversions between them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "abi.h"

namespace kzv::host {

// An encoding of the host that the binary contract does not name.
inline constexpr REALencoding kEncodingISO8859_1 = 0x201;

struct Encoding {
  REALencoding number;
  const char *name;  // as users type it
};

std::span<const Encoding> encodings();
const Encoding *find_encoding(REALencoding number);
const Encoding *find_encoding(std::string_view name);  // only its letters and digits count

// Converts text. Each malformed code unit becomes U+FFFD; a character that `to` cannot represent becomes "?";
// a byte-order mark is a character like any other. Text that is in `to` already is not changed, nor are bytes
// without an encoding, in either direction. Nothing when either encoding is unknown.
std::optional<std::string> convert(std::string_view text, REALencoding from, REALencoding to);

}  // namespace kzv::host
