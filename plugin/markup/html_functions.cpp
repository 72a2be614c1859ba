#include "markup/html_functions.h"

#include <algorithm>
#include <array>

#include "frame/string_builders.h"
#include "frame/transform.h"
#include "markup/entities.h"
#include "markup/html.h"
#include "markup/tags.h"

namespace kzv {
namespace {

// The longest form of a unit did not fit into the builder any more: appended on its own it makes it grow.
void AddReference(AsciiStringHandle &page, CodeUnit unit, bool keep_ascii) {
  const html::Entity *const entity = html::entity_of(unit.value);
  if (entity != nullptr && unit.value >= 0x80) {
    Add(page, entity->name());
    return;
  }
  std::array<std::uint8_t, html::kLongestReference> written{};
  const html::Progress progress = html::encode({&unit, 1}, keep_ascii, written);
  AddBinary(page, written.data(), static_cast<std::int32_t>(progress.written));
}

void AddPage(AsciiStringHandle &page, CodeUnitView text, bool keep_ascii) {
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
std::uint64_t PageRoom(CodeUnitView text) {
  return std::min(std::uint64_t{text.size()} * 2 + 4096, html::encode_bound(text.size()));
}

// Encodings whose bytes below 0x80 are ASCII, as far as a page may rely on it.
bool MayBeHTMLReady(REALencoding encoding) {
  return encoding == kEncodingMacRoman || encoding == kEncodingWindows1252 || encoding == kEncodingASCII ||
         encoding == kEncodingUTF8;
}

}  // namespace

REALstringStruct *EncodingToHTML(REALstringStruct *s, std::int32_t options) {
  AsciiStringHandle page(kEncodingASCII);
  {
    rbText argument(s);
    const CodeUnitView text = argument.utf16();
    if (text.empty() || !page.Create(PageRoom(text))) return nullptr;
    AddPage(page, html::without_mark(text), (options & 1) != 0);
  }
  return page.Finish();
}

REALstringStruct *DecodingToHTML(REALstringStruct *s) {
  UnicodeStringHandle decoded;
  {
    rbText argument(s);
    const CodeUnitView page = argument.utf16();
    if (page.empty() || !decoded.Create(PageRoom(page))) return nullptr;
    decoded.AddInPlace([page](std::span<CodeUnit> room) { return html::decode(page, room); });
  }
  return decoded.Finish();
}

REALboolean StringIsHTMLready(REALstringStruct *s) {
  if (s == nullptr) return ToREALboolean(true);
  if (!MayBeHTMLReady(REALGetStringEncoding(s))) return ToREALboolean(false);
  const rbData argument(s);
  return ToREALboolean(html::is_html_ready(argument.bytes()));
}

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

}  // namespace kzv
