#include "markup/functions.h"

#include <algorithm>
#include <array>

#include "frame/string_builders.h"
#include "frame/transform.h"
#include "markup/charsets.h"
#include "markup/classification.h"
#include "markup/entities.h"
#include "markup/html.h"
#include "markup/sql.h"
#include "markup/tags.h"

namespace kzv {
namespace {

// The longest form of a unit did not fit into the builder any more: appended on its own it makes it grow.
void AddReference(AsciiStringHandle &page, Unit unit, bool keep_ascii) {
  const html::Entity *const entity = html::entity_of(unit.value);
  if (entity != nullptr && unit.value >= 0x80) {
    Add(page, entity->name());
    return;
  }
  std::array<std::uint8_t, html::kLongestReference> written{};
  const html::Progress progress = html::encode({&unit, 1}, keep_ascii, written);
  AddBinary(page, written.data(), static_cast<std::int32_t>(progress.written));
}

void AddPage(AsciiStringHandle &page, UnitView text, bool keep_ascii) {
  while (!text.empty() && !page.dropped()) {
    page.AddInPlace([&](ByteBuffer room) {
      const html::Progress progress = html::encode(text, keep_ascii, room);
      text = text.subspan(progress.consumed);
      return progress.written;
    });
    if (text.empty()) return;
    AddReference(page, text.front(), keep_ascii);
    text = text.subspan(1);
  }
}

// Appends `unit` as often as `times` says.
void AddRepeated(AsciiStringHandle &page, ByteView unit, std::size_t times) {
  page.AddInPlace([&](ByteBuffer room) {
    const std::size_t fitting = std::min(times, room.size() / unit.size());
    times -= fitting;
    return tags::repeat(unit, room.first(fitting * unit.size()));
  });
  for (; times > 0 && !page.dropped(); --times) {
    AddBinary(page, unit.data(), static_cast<std::int32_t>(unit.size()));
  }
}

// The text outside of tags, and `instead` for each byte within.
void AddReplaced(AsciiStringHandle &page, ByteView text, ByteView instead) {
  tags::TagScanner scanner(text);
  while (scanner.next() && !page.dropped()) {
    AddBinary(page, scanner.kept().data(), static_cast<std::int32_t>(scanner.kept().size()));
    AddRepeated(page, instead, scanner.dropped());
  }
}

// The initial block of the HTML builders: for a short text no more than it can need.
std::uint64_t PageRoom(UnitView text) {
  return std::min(std::uint64_t{text.size()} * 2 + 4096, html::encode_room(text.size()));
}

REALstringStruct *EncodingTo(REALstringStruct *s, const charsets::Charset &charset) {
  return Transform<rbText>(s, &rbText::utf16, kEncodingBytes, kOneByteEach,
                           [&](UnitView in, ByteBuffer out) { return charsets::encode(in, charset, out); });
}

REALstringStruct *DecodingTo(REALstringStruct *s, const charsets::Charset &charset) {
  const auto room = [](std::size_t byte_count) { return std::uint64_t{byte_count} * sizeof(std::uint16_t); };
  return TransformBytes(s, kEncodingUTF16, room, [&](ByteView in, ByteBuffer out) {
    return sizeof(std::uint16_t) *
           charsets::decode(in, charset, {reinterpret_cast<std::uint16_t *>(out.data()), in.size()});
  });
}

// Encodings whose bytes below 0x80 are ASCII, as far as a page may rely on it.
bool MayBeHTMLReady(REALencoding encoding) {
  return encoding == kEncodingMacRoman || encoding == kEncodingWindows1252 || encoding == kEncodingASCII ||
         encoding == kEncodingUTF8;
}

REALencoding EncodingOfMarker(std::int32_t kind) {
  if (kind == 1) return kEncodingUTF8;
  return kind <= 4 ? kEncodingUTF16 : kEncodingUTF32;
}

}  // namespace

REALstringStruct *EncodingToHTML(REALstringStruct *s, std::int32_t options) {
  AsciiStringHandle page(kEncodingASCII);
  {
    rbText argument(s);
    const UnitView text = argument.utf16();
    if (text.empty() || !page.Create(PageRoom(text))) return nullptr;
    AddPage(page, html::without_mark(text), (options & 1) != 0);
  }
  return page.Finish();
}

REALboolean StringIsHTMLready(REALstringStruct *s) {
  if (s == nullptr) return ToREALboolean(true);
  if (!MayBeHTMLReady(REALGetStringEncoding(s))) return ToREALboolean(false);
  const rbData argument(s);
  return ToREALboolean(html::is_html_ready(argument.bytes()));
}

REALstringStruct *DecodingToHTML(REALstringStruct *s) {
  UnicodeStringHandle decoded;
  {
    rbText argument(s);
    const UnitView page = argument.utf16();
    if (page.empty() || !decoded.Create(PageRoom(page))) return nullptr;
    decoded.AddInPlace([page](std::span<Unit> room) { return html::decode(page, room); });
  }
  return decoded.Finish();
}

REALstringStruct *EncodingToISO8859(REALstringStruct *s) { return EncodingTo(s, charsets::kIso8859); }
REALstringStruct *DecodingToISO8859(REALstringStruct *s) { return DecodingTo(s, charsets::kIso8859); }
REALstringStruct *EncodingToCP1252(REALstringStruct *s) { return EncodingTo(s, charsets::kCp1252); }
REALstringStruct *DecodingToCP1252(REALstringStruct *s) { return DecodingTo(s, charsets::kCp1252); }

REALstringStruct *RemoveHTMLTags(REALstringStruct *text) { return RemoveHTMLTagsWith(text, nullptr); }

REALstringStruct *RemoveHTMLTagsWith(REALstringStruct *text, REALstringStruct *replacement) {
  if (text == nullptr) return nullptr;
  AsciiStringHandle kept(kEncodingUTF8);
  {
    rbText page(text);
    rbText substitute(replacement);
    const ByteView bytes = page.utf8();
    const ByteView instead = tags::replacement_of(substitute.utf8());
    if (!kept.Create(std::uint64_t{bytes.size()} + 10)) return nullptr;
    if (instead.empty()) {
      kept.AddInPlace([bytes](ByteBuffer room) { return tags::remove(bytes, room); });
    } else if (instead.size() == 1) {
      kept.AddInPlace([=](ByteBuffer room) { return tags::replace(bytes, instead.front(), room); });
    } else {
      AddReplaced(kept, bytes, instead);
    }
  }
  return kept.Finish();
}

REALstringStruct *ReplaceNonPrintableCharacters(REALstringStruct *s, std::int32_t replacement) {
  return TransformBytes(s, kEncodingASCII, kOneByteEach, [=](ByteView in, ByteBuffer out) {
    return classification::replace_non_printable(in, static_cast<std::uint8_t>(replacement & 0xFF), out);
  });
}

REALboolean IsASCIIString1(REALstringStruct *s) { return IsASCIIString2(s, 0); }

REALboolean IsASCIIString2(REALstringStruct *s, std::int32_t mode) {
  const rbData argument(s);
  return ToREALboolean(classification::is_ascii(argument.bytes(), mode));
}

std::int32_t DetectUnicodeMarkers(REALstringStruct *s) {
  const rbData argument(s);
  return classification::detect_marker(argument.bytes());
}

REALstringStruct *GetUnicodeMarkers(std::int32_t kind) {
  return BuildStoredString(classification::marker_bytes(kind), EncodingOfMarker(kind));
}

REALstringStruct *UnicodeString(REALstringStruct *s) { return REALConvertString(s, kEncodingUTF16); }
REALstringStruct *NativeString(REALstringStruct *s) { return REALConvertString(s, kEncodingUTF8); }

REALstringStruct *DecodingFromMySQL(REALstringStruct *s) {
  return TransformBytes(s, kEncodingBytes, kOneByteEach, sql::decode_mysql);
}

REALstringStruct *SQLReplaceBoolean(REALstringStruct *sql) {
  AsciiStringHandle rewritten(kEncodingUTF8);
  {
    rbText argument(sql);
    const ByteView text = argument.ascii();
    if (text.empty() || !rewritten.Create(std::uint64_t{text.size()} + 10)) return nullptr;
    rewritten.AddInPlace([text](ByteBuffer room) { return sql::replace_booleans(text, room); });
  }
  return rewritten.Finish();
}

}  // namespace kzv
