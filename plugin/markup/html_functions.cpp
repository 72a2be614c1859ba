#include <algorithm>
#include <array>

#include "frame/string_builders.h"
#include "frame/transform.h"
#include "functions.h"
#include "markup/entities.h"
#include "markup/html.h"
#include "markup/tags.h"
#include "scan/find_byte.h"

namespace kzv {
namespace {

// For a unit whose longest form does not fit into the buffer: appended on its own, it makes the builder grow.
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
    page.AddInPlace([&](ByteBuffer output) {
      const html::Progress progress = html::encode(text, keep_ascii, output);
      text = text.subspan(progress.consumed);
      return progress.written;
    });
    if (text.empty()) return;
    AddReference(page, text.front(), keep_ascii);
    text = text.subspan(1);
  }
}

// The text outside of tags, and `instead` for each byte within.
void AddWithoutTags(AsciiStringHandle &page, ByteView text, ByteView instead) {
  if (instead.empty()) {
    page.AddInPlace([=](ByteBuffer output) { return tags::remove(text, output); });
  } else if (instead.size() == 1) {
    page.AddInPlace([=](ByteBuffer output) { return tags::replace(text, instead.front(), output); });
  } else {
    tags::Replacer replacer(text, instead);
    while (!page.dropped()) {
      page.AddInPlace([&](ByteBuffer output) { return replacer.write(output); });
      const ByteView piece = replacer.take();
      if (piece.empty()) return;
      AddBinary(page, piece.data(), static_cast<std::int32_t>(piece.size()));
    }
  }
}

// Bytes that the HTML builders begin with: for a short text no more than it can need.
std::uint64_t PageCapacity(CodeUnitView text) {
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
  Read<rbText>({s}, [&](rbText &argument) {
    const CodeUnitView text = argument.utf16();
    page.Create(PageCapacity(text));
    AddPage(page, html::without_mark(text), (options & 1) != 0);
  });
  return page.Finish();
}

REALstringStruct *DecodingToHTML(REALstringStruct *s) {
  UnicodeStringHandle decoded;
  Read<rbText>({s}, [&](rbText &argument) {
    const CodeUnitView page = argument.utf16();
    decoded.Create(PageCapacity(page));
    decoded.AddInPlace<CodeUnit>([page](std::span<CodeUnit> output) { return html::decode(page, output); });
  });
  return decoded.Finish();
}

REALboolean StringIsHTMLready(REALstringStruct *s) {
  if (s == nullptr) return ToREALboolean(true);
  if (!MayBeHTMLReady(REALGetStringEncoding(s))) return ToREALboolean(false);
  return Read<rbData>(
      {s}, [](const rbData &argument) { return ToREALboolean(html::is_html_ready(argument.bytes())); });
}

REALstringStruct *RemoveHTMLTags(REALstringStruct *text) { return RemoveHTMLTagsWith(text, nullptr); }

REALstringStruct *RemoveHTMLTagsWith(REALstringStruct *text, REALstringStruct *replacement) {
  if (text == nullptr) return nullptr;
  AsciiStringHandle kept(kEncodingUTF8);
  HostString same;  // of a text without tags, made from the argument's own bytes
  Read<rbText>({text, replacement}, [&](rbText &page, rbText &substitute) {
    const ByteView bytes = page.utf8();
    const std::uint64_t capacity = std::uint64_t{bytes.size()} + 10;
    if (capacity <= kMaxByteCount && tags::is_unchanged(bytes)) {
      same.reset(REALBuildUnicodeString(bytes.data(), std::ssize(bytes), kEncodingUTF8));
    } else {
      kept.Create(capacity);
      AddWithoutTags(kept, bytes, until_zero(substitute.utf8()));
    }
  });
  return same ? same.hand_over() : kept.Finish();
}

}  // namespace kzv
