// Character references of HTML (HTML 4.01, section 5.3): text to pure ASCII and back.
#pragma once

#include "base/bytes.h"

namespace kzv::html {

// How far a kernel came: units of text read, bytes of output written.
struct Progress {
  std::size_t consumed;
  std::size_t written;
};

// Bytes of output in which `encode` takes every text of `unit_count` units in one call.
constexpr std::uint64_t encode_bound(std::size_t unit_count) { return std::uint64_t{unit_count} * 10; }

// `text` without its first unit when that is U+FEFF or U+FFFE; later ones are text.
CodeUnitView without_mark(CodeUnitView text);

// Writes `text` as ASCII: units from U+0080 on as "&eacute;" or, without a name, as "&#257;"; the halves of a
// surrogate pair each for itself. Of the ASCII characters " & < > become names and ' becomes "&#39;", unless
// `keep_ascii`. Stops before a unit when fewer than 10 bytes of output are left, the longest reference; with
// that room it always gets on. Bytes of the output behind what was written may be overwritten.
Progress encode(CodeUnitView text, bool keep_ascii, ByteBuffer output);

// Whether all bytes are ASCII other than 00 and " & ' < >, so that they mean themselves within a page.
bool is_html_ready(ByteView bytes);

// Writes each valid reference's character, a surrogate pair above U+FFFF, and copies the rest. The ";" stands
// after at most 8 characters, or is missing at the very end of the text. Known names count, and numbers
// within 6 characters: "#" and decimal or "#x" and hexadecimal digits; what follows the digits is ignored;
// the value 0 or a minus sign among them makes it none. The output needs as many units as the text; returns
// the number written.
std::size_t decode(CodeUnitView text, std::span<CodeUnit> output);

}  // namespace kzv::html
