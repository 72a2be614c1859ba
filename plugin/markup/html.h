// Character references of HTML (HTML 4.01, section 5.3): text to pure ASCII and back.
#pragma once

#include "base/bytes.h"

namespace kzv::html {

struct Progress {
  std::size_t consumed;  // code units of text
  std::size_t written;   // bytes of output
};

// Bytes of output in which `encode` takes every text of `unit_count` code units in one call.
constexpr std::uint64_t encode_bound(std::size_t unit_count) { return std::uint64_t{unit_count} * 10; }

// `text` without its first code unit if that is U+FEFF or U+FFFE; later ones are text.
CodeUnitView without_mark(CodeUnitView text);

// Writes `text` as ASCII: code units from U+0080 on as "&eacute;" or, without a name, as "&#257;"; each half
// of a surrogate pair for itself. Of the ASCII characters " & < > become names and ' becomes "&#39;", unless
// `keep_ascii`. Stops before a code unit when fewer than 10 bytes of output are left, the longest reference;
// with at least that many it always advances. The rest of the output may be overwritten.
Progress encode(CodeUnitView text, bool keep_ascii, ByteBuffer output);

// Whether all bytes are ASCII other than 00 and " & ' < >, so that a page can have them as they are.
bool is_html_ready(ByteView bytes);

// Writes the character of each valid reference, a surrogate pair above U+FFFF, and copies the rest. A
// reference ends with ";" after at most 8 characters, or at the very end of the text. Known names are valid,
// and so are numbers of at most 6 characters: "#" and decimal or "#x" and hexadecimal digits. What follows
// the digits is ignored; the value 0 or a minus sign makes the reference invalid. The output holds as many
// code units as the text; returns the number written.
std::size_t decode(CodeUnitView text, std::span<CodeUnit> output);

}  // namespace kzv::html
