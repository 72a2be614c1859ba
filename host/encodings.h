// The text encodings that the in-process host knows, and its conversions between them.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "abi.h"

namespace kzv::host {

// The host's own encoding besides those of the binary contract.
inline constexpr REALencoding kEncodingISO8859_1 = 0x201;

struct Encoding {
  REALencoding number;
  const char *name;     // as a person types it
  const char *charset;  // as iconv calls it; null for bytes without an encoding
  std::size_t unit;     // bytes
};

std::span<const Encoding> encodings();
const Encoding *find_encoding(REALencoding number);
const Encoding *find_encoding(std::string_view name);  // only its letters and digits count

// Converts text. What is malformed becomes U+FFFD, unit by unit; a character that `to` cannot hold becomes
// "?"; a byte-order mark is a character like any other. What is in `to` already stays as it is. Bytes without
// an encoding pass as they stand, in both directions. Nothing when either encoding is unknown.
std::optional<std::string> convert(std::string_view text, REALencoding from, REALencoding to);

}  // namespace kzv::host
